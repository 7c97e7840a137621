// Writes seed inputs for the profile fuzzers below the directory given as argument.
#include <fstream>
#include <iostream>
#include <random>
#include <string>

#include "client/quorvel_audio_device.h"
#include "profile/packed_profile.h"
#include "tests/support/random_profile.h"

namespace {

using namespace quorvel;
using namespace quorvel::test;

bool WriteFile(const std::string& path, const std::string& content) {
    std::ofstream file(path, std::ios::binary);
    file << content;
    return file.flush().good();
}

// A version 1 record of a profile without paths, blocks and links.
std::string EmptyRecord1() {
    std::string record(116, '\0');
    record[0] = 116;
    record[52 + 8] = 32;
    record[84 + 8] = 32;
    return record;
}

bool WriteSeeds(const std::string& directory) {
    bool isWritten = WriteFile(directory + "/unpack_profile/version1", '\1' + EmptyRecord1());
    std::mt19937 random(7);
    for (int i = 0; i < 4; ++i) {
        QuorvelAudioProfile profile;
        FillRandomly(profile, random, {2, 2, 2, 2, 20});
        PackedProfile packed;
        if (PackProfile(profile, 0, 0, packed) != ERROR_SUCCESS) return false;
        const std::string record(reinterpret_cast<const char*>(packed.bytes.get()), packed.size);
        const char* text = QuorvelAudioDevice::EncodeProfile(&profile);
        if (!text) return false;
        const std::string name = "/random" + std::to_string(i);
        isWritten &= WriteFile(directory + "/unpack_profile" + name, '\2' + record);
        isWritten &= WriteFile(directory + "/decode_profile" + name, text);
        QuorvelAudioDevice::Free(const_cast<char*>(text));
    }
    return isWritten;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 2 && WriteSeeds(argv[1])) return 0;
    std::cerr << "usage: make_seeds DIRECTORY (with decode_profile/ and unpack_profile/ in it)\n";
    return 1;
}
