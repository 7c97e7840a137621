#include "profile/text_form.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#include "base/byte_reader.h"
#include "profile/base64.h"
#include "profile/packed_profile.h"
#include "profile/profile_hash.h"

namespace quorvel {
namespace {

constexpr GUID kHeaderMark = {
    0x36E7FAB7, 0xAC5D, 0x4922, {0x85, 0xC5, 0xB2, 0x8E, 0x1E, 0x50, 0x98, 0x82}};
constexpr GUID kTrailerMark = {
    0x85DF87D3, 0x8AAA, 0x44A9, {0xA7, 0x9F, 0xB6, 0x9E, 0xF0, 0x16, 0xE7, 0xFE}};
constexpr std::uint16_t kWrittenVersion = 2;

#pragma pack(push, 1)
struct EnvelopeHeader {
    GUID mark{};
    std::uint16_t formatVersion = 0;
    std::uint32_t profileHash = 0;
};
#pragma pack(pop)
static_assert(sizeof(EnvelopeHeader) == 22);
static_assert(offsetof(EnvelopeHeader, profileHash) == 18);

constexpr std::uint32_t kEnvelopeSize = sizeof(EnvelopeHeader) + sizeof(GUID);
static_assert(kEnvelopeSize == 38);

// Writes marks, version and hash around the record in `buffer`.
void WriteEnvelope(std::span<std::byte> buffer) {
    const auto record = buffer.subspan(sizeof(EnvelopeHeader), buffer.size() - kEnvelopeSize);
    const EnvelopeHeader header{kHeaderMark, kWrittenVersion, HashProfile(record)};
    std::memcpy(buffer.data(), &header, sizeof(header));
    std::memcpy(record.data() + record.size(), &kTrailerMark, sizeof(kTrailerMark));
}

HeapArray<char> EncodeText(std::span<const std::byte> bytes) {
    const std::uint64_t length = Base64Length(bytes.size());
    if (!std::in_range<std::size_t>(length + 1)) return {};
    HeapArray<char> text = AllocateArray<char>(static_cast<std::size_t>(length + 1));
    if (!text) return text;
    EncodeBase64(bytes, text.get());
    text[static_cast<std::size_t>(length)] = '\0';
    return text;
}

DWORD ReadEnvelope(std::span<const std::byte> bytes, QuorvelAudioProfile& profile) {
    ByteReader reader(bytes);
    EnvelopeHeader header;
    std::span<const std::byte> record;
    GUID trailer;
    if (bytes.size() < kEnvelopeSize || !reader.Read(header) ||
        !reader.Take(bytes.size() - kEnvelopeSize, record) || !reader.Read(trailer))
        return ERROR_INVALID_DATA;
    const GUID mark = header.mark;
    if (!(mark == kHeaderMark) || !(trailer == kTrailerMark)) return ERROR_INVALID_DATA;
    if (header.formatVersion > kWrittenVersion) return ERROR_UNKNOWN_REVISION;
    if (record.empty() || HashProfile(record) != header.profileHash) return ERROR_INVALID_DATA;
    switch (header.formatVersion) {
        case 1:
            return UnpackProfile1(record, profile);
        case 2:
            return UnpackProfile(record, profile);
        default:
            return ERROR_INVALID_DATA;
    }
}

}  // namespace

HeapArray<char> EncodeProfile(const QuorvelAudioProfile& profile) {
    PackedProfile packed;
    if (PackProfile(profile, kEnvelopeSize, sizeof(EnvelopeHeader), packed) != ERROR_SUCCESS)
        return {};
    const std::span<std::byte> buffer(packed.bytes.get(), packed.size);
    WriteEnvelope(buffer);
    return EncodeText(buffer);
}

DWORD DecodeProfile(const char* text, QuorvelAudioProfile& profile) {
    if (!text || *text == '\0') return ERROR_INVALID_PARAMETER;
    const std::span<const char> characters(text, std::strlen(text));
    const HeapArray<std::byte> bytes = AllocateArray<std::byte>(Base64Capacity(characters.size()));
    if (!bytes) return ERROR_NOT_ENOUGH_MEMORY;
    const std::size_t size = DecodeBase64(characters, bytes.get());
    return ReadEnvelope({bytes.get(), size}, profile);
}

}  // namespace quorvel
