// Audio files of any format that libsndfile reads, as interleaved floats in speaker order.
#pragma once

#include <sndfile.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace quorvel::tool {

class AudioReader {
  public:
    // Throws ToolError: file when it cannot be opened; invalid when it is not audio, has not 1 to 8
    // channels, or a sample rate outside 1000 to 768000 Hz. A file that ends before its own header
    // says is invalid too, or with `allowTruncated` only told of on standard error; of a pipe that
    // shows when Read comes to the end.
    explicit AudioReader(const std::string& path, bool allowTruncated = false);

    std::uint32_t Channels() const { return channels; }
    std::uint32_t SampleRate() const { return sampleRate; }  // Hz
    std::int64_t Frames() const { return frames; }           // as the file announces

    // The speakers of the channels, in ascending order: from the file's channel map when that gives
    // each channel a speaker of its own (the channels are then reordered if need be), else the
    // default mask of the width.
    std::uint32_t Mask() const { return mask; }

    // Reads up to `frameCount` frames to `out` (frameCount × channels floats, full scale ±1.0) and
    // returns how many; fewer only at the end. Throws ToolError (invalid) where the file is
    // damaged.
    std::int64_t Read(float* out, std::int64_t frameCount);

  private:
    struct CloseSound {
        void operator()(SNDFILE* sound) const { sf_close(sound); }
    };

    void RequireWhole();
    void RequireAllFrames();
    void TellTruncation(const std::string& what) const;
    void ReadChannelMap();

    std::string path;
    bool mayBeTruncated = false;
    bool isEndKnown = false;  // the file says truly how long it is
    std::unique_ptr<SNDFILE, CloseSound> file;
    std::uint32_t channels = 0;
    std::uint32_t sampleRate = 0;
    std::int64_t frames = 0;
    std::int64_t framesRead = 0;
    std::uint32_t mask = 0;
    std::vector<std::uint32_t> order{};  // empty when the file is in speaker order
};

}  // namespace quorvel::tool
