#include "platform/simulation/driver/profile_records.h"

namespace quorvel::simulation {
namespace {

constexpr std::size_t kChainHeaderSize = 20;

// Cuts `size` bytes off the front of `rest`; false when there are fewer.
bool Take(ByteSpan& rest, std::uint64_t size, ByteSpan& front) {
    if (size > rest.size()) return false;
    front = rest.first(static_cast<std::size_t>(size));
    rest = rest.subspan(front.size());
    return true;
}

// The same for a record with a header of `header` bytes that begins with its whole size.
bool TakeSized(ByteSpan& rest, std::size_t header, ByteSpan& front) {
    if (rest.size() < header) return false;
    const std::uint32_t size = LoadWord(rest, 0);
    return size >= header && Take(rest, size, front);
}

// Cuts off one block or link record.
bool TakeRecord(ByteSpan& rest, RecordKind kind, ByteSpan& record) {
    if (kind == RecordKind::kLink) return Take(rest, kLinkSize, record);
    if (rest.size() < kBlockHeaderSize) return false;
    return Take(rest, std::uint64_t{kBlockHeaderSize} + LoadWord(rest, 52), record);
}

bool SameWords(ByteSpan bytes, std::size_t a, std::size_t b) {
    return LoadWord(bytes, a) == LoadWord(bytes, b);
}

// Whether the area is a row of terminated strings, `count` of them.
bool IsStrings(ByteSpan strings, std::uint32_t count) {
    if (strings.size() % 2 != 0) return false;
    if (SplitStrings(strings).size() != count) return false;
    return strings.empty() ||
           (strings.end()[-1] == std::byte{} && strings.end()[-2] == std::byte{});
}

// Reads the section at the front of `rest` into `chain`, whose profile is `profile`.
bool TakeSection(ByteSpan& rest, const Id& profile, RecordKind kind, StoredChain& chain) {
    ByteSpan bytes;
    if (!TakeSized(rest, kSectionHeaderSize, bytes)) return false;
    auto section = ReadSection(bytes, kind);
    if (!section || section->profile != profile || section->chain != chain.number) return false;
    chain.Records(kind) = std::move(section->records);
    return true;
}

bool TakeChain(ByteSpan& rest, StoredProfile& profile) {
    ByteSpan bytes;
    if (!TakeSized(rest, kChainHeaderSize, bytes)) return false;
    if (!SameWords(bytes, 0, 8) || LoadWord(bytes, 4) != 0 || LoadWord(bytes, 12) != 0)
        return false;
    const std::uint32_t number = LoadWord(bytes, 16);
    if (profile.FindChain(number)) return false;
    StoredChain& chain = profile.NeedChain(number);
    ByteSpan sections = bytes.subspan(kChainHeaderSize);
    return TakeSection(sections, profile.id, RecordKind::kBlock, chain) &&
           TakeSection(sections, profile.id, RecordKind::kLink, chain) && sections.empty();
}

bool TakePaths(ByteSpan& rest, StoredProfile& profile) {
    if (rest.size() < kPathsHeaderSize) return false;
    ByteSpan bytes;
    if (!Take(rest, std::uint64_t{kPathsHeaderSize} + LoadWord(rest, 16), bytes)) return false;
    auto paths = ReadPaths(bytes);
    if (!paths || paths->profile != profile.id) return false;
    profile.strings = std::move(paths->strings);
    return true;
}

std::uint32_t Word(std::size_t size) {
    return static_cast<std::uint32_t>(size);
}

Bytes WriteChain(const StoredProfile& profile, const StoredChain& chain) {
    const Bytes blocks = WriteSection(profile, chain, RecordKind::kBlock);
    const Bytes links = WriteSection(profile, chain, RecordKind::kLink);
    const std::uint32_t size = Word(kChainHeaderSize + blocks.size() + links.size());
    Bytes out;
    for (const std::uint32_t word : {size, 0u, size, 0u, chain.number})
        AppendWord(out, word);
    Append(out, blocks);
    Append(out, links);
    return out;
}

}  // namespace

std::optional<Section> ReadSection(ByteSpan bytes, RecordKind kind) {
    if (bytes.size() < kSectionHeaderSize || LoadWord(bytes, 0) != bytes.size()) return {};
    if (!SameWords(bytes, 0, 8) || !SameWords(bytes, 4, 12)) return {};
    Section section{.profile = LoadId(bytes, 16), .chain = LoadWord(bytes, 32), .records = {}};
    ByteSpan rest = bytes.subspan(kSectionHeaderSize);
    while (!rest.empty()) {
        ByteSpan record;
        if (!TakeRecord(rest, kind, record)) return {};
        section.records.emplace_back(record.begin(), record.end());
    }
    if (section.records.size() != LoadWord(bytes, 4)) return {};
    return section;
}

std::optional<Paths> ReadPaths(ByteSpan bytes) {
    if (bytes.size() < kPathsHeaderSize) return {};
    const ByteSpan strings = bytes.subspan(kPathsHeaderSize);
    if (LoadWord(bytes, 16) != strings.size()) return {};
    if (!IsStrings(strings, LoadWord(bytes, 20))) return {};
    return Paths{.profile = LoadId(bytes, 0), .strings = Bytes(strings.begin(), strings.end())};
}

std::optional<StoredProfile> ReadProfile(ByteSpan bytes) {
    if (bytes.size() < kSmallestProfile || LoadWord(bytes, 0) != bytes.size()) return {};
    StoredProfile profile;
    profile.id = LoadId(bytes, 4);
    ByteSpan rest = bytes.subspan(kProfileHeaderSize);
    if (!TakePaths(rest, profile)) return {};
    while (!rest.empty())
        if (!TakeChain(rest, profile)) return {};
    if (profile.chains.size() != LoadWord(bytes, 28)) return {};
    return profile;
}

Bytes WriteSection(const StoredProfile& profile, const StoredChain& chain, RecordKind kind) {
    const std::vector<Bytes>& records = chain.Records(kind);
    Bytes out(kSectionHeaderSize);
    for (const Bytes& record : records)
        Append(out, record);
    for (const std::size_t copy : {0u, 8u}) {
        StoreWord(out, copy, Word(out.size()));
        StoreWord(out, copy + 4, Word(records.size()));
    }
    StoreId(out, 16, profile.id);
    StoreWord(out, 32, chain.number);
    return out;
}

Bytes WritePaths(const StoredProfile& profile) {
    Bytes out(kPathsHeaderSize);
    StoreId(out, 0, profile.id);
    StoreWord(out, 16, Word(profile.strings.size()));
    StoreWord(out, 20, Word(SplitStrings(profile.strings).size()));
    Append(out, profile.strings);
    return out;
}

Bytes WriteProfile(const StoredProfile& profile) {
    Bytes out(kProfileHeaderSize);
    Append(out, WritePaths(profile));
    for (const StoredChain& chain : profile.chains)
        Append(out, WriteChain(profile, chain));
    StoreWord(out, 0, Word(out.size()));
    StoreId(out, 4, profile.id);
    StoreInteger(out, 20, profile.cookie, 8);
    StoreWord(out, 28, Word(profile.chains.size()));
    return out;
}

}  // namespace quorvel::simulation
