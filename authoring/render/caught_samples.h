// What the guard of a graph caught (engine/sample_guard.h), as the tool reports it.
#pragma once

#include <cstdint>
#include <string>

#include "engine/sample_guard.h"

namespace quorvel::tool {

// Warns on standard error of samples that were replaced by silence, if there are any. `where` says
// whose they were, such as "the input".
void WarnOfReplaced(const SampleGuard::Counts& caught, const std::string& where);

// Throws ToolError (invalid) when what `source` gave, in front of the guard, was not finite: how
// many samples, and the time and channel of the first one. `mask` has the speakers of the channels,
// `sampleRate` is in Hz.
void RequireFinite(const SampleGuard::Counts& caught, const std::string& source, std::uint32_t mask,
                   std::uint32_t sampleRate);

}  // namespace quorvel::tool
