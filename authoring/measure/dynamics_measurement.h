// What compressors, limiters and gates do, measured from the block running in a graph of its own.
//
// The test signal is a square wave of 1 kHz in one channel: its level is that of every sample, so
// that the gain can be read at every frame. Throws ToolError (invalid) when a block's output is not
// finite.
#pragma once

#include <cstdint>
#include <vector>

#include "authoring/measure/response_measurement.h"
#include "profile/quorvel_audio_block.h"

namespace quorvel::tool {

struct LevelPoint {
    double inDb = 0.0;  // of full scale
    double outDb = 0.0;
};

// The output level once it has settled after a level set in, for levels from -80 to +6 dB in steps
// of 1 dB, each with a fresh block.
std::vector<LevelPoint> MeasureStaticCurve(const QuorvelAudioBlock& block);

// A level that sets in and ends again. Levels in dB of full scale.
struct LevelStep {
    double restDb = -60.0;
    double stepDb = -6.0;
    double beginMs = 50.0;
    double endMs = 350.0;
    double lengthMs = 1000.0;
};

struct GainPoint {
    double ms = 0.0;
    double gainDb = 0.0;  // output over input
};

// A step that shows the block: long enough for its attack and release, of which it takes ten
// seconds at most. A limiter gets a burst above full scale.
LevelStep UsualStep(const QuorvelAudioBlock& block);

// The gain over time, eight points a millisecond, 20000 at most: of the output over the input that
// it was made of, which a limiter delays by its attack time. Empty when nothing comes out.
std::vector<GainPoint> MeasureStep(const QuorvelAudioBlock& block, std::uint32_t sampleRate,
                                   const LevelStep& step);

}  // namespace quorvel::tool
