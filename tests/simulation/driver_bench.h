// A driver on the bench: requests put together byte by byte, answers taken apart by offset.
#pragma once

#include <gtest/gtest.h>

#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "platform/simulation/driver/driver_core.h"

namespace quorvel::simulation {

// Bytes in the order in which they are named.
class Packet {
  public:
    Packet& Words(std::initializer_list<std::uint32_t> words) {
        for (const std::uint32_t word : words)
            for (int shift = 0; shift < 32; shift += 8)
                bytes.push_back(static_cast<std::byte>(word >> shift));
        return *this;
    }
    Packet& Word(std::size_t word) { return Words({static_cast<std::uint32_t>(word)}); }
    Packet& Text(std::u16string_view text) {
        for (const char16_t unit : text)
            for (const int shift : {0, 8})
                bytes.push_back(static_cast<std::byte>(unit >> shift));
        return *this;
    }
    Packet& Add(const Bytes& more) {
        bytes.insert(bytes.end(), more.begin(), more.end());
        return *this;
    }
    Packet& Add(const std::vector<Bytes>& records) {
        for (const Bytes& record : records)
            Add(record);
        return *this;
    }
    // Sixteen bytes that are told by their first one.
    Packet& Guid(int name) {
        bytes.push_back(static_cast<std::byte>(name));
        for (int i = 1; i < 16; ++i)
            bytes.push_back(name ? static_cast<std::byte>(0xA0 + i) : std::byte{});
        return *this;
    }
    operator const Bytes&() const { return bytes; }

    Bytes bytes;
};

inline std::uint32_t WordAt(const Bytes& bytes, std::size_t offset) {
    std::uint32_t word = 0;
    for (std::size_t i = 4; i-- > 0;)
        word = word << 8 | std::to_integer<std::uint32_t>(bytes.at(offset + i));
    return word;
}

inline Bytes Slice(const Bytes& bytes, std::size_t offset, std::size_t size) {
    Bytes slice;
    for (std::size_t i = 0; i < size; ++i)
        slice.push_back(bytes.at(offset + i));
    return slice;
}

inline Bytes Guid(int name) {
    return Packet().Guid(name);
}

// The fallback profile's id, {8A5527DD-29ED-49B0-8BE9-5667AD8999E1}.
inline Bytes Fallback() {
    return Packet().Words({0x8A5527DD, 0x49B029ED, 0x6756E98B, 0xE19989AD});
}

inline Bytes BlockRecord(int id, int type, int profile, std::uint32_t chain, const Bytes& data) {
    return Packet().Guid(id).Guid(type).Guid(profile).Word(chain).Word(data.size()).Add(data);
}

inline Bytes LinkRecord(int profile, std::uint32_t chain, int source, int destination) {
    return Packet().Guid(profile).Word(chain).Guid(source).Guid(destination);
}

inline Bytes SectionRecord(int profile, std::uint32_t chain, const std::vector<Bytes>& records) {
    const Bytes body = Packet().Add(records);
    const Bytes sizeAndCount = Packet().Word(36 + body.size()).Word(records.size());
    return Packet().Add({sizeAndCount, sizeAndCount, Guid(profile)}).Word(chain).Add(body);
}

inline Bytes ChainRecord(int profile, std::uint32_t number, const std::vector<Bytes>& blocks,
                         const std::vector<Bytes>& links) {
    const Bytes sections = Packet()
                               .Add(SectionRecord(profile, number, blocks))
                               .Add(SectionRecord(profile, number, links));
    const auto size = static_cast<std::uint32_t>(20 + sections.size());
    return Packet().Words({size, 0, size, 0, number}).Add(sections);
}

inline Bytes PathsRecord(const Bytes& profile, const std::vector<std::u16string>& paths) {
    Packet strings;
    for (const std::u16string& path : paths)
        strings.Text(path).Text({u"\0", 1});
    return Packet().Add(profile).Word(strings.bytes.size()).Word(paths.size()).Add(strings.bytes);
}

inline Bytes ProfileRecord(const Bytes& id, const std::vector<std::u16string>& paths,
                           const std::vector<Bytes>& chains = {}, std::uint32_t cookie = 0) {
    const Bytes body = Packet().Add(PathsRecord(id, paths)).Add(chains);
    return Packet().Word(32 + body.size()).Add(id).Words({cookie, 0}).Word(chains.size()).Add(body);
}

inline Bytes ProfileRecord(int name, const std::vector<std::u16string>& paths,
                           const std::vector<Bytes>& chains = {}, std::uint32_t cookie = 0) {
    return ProfileRecord(Guid(name), paths, chains, cookie);
}

// Profile 1, "c:\a.exe": chain 1 with the blocks 11 (3 bytes) and 12 (none) and a link, chain 2
// empty. 20 + 36 + 59 + 56 + 36 + 52 = 259 bytes the first chain, 92 the second, 425 in all.
inline Bytes SampleProfile() {
    const Bytes data = {std::byte{7}, std::byte{8}, std::byte{9}};
    return ProfileRecord(
        1, {u"c:\\a.exe"},
        {ChainRecord(1, 1, {BlockRecord(11, 21, 1, 1, data), BlockRecord(12, 22, 1, 1, {})},
                     {LinkRecord(1, 1, 11, 12)}),
         ChainRecord(1, 2, {}, {})});
}

inline Bytes SectionQuestion(int profile, std::uint32_t chain) {
    return Packet().Words({0, 0, 0, 0}).Guid(profile).Word(chain);
}

inline Bytes BlockQuestion(int id, int profile, std::uint32_t chain) {
    return BlockRecord(id, 0, profile, chain, {});
}

// A driver whose clock stands, with one client that may do anything.
struct Bench {
    Answer Ask(std::uint32_t code, const Bytes& request, std::size_t capacity = 100'000) {
        return driver.Control(client, code, kReadAccess | kWriteAccess, request, capacity);
    }
    std::uint32_t Tell(std::uint32_t code, const Bytes& request) {
        return Ask(code, request).status;
    }

    // All events that wait for `reader`, a record each.
    std::vector<Bytes> Events(ClientId reader) {
        std::vector<Bytes> events;
        while (const auto read = driver.TakeEvents(reader, 1024)) {
            if (read->status != 0) break;
            for (std::size_t at = 0; at < read->bytes.size(); at += events.back().size())
                events.push_back(Slice(read->bytes, at, 16 + WordAt(read->bytes, at + 4)));
        }
        return events;
    }
    std::vector<Bytes> Events() { return Events(client); }

    // What the driver called back: clients whose reads are ready, ends of silence, removals.
    std::mutex mutex;
    std::vector<ClientId> ready;
    int silenceEnded = 0, removed = 0;

    DriverCallbacks Record() {
        return {.readReady =
                    [this](ClientId reader) {
                        driver.IsRemoved();  // a callback may call in
                        const std::lock_guard lock(mutex);
                        ready.push_back(reader);
                    },
                .silenceEnded = [this] { ++silenceEnded; },
                .removed = [this] { ++removed; }};
    }

    DriverCore driver{Record(), [] { return 0x01D0A1B2C3D4E5F6u; }};
    ClientId client = driver.OpenClient();
};

class DriverTest : public testing::Test, public Bench {};

}  // namespace quorvel::simulation
