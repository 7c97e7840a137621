// 32-bit float WAV files.
#pragma once

#include <sndfile.h>

#include <cstdint>
#include <memory>
#include <string>

#include "authoring/document/output_file.h"

namespace quorvel::tool {

// The extensible form with the speaker mask where there are more than 2 channels, RF64 where the
// announced frames exceed what WAV's 32-bit sizes hold. The same samples give the same bytes: no
// chunk carries the time. The file names this tool as its software, and appears when Finish
// succeeds.
class AudioWriter {
  public:
    // `mask` has a bit a channel. `frames` is how many are expected. Throws ToolError as OutputFile
    // does.
    AudioWriter(const Output& out, std::uint32_t channels, std::uint32_t mask,
                std::uint32_t sampleRate, std::int64_t frames);

    // Writes `frameCount` × channels floats. Throws ToolError (file) when they cannot be written.
    void Write(const float* samples, std::int64_t frameCount);

    // Completes the file. Throws ToolError (file) when that fails.
    void Finish();

  private:
    struct CloseSound {
        void operator()(SNDFILE* sound) const { sf_close(sound); }
    };

    [[noreturn]] void Fail() const;

    // Declared first: closing the sound still writes to it.
    OutputFile output;
    std::unique_ptr<SNDFILE, CloseSound> file;
};

}  // namespace quorvel::tool
