#include "blocks/surround/early_reflections.h"

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

void Send(EarlyReflections& room, const SideFrame* sides, int32_t frames) {
    SectionRun<FourLanes> highPass(room.highPass, 0), lowPass(room.lowPass, 0);
    for (int32_t f = 0; f < frames; ++f) {
        const FourLanes band = lowPass.Filter(highPass.Filter(ReadFour<2>(sides[f])));
        const int32_t place = (room.next + f) & (EarlyReflections::kRing - 1);
        room.rings[0][place] = band[0];
        room.rings[1][place] = band[1];
    }
    highPass.Store(room.highPass, 0);
    lowPass.Store(room.lowPass, 0);
}

void Receive(const EarlyReflections& room, int own, float* ear, int32_t frames) {
    for (int32_t i = 0; i < EarlyReflections::kTaps; ++i) {
        const float* ring = room.rings[kReflections[i].crosses ? 1 - own : own];
        const int32_t first = room.next - room.delays[i];
        for (int32_t f = 0; f < frames; ++f)
            ear[f] += kReflections[i].gain * ring[(first + f) & (EarlyReflections::kRing - 1)];
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
}

void EarlyReflections::Add(const SideFrame* sides, float* left, float* right,
                           int32_t frames) QUORVEL_REAL_TIME {
    Send(*this, sides, frames);
    Receive(*this, 0, left, frames);
    Receive(*this, 1, right, frames);
    next = (next + frames) & (kRing - 1);
}

void EarlyReflections::DropFaded() {
    DropFadedStates(highPass);
    DropFadedStates(lowPass);
}

}  // namespace quorvel
