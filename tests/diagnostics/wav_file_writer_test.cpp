#include "diagnostics/wav_file_writer.h"

#include <sndfile.h>

#include <vector>

#include "tests/support/handles.h"
#include "tests/support/samples.h"
#include "tests/support/temporary_directory.h"

namespace quorvel {
namespace {

using namespace test;

class WavDump : public HandleBalance {
  protected:
    bool Open(WavFileWriter& writer, uint16_t channels) const {
        return writer.Open(WidePath(path).c_str(), channels);
    }

    // The file as a sound editor opens it.
    void ExpectHeard(const std::vector<float>& samples, int channels) const {
        SF_INFO info{};
        SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
        ASSERT_TRUE(file) << sf_strerror(nullptr);
        EXPECT_EQ(info.format, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
        EXPECT_EQ(info.samplerate, 48000);
        EXPECT_EQ(info.channels, channels);
        std::vector<float> heard(samples.size() + 1);
        heard.resize(static_cast<std::size_t>(
            sf_read_float(file, heard.data(), static_cast<sf_count_t>(info.frames * channels))));
        sf_close(file);
        ExpectSameBits(heard, samples);
    }

    const TemporaryDirectory directory;
    const std::filesystem::path path = directory / "dump.wav";
};

TEST_F(WavDump, IsReadBackAndContinued) {
    const auto samples = Noise(1920 + 480, 1);
    WavFileWriter writer;
    ASSERT_TRUE(Open(writer, 2));
    ExpectHeard({}, 2);
    for (const std::size_t at : {0u, 960u})
        ASSERT_TRUE(writer.Append(3840, &samples[at]));
    WavHeader header;
    ASSERT_TRUE(writer.ReadHeader(header));
    EXPECT_EQ(std::pair(+header.riffSize, +header.dataSize), std::pair(7716u, 7680u));
    ExpectHeard({samples.begin(), samples.begin() + 1920}, 2);

    // Opened again it goes on, whatever width is asked for.
    ASSERT_TRUE(Open(writer, 7));
    ASSERT_TRUE(writer.Append(1920, &samples[1920]));
    ExpectHeard(samples, 2);
    ASSERT_TRUE(writer.AppendRaw(4, samples.data()));
    ExpectHeard(samples, 2);
}

TEST_F(WavDump, KeepsFortyFourBytesOfAnExistingFileAndRewritesFewer) {
    const std::string fresh(
        "RIFF\x24\0\0\0WAVEfmt "
        "\x10\0\0\0\x03\0\x06\0\x80\xBB\0\0\0\x94\x11\0\x18\0\x20\0data\0\0\0\0",
        44);
    for (const std::size_t size : {0u, 1u, 43u, 44u, 50u}) {
        const std::string before(size, 'o');
        FillFile(path, before);
        WavFileWriter writer;
        ASSERT_TRUE(Open(writer, 6));
        EXPECT_EQ(FileText(path), size < 44 ? fresh : before) << size;
    }
}

TEST_F(WavDump, TellsOfWhatItCannotDo) {
    WavFileWriter writer;
    WavHeader header;
    for (const char* place : {"", "missing/dump.wav"})
        EXPECT_FALSE(writer.Open(WidePath(directory / place).c_str(), 2)) << place;
    ASSERT_TRUE(Open(writer, 2));
    std::filesystem::resize_file(path, 43);
    EXPECT_FALSE(writer.ReadHeader(header));
    EXPECT_FALSE(writer.Append(4, nullptr));
    EXPECT_EQ(FileText(path).size(), 43u);
    writer.Close();
    EXPECT_FALSE(writer.Append(0, "") || writer.AppendRaw(0, ""));
    EXPECT_FALSE(writer.ReadHeader(header) || writer.WriteHeader(header));
}

}  // namespace
}  // namespace quorvel
