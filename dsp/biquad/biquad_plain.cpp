#include "dsp/biquad/biquad_kernels.h"

namespace quorvel {
namespace {

float FilterSample(BiquadSection& section, float x) {
    const float y = section.b1 * section.x1 + section.b0 * x + section.b2 * section.x2 -
                    section.a1 * section.y1 - section.a2 * section.y2;
    section.x2 = section.x1;
    section.x1 = x;
    section.y2 = section.y1;
    section.y1 = y;
    return y;
}

void FilterFrame(const BiquadRun& run, const float* in, float* out) {
    BiquadSection* section = run.sections;
    for (int32_t c = 0; c < run.channels; ++c) {
        float x = in[c];
        for (int32_t b = 0; b < run.bands; ++b, ++section) {
            if (section->band.width != 0.0f && section->band.frequency != 0.0f)
                x = FilterSample(*section, x);
        }
        out[c] = x;
    }
}

}  // namespace

void RunBiquadsPlain(const BiquadRun& run) QUORVEL_REAL_TIME {
    const float* in = run.in;
    float* out = run.out;
    for (int32_t f = 0; f < run.frames; ++f, in += run.width, out += run.width)
        FilterFrame(run, in, out);
}

}  // namespace quorvel
