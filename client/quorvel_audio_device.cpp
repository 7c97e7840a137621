#include "client/quorvel_audio_device.h"

#include <cstddef>
#include <cstdlib>
#include <span>

#include "profile/packed_profile.h"
#include "profile/packed_sections.h"
#include "profile/text_form.h"
#include "profile/wide_string.h"

using quorvel::ByteReader;
using quorvel::ByteWriter;

namespace {

std::span<const std::byte> BytesOf(const void* record, std::size_t size) {
    return {static_cast<const std::byte*>(record), size};
}

ByteWriter WriterTo(void* record, std::size_t size) {
    return ByteWriter({static_cast<std::byte*>(record), size});
}

// The section at `in`, as long as it says.
template <typename Header>
std::span<const std::byte> TrustedSection(const void* in) {
    return BytesOf(in, static_cast<const Header*>(in)->sectionSizeCopy);
}

}  // namespace

const char* QuorvelAudioDevice::EncodeProfile(QuorvelAudioProfile* profile) {
    return profile ? quorvel::EncodeProfile(*profile).release() : nullptr;
}

DWORD QuorvelAudioDevice::DecodeProfile(const char* text, QuorvelAudioProfile* profile) {
    return profile ? quorvel::DecodeProfile(text, *profile) : ERROR_INVALID_PARAMETER;
}

void QuorvelAudioDevice::CopyString(WCHAR*& target, const WCHAR* source) {
    target = quorvel::DuplicateString(source);
}

void QuorvelAudioDevice::Free(void* buffer) {
    std::free(buffer);
}

void QuorvelAudioDevice::FillBlocksFromChain(_QuorvelAudioProfileBlocks* out,
                                             QuorvelAudioBlocksChain* chain, unsigned size) {
    const unsigned sectionSize = size != 0 ? size : chain->blocks.GetPackedSize();
    ByteWriter writer = WriterTo(out, sectionSize);
    quorvel::WriteBlocksSection(writer, *chain, sectionSize);
}

void QuorvelAudioDevice::FillLinksFromChain(_QuorvelAudioProfileBlocksLinks* out,
                                            QuorvelAudioBlocksChain* chain, unsigned size) {
    const unsigned sectionSize = size != 0 ? size : chain->links.GetPackedSize();
    ByteWriter writer = WriterTo(out, sectionSize);
    quorvel::WriteLinksSection(writer, *chain, sectionSize);
}

void QuorvelAudioDevice::FillPathsFromProfile(_QuorvelProfilePaths* out,
                                              QuorvelAudioProfile* profile, unsigned stringsSize) {
    const unsigned size = stringsSize != 0 ? stringsSize : profile->GetStringsSize();
    ByteWriter writer = WriterTo(out, sizeof(*out) + std::size_t{size});
    quorvel::WritePathsSection(writer, *profile, size);
}

DWORD QuorvelAudioDevice::FillChainBlocks(QuorvelAudioBlocksChain* chain,
                                          _QuorvelAudioProfileBlocks* in) {
    return quorvel::ReadBlocksSection(TrustedSection<quorvel::SectionHeader>(in), *chain);
}

DWORD QuorvelAudioDevice::FillChainBlocks_1(QuorvelAudioBlocksChain* chain, void* in) {
    return quorvel::ReadBlocksSection1(TrustedSection<quorvel::SectionHeader1>(in), *chain);
}

DWORD QuorvelAudioDevice::FillChainLinks(QuorvelAudioBlocksChain* chain,
                                         _QuorvelAudioProfileBlocksLinks* in) {
    return quorvel::ReadLinksSection(TrustedSection<quorvel::SectionHeader>(in), *chain);
}

DWORD QuorvelAudioDevice::FillChainLinks_1(QuorvelAudioBlocksChain* chain, void* in) {
    return quorvel::ReadLinksSection1(TrustedSection<quorvel::SectionHeader1>(in), *chain);
}

DWORD QuorvelAudioDevice::FillProfilePaths(QuorvelAudioProfile* profile, _QuorvelProfilePaths* in) {
    ByteReader reader(BytesOf(in, sizeof(*in) + std::size_t{in->stringsSize}));
    return quorvel::ReadPathsSection(reader, *profile);
}

DWORD QuorvelAudioDevice::PackProfileData(QuorvelAudioProfile* profile, void** buffer,
                                          unsigned& bufferSize, unsigned extra, unsigned offset) {
    quorvel::PackedProfile packed;
    const DWORD result = quorvel::PackProfile(*profile, extra, offset, packed);
    if (result != ERROR_SUCCESS) return result;
    *buffer = packed.bytes.release();
    bufferSize = packed.size;
    return ERROR_SUCCESS;
}

DWORD QuorvelAudioDevice::UnpackProfileData_2(QuorvelAudioProfile* profile,
                                              _QuorvelProfileFullData* data, unsigned size) {
    return quorvel::UnpackProfile(BytesOf(data, size), *profile);
}

DWORD QuorvelAudioDevice::UnpackProfileData_1(QuorvelAudioProfile* profile,
                                              _QuorvelProfileFullData* data, unsigned size) {
    return quorvel::UnpackProfile1(BytesOf(data, size), *profile);
}
