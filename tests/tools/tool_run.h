// Runs the built tool in a directory of its own.
#pragma once

#include <gtest/gtest.h>
#include <sndfile.h>
#include <stdlib.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace quorvel::tool {

struct Sound {
    int channels = 2;
    std::vector<float> samples{};
    int rate = 48000;
    int format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
    std::vector<int> map{};
};

// Uniform noise of fixed seed.
inline Sound Noise(std::size_t frames, int channels, float level = 0.5f) {
    std::mt19937 random(1);
    std::uniform_real_distribution<float> uniform(-level, level);
    Sound sound{channels, std::vector<float>(frames * static_cast<std::size_t>(channels))};
    for (float& sample : sound.samples)
        sample = uniform(random);
    return sound;
}

class ToolRun : public testing::Test {
  protected:
    struct Result {
        int status = 0;
        std::string out{};
        std::string error{};
    };

    ToolRun() {
        char made[] = "/tmp/quorvel-tool-XXXXXX";
        directory = mkdtemp(made);
    }
    ~ToolRun() override { std::filesystem::remove_all(directory); }

    // Runs shell words in the directory; $QUORVEL is the tool.
    Result Shell(const std::string& words) const {
        const std::string logs = directory.string();
        const std::string command = "cd '" + logs +
                                    "' && QUORVEL='" QUORVEL_TOOL "' PROFILES='" QUORVEL_PROFILES
                                    "' && { " +
                                    words + "\n} >" + logs + ".out 2>" + logs + ".err";
        const int status = std::system(command.c_str());
        Result result{WEXITSTATUS(status), Content(logs + ".out"), Content(logs + ".err")};
        std::filesystem::remove(logs + ".out");
        std::filesystem::remove(logs + ".err");
        return result;
    }

    Result Tool(const std::string& words) const { return Shell("\"$QUORVEL\" " + words); }

    static std::string Content(const std::filesystem::path& path) {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    std::string Read(const std::string& name) const { return Content(directory / name); }

    void Write(const std::string& name, const std::string& content) const {
        std::ofstream(directory / name, std::ios::binary) << content;
    }

    // A profile whose chain 1 has these blocks and links, as JSON without their brackets.
    void WriteChain(const std::string& name, const std::string& blocks,
                    const std::string& links = "") const {
        Write(name, R"({"chains": [{"number": 1, "blocks": [)" + blocks + R"(], "links": [)" +
                        links + "]}]}");
    }

    void WriteSound(const std::string& name, const Sound& sound) const {
        SF_INFO info{};
        info.channels = sound.channels;
        info.samplerate = sound.rate;
        info.format = sound.format;
        SNDFILE* file = sf_open((directory / name).c_str(), SFM_WRITE, &info);
        ASSERT_NE(file, nullptr) << sf_strerror(nullptr);
        if (!sound.map.empty()) {
            std::vector<int> map = sound.map;
            const int bytes = static_cast<int>(map.size() * sizeof(int));
            ASSERT_TRUE(sf_command(file, SFC_SET_CHANNEL_MAP_INFO, map.data(), bytes));
        }
        const auto count = static_cast<sf_count_t>(sound.samples.size());
        ASSERT_EQ(sf_write_float(file, sound.samples.data(), count), count);
        ASSERT_EQ(sf_close(file), 0);
    }

    Sound ReadSound(const std::string& name) const {
        SF_INFO info{};
        SNDFILE* file = sf_open((directory / name).c_str(), SFM_READ, &info);
        EXPECT_NE(file, nullptr) << name;
        if (!file) return {};
        Sound sound{info.channels,
                    std::vector<float>(static_cast<std::size_t>(info.frames * info.channels)),
                    info.samplerate, info.format};
        sf_readf_float(file, sound.samples.data(), info.frames);
        sf_close(file);
        return sound;
    }

    static void ExpectInOrder(const std::string& told, std::initializer_list<const char*> texts) {
        std::size_t at = 0;
        for (const char* text : texts) {
            at = told.find(text, at);
            ASSERT_NE(at, std::string::npos) << text << '\n' << told;
        }
    }
    static void ExpectTold(const std::string& told, const std::string& text) {
        EXPECT_NE(told.find(text), std::string::npos) << text << '\n' << told;
    }

    std::set<std::string> Names() const {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(directory))
            names.insert(entry.path().filename().string());
        return names;
    }

    std::filesystem::path directory;
};

}  // namespace quorvel::tool
