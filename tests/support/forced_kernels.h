// Makes the library choose the kernels that a test wants instead of the fastest ones.
#pragma once

#include <string_view>

namespace quorvel::test {

// "plain": the definitions; "fours": 16-byte vectors, the processor's baseline; "eights": 32-byte
// vectors, AVX2; "fastest": the library's own choice. For filters that are shaped and dynamics that
// run from now on. False for another name, and for "eights" where the processor lacks AVX2.
//
// The program is linked with --wrap for each function that chooses a kernel.
bool ForceKernels(std::string_view name);

}  // namespace quorvel::test
