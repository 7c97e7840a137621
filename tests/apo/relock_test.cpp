// An object that is locked again is a fresh one, whatever it was locked for before.
#include <array>
#include <cmath>

#include "client/control_codes.h"
#include "platform/random.h"
#include "tests/apo/apo_test.h"
#include "tests/support/same_bits.h"

namespace quorvel::test {
namespace {

using Relock = ApoTest;

struct Shape {
    DWORD in, out;
    float rate;
};

// Two buffers of a sine that is louder than full scale, and a silent one between.
std::vector<float> Sound(EngineStream& stream) {
    std::vector<float> sound;
    platform::SeedRand(6);
    for (const APO_BUFFER_FLAGS flags : {BUFFER_VALID, BUFFER_SILENT, BUFFER_VALID}) {
        for (std::size_t i = 0; i < stream.in.size(); ++i)
            stream.in[i] = 2.0f * std::sin(0.03f * static_cast<float>(i));
        std::ranges::fill(stream.out, 0.0f);
        stream.Process(flags);
        sound.insert(sound.end(), stream.out.begin(), stream.out.end());
    }
    return sound;
}

TEST_F(Relock, SoundsAndTellsAsAFreshObject) {
    const Shape shapes[] = {
        {2, 2, 48000}, {8, 2, 48000}, {8, 8, 44100}, {1, 2, 96000}, {6, 2, 48000}};
    for (const ClassRow& row : kClassRows) {
        QuorvelAudioProfile profile = GainProfile(row, -3.0f);
        ASSERT_EQ(application.SetProfileData(&profile), 0u);
        const auto run = [&](std::span<const Shape> locks) {
            const auto object = Make(*row.id);
            EXPECT_EQ(Initialize(*object.Get(), row), S_OK);
            std::vector<float> sound;
            std::size_t before = 0;
            for (const Shape& shape : locks) {
                before = Core().GetStreamNotices().size();
                EngineStream stream(*object.Get(), shape.in, shape.out, shape.rate);
                platform::SeedRand(5);
                EXPECT_EQ(stream.Lock(), S_OK);
                sound = Sound(stream);
                EXPECT_EQ(stream.Unlock(), S_OK);
            }
            std::vector<simulation::Bytes> told;
            const auto notices = Core().GetStreamNotices();
            for (std::size_t i = before; i < notices.size(); ++i)
                told.push_back(notices[i].bytes);
            return std::pair(sound, told);
        };
        for (const Shape& first : shapes) {
            for (const Shape& second : shapes) {
                SCOPED_TRACE(testing::Message()
                             << &row - kClassRows << ": " << first.in << " to " << first.out
                             << ", then " << second.in << " to " << second.out);
                const auto fresh = run(std::array{second});
                const auto again = run(std::array{first, second});
                ExpectSameBits(again.first, fresh.first);
                EXPECT_EQ(again.second, fresh.second);
            }
        }
    }
}

}  // namespace
}  // namespace quorvel::test
