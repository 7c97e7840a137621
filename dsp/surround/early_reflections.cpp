#include "dsp/surround/early_reflections.h"

#include <cmath>

namespace quorvel {
namespace {

// Chosen for the level that the header tells.
constexpr float kRoom = 0.163f;
constexpr float kButterworthQ = 0.70710678f;

constexpr TypedFilterBand kHighPass = {{300.0f, kButterworthQ}, FilterType::HighPass};
constexpr TypedFilterBand kLowPass = {{4000.0f, kButterworthQ}, FilterType::LowPass};

struct Reflection {
    double delayMs;
    float gain;
    bool crosses;  // comes from the other side
};
constexpr Reflection kReflections[EarlyReflections::kTaps] = {
    {4.3, kRoom, false}, {6.9, 0.9f * kRoom, true}, {9.7, -0.8f * kRoom, false}};

// Brings a frame number back among those that the rings hold, from a round before or after.
int32_t Wrap(const EarlyReflections& room, int32_t frame) {
    const int32_t held = EarlyReflections::kRing * room.spacing;
    return frame < 0 ? frame + held : frame < held ? frame : frame - held;
}

void Keep(EarlyReflections& room, int32_t frame, const FourLanes& band) {
    if (room.spacing > 1 && frame % room.spacing != 0) return;
    const int32_t place = room.spacing > 1 ? frame / room.spacing : frame;
    room.rings[0][place] = band[0];
    room.rings[1][place] = band[1];
}

void Send(EarlyReflections& room, const SideFrame* sides, int32_t frames) {
    SectionRun<FourLanes> highPass(room.highPass, 0), lowPass(room.lowPass, 0);
    for (int32_t f = 0; f < frames; ++f) {
        const FourLanes band = lowPass.Filter(highPass.Filter(ReadFour<2>(sides[f])));
        Keep(room, Wrap(room, room.next + f), band);
    }
    highPass.Store(room.highPass, 0);
    lowPass.Store(room.lowPass, 0);
}

// Adds the ring from the frame `first` on.
void AddRing(const float* ring, float gain, int32_t first, float* ear, int32_t frames) {
    for (int32_t f = 0; f < frames; ++f)
        ear[f] += gain * ring[(first + f) & (EarlyReflections::kRing - 1)];
}

// The same for spaced samples: what lies between two is interpolated. The later one is kept
// already, since no delay is shorter than the spacing.
void AddSpacedRing(const EarlyReflections& room, const float* ring, float gain, int32_t first,
                   float* ear, int32_t frames) {
    const float part = 1.0f / static_cast<float>(room.spacing);
    for (int32_t f = 0; f < frames; ++f) {
        const int32_t frame = Wrap(room, first + f), place = frame / room.spacing;
        const float before = ring[place], after = ring[(place + 1) & (EarlyReflections::kRing - 1)];
        const float way = static_cast<float>(frame % room.spacing) * part;
        ear[f] += gain * (before + way * (after - before));
    }
}

void Receive(const EarlyReflections& room, int own, float* ear, int32_t frames) {
    for (int32_t i = 0; i < EarlyReflections::kTaps; ++i) {
        const float* ring = room.rings[kReflections[i].crosses ? 1 - own : own];
        const int32_t first = room.next - room.delays[i];
        if (room.spacing == 1)
            AddRing(ring, kReflections[i].gain, first, ear, frames);
        else
            AddSpacedRing(room, ring, kReflections[i].gain, first, ear, frames);
    }
}

}  // namespace

void EarlyReflections::SetUp(double sampleRate) {
    *this = EarlyReflections{};
    for (int side = 0; side < 2; ++side) {
        SetSection(highPass, side, kHighPass, sampleRate);
        SetSection(lowPass, side, kLowPass, sampleRate);
    }
    for (int32_t i = 0; i < kTaps; ++i)
        delays[i] = static_cast<int32_t>(std::lround(kReflections[i].delayMs * 1e-3 * sampleRate));
    // A stretch is kept before it is read, and a sample more is read on either side.
    constexpr int32_t kReadable = kRing - kLongestStretch - 2;
    spacing = 1 + delays[kTaps - 1] / kReadable;
}

void EarlyReflections::Add(const SideFrame* sides, float* left, float* right,
                           int32_t frames) QUORVEL_REAL_TIME {
    Send(*this, sides, frames);
    Receive(*this, 0, left, frames);
    Receive(*this, 1, right, frames);
    next = Wrap(*this, next + frames);
}

void EarlyReflections::DropFaded() {
    DropFadedStates(highPass);
    DropFadedStates(lowPass);
}

}  // namespace quorvel
