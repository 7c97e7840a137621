#include "tests/support/random_profile.h"

#include <cstdio>
#include <vector>

#include "profile/quorvel_audio_block.h"
#include "profile/quorvel_audio_blocks_chain.h"

namespace quorvel::test {
namespace {

unsigned UpTo(std::mt19937& random, unsigned most) {
    return std::uniform_int_distribution<unsigned>(0, most)(random);
}

GUID RandomGuid(std::mt19937& random) {
    return NumberedGuid(static_cast<std::uint32_t>(random()));
}

void FillChain(QuorvelAudioProfile& profile, QuorvelAudioBlocksChain& chain, std::mt19937& random,
               const ProfileShape& shape) {
    for (unsigned n = UpTo(random, shape.blocks); n > 0; --n) {
        QuorvelAudioBlock block(&profile, &chain, RandomGuid(random), RandomGuid(random));
        std::vector<std::uint8_t> data(UpTo(random, shape.dataSize));
        for (auto& byte : data)
            byte = static_cast<std::uint8_t>(random());
        block.SetData(data.data(), static_cast<unsigned>(data.size()));
        chain.blocks.Add(block);
    }
    for (unsigned n = UpTo(random, shape.links); n > 0; --n) {
        _QuorvelAudioBlockLink link{profile.id, chain.id, RandomGuid(random), RandomGuid(random)};
        chain.links.Add(link);
    }
}

std::string Hexadecimal(const void* bytes, std::size_t size) {
    std::string text;
    for (std::size_t i = 0; i < size; ++i) {
        char digits[3];
        std::snprintf(digits, sizeof(digits), "%02x", static_cast<const std::uint8_t*>(bytes)[i]);
        text += digits;
    }
    return text;
}

}  // namespace

GUID NumberedGuid(std::uint32_t number) {
    return {number, 0x5151, 0x4242, {0x80, 1, 2, 3, 4, 5, 6, static_cast<std::uint8_t>(number)}};
}

void FillRandomly(QuorvelAudioProfile& profile, std::mt19937& random, const ProfileShape& shape) {
    profile.id = RandomGuid(random);
    for (unsigned n = UpTo(random, shape.paths); n > 0; --n) {
        std::basic_string<WCHAR> path(1 + UpTo(random, 30), WCHAR{'a'});
        for (auto& unit : path)
            unit = static_cast<WCHAR>(1 + UpTo(random, 0xFFFE));
        profile.AddPath(path.c_str());
    }
    for (unsigned n = UpTo(random, shape.chains); n > 0; --n)
        FillChain(profile, *profile.GetChain(UpTo(random, 9), true), random, shape);
}

std::string Describe(const GUID& guid) {
    return Hexadecimal(&guid, sizeof(guid));
}

std::string Describe(const QuorvelAudioBlocksChain& chain) {
    std::string text = "chain " + std::to_string(chain.id) + " of " + Describe(chain.profileId);
    for (unsigned i = 0; i < chain.blocks.Count(); ++i) {
        const QuorvelAudioBlock& block = chain.blocks.Item(i);
        text += "\n block " + Describe(block.id) + " type " + Describe(block.typeId) + " of " +
                Describe(block.profileId) + " in " + std::to_string(block.chainId) + " data " +
                Hexadecimal(block.data, block.dataSize);
    }
    for (unsigned i = 0; i < chain.links.Count(); ++i) {
        const _QuorvelAudioBlockLink& link = chain.links.Item(i);
        text += "\n link " + Describe(link.sourceBlockId) + " to " +
                Describe(link.destinationBlockId) + " of " + Describe(link.profileId) + " in " +
                std::to_string(link.chainId);
    }
    return text + '\n';
}

std::string Describe(const QuorvelAudioProfile& profile) {
    std::string text =
        "profile " + Describe(profile.id) + " cookie " + std::to_string(profile.cookie) + '\n';
    for (unsigned i = 0; i < profile.PathsCount(); ++i) {
        const WCHAR* path = profile.Path(i);
        text += "path ";
        text += path ? Hexadecimal(path, std::char_traits<WCHAR>::length(path) * sizeof(WCHAR))
                     : "null";
        text += '\n';
    }
    for (unsigned i = 0; i < profile.chains.Count(); ++i)
        text += Describe(profile.chains.Item(i));
    return text;
}

}  // namespace quorvel::test
