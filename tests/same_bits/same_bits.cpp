// Holds the sound of every sample profile to a list of digests in the tree.
//
//   quorvel_same_bits check [KERNELS]   compares; exits with 1 and says what differs
//   quorvel_same_bits write             makes the list anew, with the plain definitions
//
// KERNELS is plain, fours, eights or fastest (the default): tests/support/forced_kernels.h.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "authoring/document/profile_file.h"
#include "tests/same_bits/rendering.h"
#include "tests/same_bits/signals.h"
#include "tests/support/forced_kernels.h"

namespace quorvel::test {
namespace {

std::vector<std::filesystem::path> SampleProfiles() {
    std::vector<std::filesystem::path> paths;
    for (const auto& entry : std::filesystem::directory_iterator(QUORVEL_PROFILES))
        if (entry.path().string().find(".schema.") == std::string::npos)
            paths.push_back(entry.path());
    std::ranges::sort(paths);
    return paths;
}

// One line a chain of a profile: its digest and what it is of.
void AddLines(const std::filesystem::path& path, const char* signal, const RenderFormat& format,
              const std::vector<float>& input, std::vector<std::string>& lines) {
    tool::NamedProfile named;
    tool::LoadProfile(path.string(), named);
    for (unsigned i = 0; i < named.profile.chains.Count(); ++i) {
        const QuorvelAudioBlocksChain& chain = named.profile.chains.Item(i);
        std::ostringstream line;
        line << RenderDigest(chain, format, input) << ' ' << path.stem().string() << " chain "
             << chain.id << ' ' << signal << ' ' << format.channels << " channels "
             << format.sampleRate << " Hz";
        lines.push_back(line.str());
    }
}

std::vector<std::string> RenderAll() {
    constexpr double kSeconds = 0.4;
    std::vector<std::string> lines;
    const auto paths = SampleProfiles();
    for (const uint32_t rate : {44100u, 48000u, 96000u}) {
        for (const int32_t channels : {2, 6, 8}) {
            for (const auto& [kind, name] : kSignals) {
                const auto frames = static_cast<int32_t>(rate * kSeconds);
                const auto input = MakeSignal(kind, frames, channels, rate);
                for (const auto& path : paths)
                    AddLines(path, name, {channels, rate}, input, lines);
            }
        }
    }
    return lines;
}

std::vector<std::string> ReadList() {
    std::ifstream file(QUORVEL_SAME_BITS_LIST);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);)
        lines.push_back(line);
    return lines;
}

int Write() {
    std::ofstream file(QUORVEL_SAME_BITS_LIST);
    for (const std::string& line : RenderAll())
        file << line << '\n';
    return file.good() ? 0 : 3;
}

int Check() {
    std::vector<std::string> expected = ReadList(), lines = RenderAll(), differing;
    std::ranges::sort(expected);
    std::ranges::sort(lines);
    std::ranges::set_symmetric_difference(expected, lines, std::back_inserter(differing));
    for (const std::string& line : differing) {
        const bool isListed = std::ranges::binary_search(expected, line);
        std::printf("%s %s\n", isListed ? "listed  " : "rendered", line.c_str());
    }
    std::printf("%zu renderings, %zu lines differ\n", lines.size(), differing.size());
    return differing.empty() && !lines.empty() ? 0 : 1;
}

}  // namespace
}  // namespace quorvel::test

int main(int argc, char** argv) {
    using namespace quorvel::test;
    const std::string_view command = argc > 1 ? argv[1] : "";
    const std::string_view kernels = command == "write" ? "plain" : argc > 2 ? argv[2] : "fastest";
    if (command != "check" && command != "write") {
        std::puts("usage: quorvel_same_bits check [plain|fours|eights|fastest] | write");
        return 2;
    }
    if (!ForceKernels(kernels)) {
        std::printf("no kernels %s on this processor\n", argv[2]);
        return 77;
    }
    return command == "write" ? Write() : Check();
}
