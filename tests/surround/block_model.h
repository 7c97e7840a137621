// A matrix decoder block put together by hand from its stages: what it must give, bit for bit.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <deque>
#include <string>
#include <vector>

#include "dsp/surround/matrix_decoder_stage.h"
#include "dsp/surround/stereo_renderer_stage.h"

namespace quorvel::test {

using Samples = std::vector<float>;

inline constexpr float kSixDb = 1.9952623f;

inline Samples Render(const Samples& in, int32_t channels, int32_t rate) {
    std::vector<std::byte> memory(kStereoRendererMemory);
    StereoRendererState state{channels, StereoRendererRateCode(rate), memory.data(), rate};
    const auto frames = static_cast<int32_t>(in.size()) / channels;
    Samples out(2 * static_cast<std::size_t>(frames));
    RenderStereo(state, in.data(), out.data(), frames);
    for (float& sample : out)
        sample *= kSixDb;
    return out;
}

// The renderer's frames as text: an input channel or a sum of two each, "-" for silence.
struct Conversion {
    uint32_t mask;
    int32_t channels;
    int32_t rendered;
    const char* frame;
};
inline constexpr Conversion kConversions[] = {
    {0x4, 1, 1, "0"},
    {0x3, 2, 2, "0 1"},
    {0xB, 3, 2, "0+2 1+2"},
    {0x33, 4, 5, "0 - 1 2 3"},
    {0x107, 4, 4, "0 2 1 3"},
    {0x3F, 6, 5, "0+3 2 1+3 4 5"},
    {0x60F, 6, 5, "0+3 2 1+3 4 5"},
    {0xFF, 8, 7, "0+3 2 1+3 6 7 4 5"},
    {0x63F, 8, 7, "0+3 2 1+3 6 7 4 5"},
};

inline Samples Convert(const Conversion& conversion, const Samples& in) {
    const std::string row = std::string(conversion.frame) + " ";
    Samples out;
    for (std::size_t f = 0; f < in.size(); f += static_cast<std::size_t>(conversion.channels)) {
        for (std::size_t start = 0; start < row.size(); start = row.find(' ', start) + 1) {
            const auto channel = [&](std::size_t place) {
                return in[f + static_cast<std::size_t>(row[place] - '0')];
            };
            out.push_back(row[start] == '-'       ? 0.0f
                          : row[start + 1] == '+' ? channel(start) + channel(start + 2)
                                                  : channel(start));
        }
    }
    return out;
}

// A delay that knows nothing but a queue.
class Delay {
  public:
    explicit Delay(std::size_t frames) : past(frames, 0.0f) {}

    float Pass(float sample) {
        past.push_back(sample);
        sample = past.front();
        past.pop_front();
        return sample;
    }

  private:
    std::deque<float> past;
};

// Other flags for the decoder, from a frame on.
struct Edit {
    std::size_t frame = 0;
    uint16_t flagsWord = 0;
};

// What the decoder must give for the pair that starts at channel `pair` of `in`: eight slots.
inline Samples Decode(const Samples& in, std::size_t channels, std::size_t pair, uint16_t modeWord,
                      uint16_t flagsWord, const std::array<std::size_t, 8>& delays,
                      DecoderOutputs outputs = DecoderOutputs::All, Edit edit = {}) {
    std::vector<std::byte> memory(kMatrixDecoderMemory);
    const std::size_t frames = in.size() / channels;
    Samples slots(8 * frames);
    for (std::size_t f = 0; f < frames; ++f) {
        slots[8 * f] = in[channels * f + pair];
        slots[8 * f + 1] = in[channels * f + pair + 1];
    }
    MatrixDecoderConfiguration configuration{.modeWord = modeWord, .flagsWord = flagsWord};
    configuration.outputs = outputs;
    configuration.state = memory.data();
    const auto run = [&](std::size_t first, std::size_t end) {
        constexpr std::size_t kOrder[] = {0, 2, 1, 6, 7, 3, 4, 5};
        for (std::size_t c = 0; c < 8; ++c)
            configuration.channels[c] = slots.data() + 8 * first + kOrder[c];
        configuration.frames = static_cast<int16_t>(end - first);
        EXPECT_TRUE(RunMatrixDecoder(kDecoderProcess, &configuration));
    };
    if (edit.frame > 0) {
        run(0, edit.frame);
        configuration.flagsWord = edit.flagsWord;
    }
    run(edit.frame, frames);
    for (std::size_t slot = 0; slot < 8; ++slot) {
        Delay delay(delays[slot]);
        for (std::size_t f = 0; f < frames; ++f)
            slots[8 * f + slot] = delay.Pass(slots[8 * f + slot]);
    }
    return slots;
}

// Puts the kept channels beside the decoder's: sides to `sidesTo`, fronts to the sides.
inline void Join(Samples& slots, const Samples& in, std::size_t channels, std::size_t kept,
                 std::size_t sidesTo, std::size_t delayFrames) {
    std::vector<Delay> delays(kept, Delay(delayFrames));
    for (std::size_t f = 0; f < slots.size() / 8; ++f) {
        float* const frame = &slots[8 * f];
        frame[sidesTo] = frame[6];
        frame[sidesTo + 1] = frame[7];
        frame[6] = frame[0];
        frame[7] = frame[1];
        for (std::size_t c = 0; c < kept; ++c)
            frame[c] = delays[c].Pass(in[channels * f + c]);
    }
}

// The sound of a decoded frame.
inline Samples RenderDecoded(const Samples& slots, int32_t rate) {
    return Render(Convert(kConversions[8], slots), 7, rate);
}

}  // namespace quorvel::test
