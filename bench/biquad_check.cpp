// Times every kernel against the plain definition on 1 to 8 channels × 1 to 20 bands, 480 frames.
// Prints one row a channel count and exits with 1 when any ratio is below 1.
#include <cstdio>

#include "bench/biquad_case.h"
#include "platform/processor.h"

namespace quorvel {
namespace {

constexpr int32_t kMostChannels = 8;
constexpr int32_t kMostBands = 20;

// The smallest ratio over all shapes.
double PrintRatios(const char* name, BiquadKernel kernel) {
    double smallest = 1e9;
    std::printf("%s, times plain (rows: channels, columns: bands 1 to %d)\n", name, kMostBands);
    for (int32_t channels = 1; channels <= kMostChannels; ++channels) {
        std::printf("%2d ", channels);
        for (int32_t bands = 1; bands <= kMostBands; ++bands) {
            BiquadCase shape(channels, bands);
            const double ratio = shape.BestSeconds(RunBiquadsPlain) / shape.BestSeconds(kernel);
            smallest = std::min(smallest, ratio);
            std::printf(" %5.1f", ratio);
        }
        std::printf("\n");
    }
    std::printf("smallest %.2f\n\n", smallest);
    return smallest;
}

}  // namespace
}  // namespace quorvel

int main() {
    using namespace quorvel;
    double smallest = PrintRatios("four lanes", RunBiquadsInFours);
    if (platform::ProcessorHasAvx())
        smallest = std::min(smallest, PrintRatios("eight lanes", RunBiquadsInEights));
    return smallest < 1.0 ? 1 : 0;
}
