// Prints the largest error of every function of base/math, in units of the last place, over many
// arguments. Exits with 1 when one is above a unit.
//
//   quorvel_math_accuracy [ARGUMENTS [FUNCTION]]   10000000 by default; every function
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <thread>
#include <vector>

#include "tests/math/function_accuracy.h"

namespace quorvel::test {
namespace {

// On all processors.
LargestError Measure(const MathFunction& function, int64_t count) {
    const unsigned workers = std::max(1u, std::thread::hardware_concurrency());
    std::vector<LargestError> errors(workers);
    {
        std::vector<std::jthread> threads;
        for (unsigned w = 0; w < workers; ++w)
            threads.emplace_back(
                [&, w] { errors[w] = FindLargestError(function, w, count / workers + 1); });
    }
    return *std::ranges::max_element(errors, {}, &LargestError::units);
}

}  // namespace
}  // namespace quorvel::test

int main(int argc, char** argv) {
    using namespace quorvel::test;
    const int64_t count = argc > 1 ? std::atoll(argv[1]) : 10'000'000;
    const std::string_view chosen = argc > 2 ? argv[2] : "";
    bool isGood = true;
    for (const MathFunction& function : MathFunctions()) {
        if (!chosen.empty() && chosen != function.name) continue;
        const LargestError error = Measure(function, count);
        std::printf("%-6s %.4f at %a, %a\n", function.name, error.units, error.x, error.y);
        std::fflush(stdout);
        isGood = isGood && error.units <= 1.0;
    }
    return isGood ? 0 : 1;
}
