// Speed of the text form, whole and by its stages. Bytes per second count the bytes of the text
// form (of the record for the stages); the hash stands beside its plain definition.
#include <benchmark/benchmark.h>

#include <string>

#include "client/quorvel_audio_device.h"
#include "profile/base64.h"
#include "profile/packed_profile.h"
#include "profile/profile_hash.h"
#include "tests/support/random_profile.h"

namespace {

using quorvel::PackedProfile;

constexpr std::int64_t kSmall = 64 << 10;
constexpr std::int64_t kMedium = 1 << 20;
constexpr std::int64_t kLarge = 8 << 20;

void Fill(QuorvelAudioProfile& profile, const benchmark::State& state) {
    quorvel::test::FillToSize(profile, static_cast<std::uint32_t>(state.range(0)));
}

void CountBytes(benchmark::State& state, std::size_t bytes) {
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
    state.SetComplexityN(state.range(0));
}

void EncodeProfile(benchmark::State& state) {
    QuorvelAudioProfile profile;
    Fill(profile, state);
    std::size_t length = 0;
    for (auto _ : state) {
        const char* text = QuorvelAudioDevice::EncodeProfile(&profile);
        benchmark::DoNotOptimize(length = text[0] != 0);
        QuorvelAudioDevice::Free(const_cast<char*>(text));
    }
    PackedProfile packed;
    quorvel::PackProfile(profile, 38, 22, packed);
    CountBytes(state, static_cast<std::size_t>(quorvel::Base64Length(packed.size)));
}

void DecodeProfile(benchmark::State& state) {
    QuorvelAudioProfile profile;
    Fill(profile, state);
    const char* encoded = QuorvelAudioDevice::EncodeProfile(&profile);
    const std::string text(encoded);
    QuorvelAudioDevice::Free(const_cast<char*>(encoded));
    for (auto _ : state) {
        QuorvelAudioProfile read;
        if (QuorvelAudioDevice::DecodeProfile(text.c_str(), &read) != 0) state.SkipWithError("");
        benchmark::DoNotOptimize(read.chains.Data());
    }
    CountBytes(state, text.size());
}

// A stage that works on the packed record.
template <typename Stage>
void RunOnRecord(benchmark::State& state, Stage stage) {
    QuorvelAudioProfile profile;
    Fill(profile, state);
    PackedProfile packed;
    quorvel::PackProfile(profile, 0, 0, packed);
    const std::span<const std::byte> record(packed.bytes.get(), packed.size);
    for (auto _ : state)
        benchmark::DoNotOptimize(stage(record));
    CountBytes(state, record.size());
}

void Hash(benchmark::State& state) {
    RunOnRecord(state, quorvel::HashProfile);
}

void HashPlainly(benchmark::State& state) {
    RunOnRecord(state, quorvel::HashProfilePlainly);
}

void UnpackRecord(benchmark::State& state) {
    RunOnRecord(state, [](std::span<const std::byte> record) {
        QuorvelAudioProfile profile;
        return quorvel::UnpackProfile(record, profile);
    });
}

void Base64(benchmark::State& state) {
    std::string text(static_cast<std::size_t>(state.range(0)) * 2, '\0');
    RunOnRecord(state, [&](std::span<const std::byte> record) {
        quorvel::EncodeBase64(record, text.data());
        return text[0];
    });
}

BENCHMARK(EncodeProfile)->Arg(kSmall)->Arg(kMedium)->Arg(kLarge)->Complexity(benchmark::oN);
BENCHMARK(DecodeProfile)->Arg(kSmall)->Arg(kMedium)->Arg(kLarge)->Complexity(benchmark::oN);
BENCHMARK(HashPlainly)->Arg(kMedium);
BENCHMARK(Hash)->Arg(kMedium);
BENCHMARK(Base64)->Arg(kMedium);
BENCHMARK(UnpackRecord)->Arg(kMedium);

}  // namespace

BENCHMARK_MAIN();
