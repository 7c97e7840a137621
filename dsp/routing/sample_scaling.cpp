#include "dsp/routing/sample_scaling.h"

#include "base/float_quad.h"

namespace quorvel {

// Four quads a turn, so that the loop's own instructions do not count.
void ScaleSamples(const float* in, float* out, int64_t count, float gain) QUORVEL_REAL_TIME {
    const Quad gains = {gain, gain, gain, gain};
    int64_t i = 0;
    for (; i + 16 <= count; i += 16) {
        const Quad a = gains * LoadQuad(in + i);
        const Quad b = gains * LoadQuad(in + i + 4);
        const Quad c = gains * LoadQuad(in + i + 8);
        const Quad d = gains * LoadQuad(in + i + 12);
        StoreQuad(out + i, a);
        StoreQuad(out + i + 4, b);
        StoreQuad(out + i + 8, c);
        StoreQuad(out + i + 12, d);
    }
    for (; i < count; ++i)
        out[i] = gain * in[i];
}

}  // namespace quorvel
