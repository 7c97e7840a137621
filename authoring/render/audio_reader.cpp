#include "authoring/render/audio_reader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>
#include <utility>

#include "authoring/document/exit_status.h"
#include "authoring/document/source_files.h"
#include "authoring/document/speakers.h"
#include "base/channel_masks.h"

namespace quorvel::tool {
namespace {

constexpr int kMostChannels = 8;
constexpr std::size_t kLongestLog = 16384;  // libsndfile's own
constexpr int kLowestRate = 1000;           // Hz; 10 ms must be some frames
constexpr int kHighestRate = 768000;        // Hz

// libsndfile reports a missing file and a wrong one alike, so the file is opened here.
int OpenForReading(const std::string& path) {
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) throw FileFailure(path, std::strerror(errno));
    struct stat state {};
    if (fstat(descriptor, &state) == 0 && S_ISDIR(state.st_mode)) {
        close(descriptor);
        throw FileFailure(path, std::strerror(EISDIR));
    }
    NoteSource(descriptor);
    return descriptor;
}

// libsndfile corrects a size in the header that goes beyond the end of the file, and notes so in
// its log: "data : 80000 (should be 29896)". Recorders that could not know the size wrote the
// largest one, or nearly; their files are whole.
struct SizeNote {
    const char* name;
    std::int64_t slack;  // bytes by which writers count too many
};
constexpr SizeNote kSizeNotes[] = {
    {"data : ", 0}, {"SSND : ", 0}, {"Data Size   : ", 0}, {"Riff size : ", 8}, {"riff : ", 8}};
constexpr std::int64_t kUnknownFrom = 0x7FFF0000;
constexpr std::int64_t kUnknownTo = 0xFFFFFFFF;

// Bytes that the header announces and the file does not have; none when it does not know its size.
std::optional<std::int64_t> MissingBytes(const std::string& log) {
    std::int64_t missing = 0;
    for (const auto& [name, slack] : kSizeNotes) {
        const std::size_t at = log.find(name);
        if (at == std::string::npos) continue;
        long long announced = 0, present = 0;
        const char* const numbers = log.c_str() + at + std::strlen(name);
        const int count = std::sscanf(numbers, "%lld (should be %lld)", &announced, &present);
        if (announced >= kUnknownFrom && announced <= kUnknownTo) return {};
        if (count == 2 && announced > present + slack) missing = announced - present;
    }
    return missing;
}

void RequireUsable(const SF_INFO& info, const std::string& path) {
    if (info.channels < 1 || info.channels > kMostChannels) {
        throw InvalidInput(path + ": has " + std::to_string(info.channels) +
                           " channels, must have 1 to 8");
    }
    if (info.samplerate < kLowestRate || info.samplerate > kHighestRate) {
        throw InvalidInput(path + ": has a sample rate of " + std::to_string(info.samplerate) +
                           " Hz, must have 1000 to 768000 Hz");
    }
}

}  // namespace

AudioReader::AudioReader(const std::string& inPath, bool allowTruncated)
    : path(inPath), mayBeTruncated(allowTruncated) {
    SF_INFO info{};
    file.reset(sf_open_fd(OpenForReading(path), SFM_READ, &info, SF_TRUE));
    if (!file) throw InvalidInput(path + ": not readable as audio: " + sf_strerror(nullptr));
    RequireUsable(info, path);
    channels = static_cast<std::uint32_t>(info.channels);
    sampleRate = static_cast<std::uint32_t>(info.samplerate);
    frames = std::max<std::int64_t>(info.frames, 0);
    RequireWhole();
    ReadChannelMap();
}

void AudioReader::RequireWhole() {
    std::string log(kLongestLog, '\0');
    sf_command(file.get(), SFC_GET_LOG_INFO, log.data(), static_cast<int>(log.size()));
    const std::optional<std::int64_t> missing = MissingBytes(log);
    isEndKnown = missing.has_value();
    if (missing.value_or(0) > 0)
        TellTruncation(std::to_string(*missing) + " bytes are missing at its end");
}

// Only in a pipe does the end come earlier than the file said when it was opened. Of a long form of
// WAV libsndfile then keeps the last frame to itself.
void AudioReader::RequireAllFrames() {
    if (!std::exchange(isEndKnown, false) || framesRead + 1 >= frames) return;
    TellTruncation("it has " + std::to_string(framesRead) + " of " + std::to_string(frames) +
                   " frames");
}

void AudioReader::TellTruncation(const std::string& what) const {
    const std::string told = path + ": truncated: " + what;
    if (!mayBeTruncated) throw InvalidInput(told + "; --allow-truncated takes what is there");
    std::fprintf(stderr, "quorvel: %s\n", told.c_str());
}

void AudioReader::ReadChannelMap() {
    mask = DefaultChannelMask(channels);
    std::array<int, kMostChannels> map{};
    const int bytes = static_cast<int>(channels * sizeof(int));
    if (!sf_command(file.get(), SFC_GET_CHANNEL_MAP_INFO, map.data(), bytes)) return;
    const ChannelLayout layout = LayoutFromChannelMap({map.data(), channels});
    if (layout.mask == 0) return;
    mask = layout.mask;
    if (!std::is_sorted(layout.order.begin(), layout.order.end())) order = layout.order;
}

std::int64_t AudioReader::Read(float* out, std::int64_t frameCount) {
    const std::int64_t got = sf_readf_float(file.get(), out, frameCount);
    if (got < frameCount && sf_error(file.get()) != SF_ERR_NO_ERROR) {
        throw InvalidInput(path + ": damaged after frame " + std::to_string(framesRead + got) +
                           ": " + sf_strerror(file.get()));
    }
    framesRead += got;
    if (got < frameCount) RequireAllFrames();
    if (order.empty()) return got;
    std::array<float, kMostChannels> inFileOrder{};
    for (std::int64_t f = 0; f < got; ++f, out += channels) {
        std::copy_n(out, channels, inFileOrder.begin());
        for (std::size_t c = 0; c < channels; ++c)
            out[c] = inFileOrder[order[c]];
    }
    return got;
}

}  // namespace quorvel::tool
