#include "authoring/render/audio_writer.h"

#include <cstring>
#include <vector>

#include "authoring/document/exit_status.h"
#include "authoring/document/speakers.h"
#include "authoring/document/tool_mark.h"

namespace quorvel::tool {
namespace {

// libsndfile works on the output file through these, so that every byte's fate is known.

OutputFile& FileOf(void* user) {
    return *static_cast<OutputFile*>(user);
}

sf_count_t FileLength(void* user) {
    return FileOf(user).Length();
}

sf_count_t SeekFile(sf_count_t offset, int whence, void* user) {
    OutputFile& output = FileOf(user);
    const sf_count_t base = whence == SEEK_SET   ? 0
                            : whence == SEEK_CUR ? output.Position()
                                                 : output.Length();
    return output.Seek(base + offset) ? output.Position() : -1;
}

sf_count_t ReadNothing(void*, sf_count_t, void*) {
    return 0;
}

sf_count_t WriteFile(const void* bytes, sf_count_t size, void* user) {
    return FileOf(user).Write(bytes, static_cast<std::size_t>(size)) ? size : 0;
}

sf_count_t TellFile(void* user) {
    return FileOf(user).Position();
}

int Container(std::uint32_t channels, std::int64_t frames) {
    constexpr std::int64_t kLargestWav = 0xFFFFFFFF - 1024;  // bytes of samples, leaving the head
    constexpr std::uint32_t kWidestPlain = 2;
    if (frames > kLargestWav / static_cast<std::int64_t>(channels * sizeof(float))) {
        return SF_FORMAT_RF64;
    }
    return channels > kWidestPlain ? SF_FORMAT_WAVEX : SF_FORMAT_WAV;
}

}  // namespace

AudioWriter::AudioWriter(const Output& out, std::uint32_t channels, std::uint32_t mask,
                         std::uint32_t sampleRate, std::int64_t frames)
    : output(out) {
    SF_VIRTUAL_IO access{FileLength, SeekFile, ReadNothing, WriteFile, TellFile};
    SF_INFO info{};
    info.channels = static_cast<int>(channels);
    info.samplerate = static_cast<int>(sampleRate);
    info.format = Container(channels, frames) | SF_FORMAT_FLOAT;
    file.reset(sf_open_virtual(&access, SFM_WRITE, &info, &output));
    if (!file) Fail();
    // The chunk of peaks carries the time of writing.
    sf_command(file.get(), SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
    sf_set_string(file.get(), SF_STR_SOFTWARE, kSoftware);
    std::vector<int> map = ChannelMapFromMask(mask);
    if (map.size() == channels && (info.format & SF_FORMAT_TYPEMASK) != SF_FORMAT_WAV) {
        sf_command(file.get(), SFC_SET_CHANNEL_MAP_INFO, map.data(),
                   static_cast<int>(map.size() * sizeof(int)));
    }
}

void AudioWriter::Fail() const {
    const int error = output.FirstError();
    throw FileFailure(output.Path(), error ? std::strerror(error) : sf_strerror(file.get()));
}

void AudioWriter::Write(const float* samples, std::int64_t frameCount) {
    if (sf_writef_float(file.get(), samples, frameCount) != frameCount) Fail();
}

void AudioWriter::Finish() {
    const int closed = sf_close(file.release());
    if (closed != SF_ERR_NO_ERROR && output.FirstError() == 0) {
        throw FileFailure(output.Path(), sf_error_number(closed));
    }
    output.Commit();
}

}  // namespace quorvel::tool
