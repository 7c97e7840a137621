// Profiles and their parts, to and from the driver.
#include <algorithm>
#include <cstring>

#include "client/answer_buffer.h"
#include "client/control_codes.h"
#include "client/quorvel_audio_device.h"
#include "kinds/block_kinds.h"
#include "profile/make_room.h"
#include "profile/packed_profile.h"
#include "profile/packed_sections.h"
#include "profile/packed_size.h"
#include "profile/quorvel_audio_block.h"

using quorvel::AnswerBuffer;
using quorvel::ByteReader;
using quorvel::ByteWriter;
using quorvel::TwoStepRead;
namespace control = quorvel::control;

namespace {

constexpr TwoStepRead kWholeProfile = {.firstSize = 2048};
constexpr TwoStepRead kBlocks = {.firstSize = 2048};
constexpr TwoStepRead kLinks = {.firstSize = 1024};
constexpr TwoStepRead kPaths = {.firstSize = 1024,
                                .sizeOffset = offsetof(_QuorvelProfilePaths, stringsSize),
                                .sizeExtra = sizeof(_QuorvelProfilePaths)};
constexpr TwoStepRead kProfilesList = {
    .firstSize = 1024, .tooSmall = ERROR_SUCCESS, .sizeFactor = sizeof(GUID), .sizeExtra = 8};
constexpr TwoStepRead kBlock = {
    .firstSize = 512, .tooSmall = ERROR_INSUFFICIENT_BUFFER, .sizeFactor = 0, .sizeExtra = 2048};

struct ProfilesListHeader {
    std::uint32_t held = 0;     // profiles in the driver
    std::uint32_t present = 0;  // ids that follow
};
static_assert(sizeof(ProfilesListHeader) == 8);

// A record of `size` bytes, zeros before `write(writer)` fills it. False when its size saturated
// or memory cannot be had.
template <typename Write>
bool MakeRecord(AnswerBuffer& record, std::uint32_t size, Write write) {
    if (size == quorvel::kPackedSizeLimit || !record.Allocate(size)) return false;
    ByteWriter writer({record.room.get(), size});
    write(writer);
    return true;
}

_QuorvelAudioBlockInfo BareHeader(const QuorvelAudioBlock& block) {
    return {.id = block.id, .profileId = block.profileId, .chainId = block.chainId};
}

quorvel::SectionHeader SectionQuestion(const QuorvelAudioProfile& profile, DWORD chainId) {
    quorvel::SectionHeader header;
    header.profileId = profile.id;
    header.chainId = chainId;
    return header;
}

// Hands the section of the answer to `readSection` for the chain, which is made if need be.
DWORD TakeSection(const AnswerBuffer& answer, QuorvelAudioProfile& profile, DWORD chainId,
                  DWORD readSection(std::span<const std::byte>, QuorvelAudioBlocksChain&)) {
    if (answer.Bytes().size() < sizeof(quorvel::SectionHeader)) return ERROR_INVALID_DATA;
    QuorvelAudioBlocksChain* const chain = profile.GetChain(chainId, true);
    return chain ? readSection(answer.Bytes(), *chain) : ERROR_NOT_ENOUGH_MEMORY;
}

}  // namespace

DWORD QuorvelAudioDevice::SetProfileData(QuorvelAudioProfile* profile) {
    for (unsigned i = 0; i < profile->chains.Count(); ++i)
        if (!profile->chains.Item(i).blocks.Validate()) return ERROR_UNSUPPORTED_TYPE;
    quorvel::PackedProfile packed;
    if (const DWORD error = quorvel::PackProfile(*profile, 0, 0, packed)) return error;
    return Tell(control::kSetProfileData, packed.bytes.get(), packed.size);
}

DWORD QuorvelAudioDevice::GetProfileData(QuorvelAudioProfile* profile) {
    return GetProfile(control::kGetProfileData, &profile->id, sizeof(profile->id), profile);
}

DWORD QuorvelAudioDevice::GetProfileForPID(DWORD pid, QuorvelAudioProfile* profile) {
    return GetProfile(control::kGetProfileForPID, &pid, sizeof(pid), profile);
}

DWORD QuorvelAudioDevice::GetProfile(DWORD code, void* in, DWORD inSize,
                                     QuorvelAudioProfile* profile) {
    AnswerBuffer answer;
    if (const DWORD error = Read(kWholeProfile, code, in, inSize, answer)) return error;
    return quorvel::UnpackProfile(answer.Bytes(), *profile);
}

DWORD QuorvelAudioDevice::RemoveProfile(GUID& id) {
    return Tell(control::kRemoveProfile, &id, sizeof(id));
}

DWORD QuorvelAudioDevice::RemoveProfile(QuorvelAudioProfile* profile) {
    return RemoveProfile(profile->id);
}

DWORD QuorvelAudioDevice::ClearProfiles() {
    constexpr std::uint32_t kNothing = 0;
    return Tell(control::kClearProfiles, &kNothing, sizeof(kNothing));
}

DWORD QuorvelAudioDevice::GetAllProfiles(QuorvelAudioProfilesList* list) {
    AnswerBuffer answer;
    if (const DWORD error = Read(kProfilesList, control::kGetAllProfiles, nullptr, 0, answer))
        return error;
    ByteReader reader(answer.Bytes());
    ProfilesListHeader header;
    if (!reader.Read(header) || header.held > reader.Remaining() / sizeof(GUID))
        return ERROR_INVALID_DATA;
    if (!quorvel::MakeRoom(*list, header.held) || !list->Resize(header.held))
        return ERROR_NOT_ENOUGH_MEMORY;
    for (unsigned i = 0; i < header.held; ++i)
        reader.Read(list->Item(i));
    return ERROR_SUCCESS;
}

DWORD QuorvelAudioDevice::SetProfileBlocks(QuorvelAudioProfile* profile, DWORD chainId) {
    QuorvelAudioBlocksChain* const chain = profile->GetChain(chainId, false);
    if (!chain) return ERROR_NOT_FOUND;
    if (!chain->blocks.Validate()) return ERROR_UNSUPPORTED_TYPE;
    AnswerBuffer record;
    const unsigned size = chain->blocks.GetPackedSize();
    if (!MakeRecord(record, size,
                    [&](ByteWriter& writer) { quorvel::WriteBlocksSection(writer, *chain, size); }))
        return ERROR_NOT_ENOUGH_MEMORY;
    return Tell(control::kSetProfileBlocks, record.room.get(), size);
}

DWORD QuorvelAudioDevice::GetProfileBlocks(QuorvelAudioProfile* profile, DWORD chainId) {
    const auto question = SectionQuestion(*profile, chainId);
    AnswerBuffer answer;
    const DWORD error =
        Read(kBlocks, control::kGetProfileBlocks, &question, sizeof(question), answer);
    return error ? error : TakeSection(answer, *profile, chainId, quorvel::ReadBlocksSection);
}

DWORD QuorvelAudioDevice::SetProfileLinks(QuorvelAudioProfile* profile, DWORD chainId) {
    QuorvelAudioBlocksChain* const chain = profile->GetChain(chainId, false);
    if (!chain) return ERROR_NOT_FOUND;
    AnswerBuffer record;
    const unsigned size = chain->links.GetPackedSize();
    if (!MakeRecord(record, size,
                    [&](ByteWriter& writer) { quorvel::WriteLinksSection(writer, *chain, size); }))
        return ERROR_NOT_ENOUGH_MEMORY;
    return Tell(control::kSetProfileLinks, record.room.get(), size);
}

DWORD QuorvelAudioDevice::GetProfileLinks(QuorvelAudioProfile* profile, DWORD chainId) {
    const auto question = SectionQuestion(*profile, chainId);
    AnswerBuffer answer;
    const DWORD error =
        Read(kLinks, control::kGetProfileLinks, &question, sizeof(question), answer);
    return error ? error : TakeSection(answer, *profile, chainId, quorvel::ReadLinksSection);
}

DWORD QuorvelAudioDevice::SetProfilePaths(QuorvelAudioProfile* profile) {
    AnswerBuffer record;
    const unsigned strings = profile->GetStringsSize();
    const std::uint32_t size = quorvel::AddPackedSizes(strings, sizeof(_QuorvelProfilePaths));
    if (!MakeRecord(record, size, [&](ByteWriter& writer) {
            quorvel::WritePathsSection(writer, *profile, strings);
        }))
        return ERROR_NOT_ENOUGH_MEMORY;
    return Tell(control::kSetProfilePaths, record.room.get(), size);
}

DWORD QuorvelAudioDevice::GetProfilePaths(QuorvelAudioProfile* profile) {
    AnswerBuffer answer;
    if (const DWORD error =
            Read(kPaths, control::kGetProfilePaths, &profile->id, sizeof(profile->id), answer))
        return error;
    ByteReader reader(answer.BytesPadded(sizeof(_QuorvelProfilePaths)));
    return quorvel::ReadPathsSection(reader, *profile);
}

DWORD QuorvelAudioDevice::SetAudioBlock(QuorvelAudioBlock* block) {
    if (!quorvel::IsKnownBlockType(block->typeId)) return ERROR_UNSUPPORTED_TYPE;
    AnswerBuffer record;
    const unsigned size = block->GetPackedSize();
    if (size == quorvel::kPackedSizeLimit || !record.Allocate(size)) return ERROR_NOT_ENOUGH_MEMORY;
    block->Pack(reinterpret_cast<_QuorvelAudioBlockInfo*>(record.room.get()));
    return Tell(control::kSetAudioBlock, record.room.get(), size);
}

DWORD QuorvelAudioDevice::GetAudioBlock(QuorvelAudioBlock* block) {
    const _QuorvelAudioBlockInfo question = BareHeader(*block);
    AnswerBuffer answer;
    if (const DWORD error =
            Read(kBlock, control::kGetAudioBlock, &question, sizeof(question), answer))
        return error;
    ByteReader reader(answer.Bytes());
    return quorvel::ReadBlock(reader, *block);
}

DWORD QuorvelAudioDevice::RemoveAudioBlock(QuorvelAudioBlock* block) {
    const _QuorvelAudioBlockInfo question = BareHeader(*block);
    return Tell(control::kRemoveAudioBlock, &question, sizeof(question));
}

DWORD QuorvelAudioDevice::SetProfileLink(_QuorvelAudioBlockLink* link) {
    return Tell(control::kSetProfileLink, link, sizeof(*link));
}

DWORD QuorvelAudioDevice::RemoveProfileLink(_QuorvelAudioBlockLink* link) {
    return Tell(control::kRemoveProfileLink, link, sizeof(*link));
}
