// Speed of the text form, whole and by its stages. Bytes per second count the bytes of the text
// form (of the record for the stages); the hash stands beside its plain definition.
#include <benchmark/benchmark.h>

#include <random>
#include <string>

#include "client/quorvel_audio_device.h"
#include "profile/base64.h"
#include "profile/packed_profile.h"
#include "profile/profile_hash.h"
#include "profile/quorvel_audio_block.h"
#include "profile/quorvel_audio_blocks_chain.h"
#include "tests/support/random_profile.h"

namespace {

using quorvel::PackedProfile;

constexpr std::int64_t kSmall = 64 << 10;
constexpr std::int64_t kMedium = 1 << 20;
constexpr std::int64_t kLarge = 8 << 20;

// A profile of one chain whose packed record has about `bytes` bytes: blocks of 144 data bytes (a
// ten-band equaliser), each linked to the next.
void FillToSize(QuorvelAudioProfile& profile, std::uint32_t bytes) {
    using quorvel::test::NumberedGuid;
    constexpr std::uint32_t kData = 144;
    constexpr std::uint32_t kBlockAndLink = 56 + kData + 52;
    profile.id = NumberedGuid(1);
    QuorvelAudioBlocksChain& chain = *profile.GetChain(1, true);
    std::mt19937 random(1);
    for (std::uint32_t i = 0; i < bytes / kBlockAndLink; ++i) {
        QuorvelAudioBlock block(&profile, &chain, NumberedGuid(7), NumberedGuid(i));
        std::uint8_t data[kData];
        for (auto& byte : data)
            byte = static_cast<std::uint8_t>(random());
        block.SetData(data, kData);
        chain.blocks.Add(block);
        _QuorvelAudioBlockLink link{profile.id, 1, NumberedGuid(i), NumberedGuid(i + 1)};
        chain.links.Add(link);
    }
}

void Fill(QuorvelAudioProfile& profile, const benchmark::State& state) {
    FillToSize(profile, static_cast<std::uint32_t>(state.range(0)));
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
