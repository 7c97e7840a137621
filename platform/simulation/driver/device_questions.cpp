#include "platform/simulation/driver/request_handlers.h"

#include <algorithm>
#include <string_view>

namespace quorvel::simulation {
namespace {

// The word with which a stream says that it has stopped.
constexpr std::uint32_t kStopMarker = 123;

constexpr std::size_t kAnalysisHeaderSize = 16;

Bytes Text(std::u16string_view text) {
    Bytes bytes;
    AppendText(bytes, text);
    return bytes;
}

Bytes TerminatedText(std::u16string_view text) {
    Bytes bytes = Text(text);
    AppendInteger(bytes, 0, 2);
    return bytes;
}

Bytes CopyOf(ByteSpan bytes) {
    return {bytes.begin(), bytes.end()};
}

}  // namespace

// The callers of the first two put a terminator behind the bytes returned.

Answer GetDriverVersion(DriverState& state, const Request& request, DriverEvents&) {
    return WholeOrNothing(Text(state.answers.version), request.capacity);
}

Answer GetInterfaceLink(DriverState& state, const Request& request, DriverEvents&) {
    const auto link = state.answers.links.find(LoadId(request.bytes, 0));
    if (link == state.answers.links.end()) return StatusOnly(status::kNotFound);
    return WholeOrNothing(Text(link->second), request.capacity);
}

Answer GetDataFormatRange(DriverState& state, const Request& request, DriverEvents&) {
    return WholeOrNothing(state.answers.formats, request.capacity);
}

Answer GetChannelMask(DriverState& state, const Request& request, DriverEvents&) {
    Bytes bytes;
    for (const std::uint32_t word : state.answers.channelsMaskInfo)
        AppendWord(bytes, word);
    return WholeOrNothing(std::move(bytes), request.capacity);
}

Answer GetRemovalEventName(DriverState& state, const Request& request, DriverEvents&) {
    return WholeOrNothing(TerminatedText(state.answers.removalEventName), request.capacity);
}

Answer GetDriverEnabled(DriverState& state, const Request& request, DriverEvents&) {
    Bytes bytes;
    AppendWord(bytes, state.answers.enabled ? 1 : 0);
    return WholeOrNothing(std::move(bytes), request.capacity);
}

// The room tells how many entries the caller wants. The first word repeats the selector.
Answer GetLastFrequencies(DriverState& state, const Request& request, DriverEvents&) {
    if (request.capacity < kAnalysisHeaderSize) return StatusOnly(status::kInsufficientBuffer);
    const auto& entries = state.answers.frequencies;
    const std::size_t count =
        std::min(entries.size(), (request.capacity - kAnalysisHeaderSize) / 4);
    Answer answer;
    AppendWord(answer.bytes, LoadWord(request.bytes, 0));
    for (const std::uint32_t word : state.answers.analysisHeader)
        AppendWord(answer.bytes, word);
    AppendWord(answer.bytes, static_cast<std::uint32_t>(count));
    for (std::size_t i = 0; i < count; ++i)
        AppendWord(answer.bytes, entries[i]);
    return answer;
}

Answer GetProcessPath(DriverState& state, const Request& request, DriverEvents&) {
    const std::u16string* path = state.processes.FindPath(LoadWord(request.bytes, 0));
    if (!path) return StatusOnly(status::kNotFound);
    return WholeOrNothing(TerminatedText(*path), request.capacity);
}

Answer TakeNotice(DriverState& state, const Request& request, DriverEvents&) {
    if (state.notices.size() >= DriverState::kMaxNotices) state.notices.pop_front();
    state.notices.push_back({.client = request.client,
                             .code = static_cast<std::uint32_t>(request.code),
                             .bytes = CopyOf(request.bytes)});
    return {};
}

Answer NoteStreamUnlocked(DriverState& state, const Request& request, DriverEvents& events) {
    if (LoadWord(request.bytes, 0) != kStopMarker) return StatusOnly(status::kInvalidParameter);
    return TakeNotice(state, request, events);
}

Answer EnableStreamAnalysis(DriverState& state, const Request& request, DriverEvents&) {
    state.analysis.enable = CopyOf(request.bytes);
    return {};
}

// 24 bytes of which the last word tells how many words follow.
Answer SetStreamAnalysisParams(DriverState& state, const Request& request, DriverEvents&) {
    if (request.bytes.size() != 24 + 4 * std::uint64_t{LoadWord(request.bytes, 20)})
        return StatusOnly(status::kInvalidParameter);
    state.analysis.params = CopyOf(request.bytes);
    return {};
}

}  // namespace quorvel::simulation
