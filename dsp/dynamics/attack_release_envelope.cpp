#include "dsp/dynamics/attack_release_envelope.h"

namespace quorvel::dynamics {

AttRelEnvelope::AttRelEnvelope(double attackMs, double releaseMs, double hertz)
    : attack(attackMs, hertz), release(releaseMs, hertz) {}

AttRelEnvelope::~AttRelEnvelope() = default;

void AttRelEnvelope::SetAttack(double ms) {
    attack.SetTimeConstant(ms);
}

double AttRelEnvelope::GetAttack() const {
    return attack.GetTimeConstant();
}

void AttRelEnvelope::SetRelease(double ms) {
    release.SetTimeConstant(ms);
}

double AttRelEnvelope::GetRelease() const {
    return release.GetTimeConstant();
}

void AttRelEnvelope::SetSampleRate(double hertz) {
    attack.SetSampleRate(hertz);
    release.SetSampleRate(hertz);
}

double AttRelEnvelope::GetSampleRate() const {
    return attack.GetSampleRate();
}

}  // namespace quorvel::dynamics
