#include "authoring/render/caught_samples.h"

#include <cstdio>

#include "authoring/document/exit_status.h"
#include "authoring/document/formatted_print.h"
#include "authoring/document/speakers.h"

namespace quorvel::tool {
namespace {

// The name of the `channel`-th speaker of the mask; its number, from 1, when there is none.
std::string ChannelName(std::int32_t channel, std::uint32_t mask) {
    for (std::int32_t i = 0; i < channel; ++i)
        mask &= mask - 1;
    const std::uint32_t lowest = mask & (~mask + 1);
    return lowest != 0 ? SpeakerNames(lowest) : std::to_string(channel + 1);
}

}  // namespace

void WarnOfReplaced(const SampleGuard::Counts& caught, const std::string& where) {
    if (caught.replaced == 0) return;
    std::fprintf(stderr,
                 "quorvel: %llu samples of %s are not finite or more than 48 dB above full scale; "
                 "they were replaced by silence\n",
                 static_cast<unsigned long long>(caught.replaced), where.c_str());
}

void RequireFinite(const SampleGuard::Counts& caught, const std::string& source, std::uint32_t mask,
                   std::uint32_t sampleRate) {
    if (caught.notFinite == 0) return;
    throw InvalidInput(
        source +
        Formatted(": gave %llu samples that are not finite, the first at %.3f s in channel %s; "
                  "every such buffer became silence",
                  static_cast<unsigned long long>(caught.notFinite),
                  static_cast<double>(caught.firstFrame) / sampleRate,
                  ChannelName(caught.firstChannel, mask).c_str()));
}

}  // namespace quorvel::tool
