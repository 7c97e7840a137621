#include "tools/audio_reader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include "engine/channel_masks.h"
#include "tools/exit_status.h"
#include "tools/speakers.h"

namespace quorvel::tool {
namespace {

constexpr int kMostChannels = 8;
constexpr int kLowestRate = 1000;     // Hz; 10 ms must be some frames
constexpr int kHighestRate = 768000;  // Hz

// libsndfile reports a missing file and a wrong one alike, so the file is opened here.
int OpenForReading(const std::string& path) {
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) throw FileFailure(path, std::strerror(errno));
    struct stat state {};
    if (fstat(descriptor, &state) == 0 && S_ISDIR(state.st_mode)) {
        close(descriptor);
        throw FileFailure(path, std::strerror(EISDIR));
    }
    return descriptor;
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

AudioReader::AudioReader(const std::string& inPath) : path(inPath) {
    SF_INFO info{};
    file.reset(sf_open_fd(OpenForReading(path), SFM_READ, &info, SF_TRUE));
    if (!file) throw InvalidInput(path + ": not readable as audio: " + sf_strerror(nullptr));
    RequireUsable(info, path);
    channels = static_cast<std::uint32_t>(info.channels);
    sampleRate = static_cast<std::uint32_t>(info.samplerate);
    frames = std::max<std::int64_t>(info.frames, 0);
    ReadChannelMap();
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
