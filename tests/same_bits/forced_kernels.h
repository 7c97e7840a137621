// Makes the library choose the kernels that a test wants instead of the fastest ones.
#pragma once

#include <string_view>

namespace quorvel::test {

// "plain": the definitions; "fours": 16-byte vectors, the processor's baseline; "eights": 32-byte
// vectors, AVX; "fastest": the library's own choice. For everything that is built from now on;
// before any graph is. False for another name, and for "eights" where the processor has no AVX.
//
// The program is linked with --wrap for each function that chooses a kernel.
bool ForceKernels(std::string_view name);

}  // namespace quorvel::test
