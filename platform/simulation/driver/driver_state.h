// All that the driver knows, without clients, streams and locks.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <vector>

#include "platform/simulation/driver/process_table.h"
#include "platform/simulation/driver/profile_store.h"

namespace quorvel::simulation {

using ClientId = std::uint32_t;

// {6994AD04-93EF-11D0-A3CC-00A0C9223196}: the interface class of audio devices.
inline constexpr Id kAudioCategory = {
    std::byte{0x04}, std::byte{0xAD}, std::byte{0x94}, std::byte{0x69},
    std::byte{0xEF}, std::byte{0x93}, std::byte{0xD0}, std::byte{0x11},
    std::byte{0xA3}, std::byte{0xCC}, std::byte{0x00}, std::byte{0xA0},
    std::byte{0xC9}, std::byte{0x22}, std::byte{0x31}, std::byte{0x96}};

// What the device answers to questions about itself. Texts are answered as they stand, the name
// with a terminator behind it.
struct DeviceAnswers {
    std::u16string version = u"1.0.0.0";
    std::map<Id, std::u16string> links = {{kAudioCategory, u"\\??\\ROOT#QUORVEL#0000#audio"}};
    Bytes formats = Bytes(16);  // supported data formats
    std::uint32_t channelsMaskInfo[2] = {8, 0x63F};
    bool enabled = true;
    std::u16string removalEventName = u"QuorvelDeviceRemoval";
    std::uint32_t analysisHeader[2] = {0, 0};  // second and third word of an analysis
    std::vector<std::uint32_t> frequencies;    // its entries
};

// Something that an audio stream told the driver, as it came.
struct StreamNotice {
    ClientId client = 0;
    std::uint32_t code = 0;
    Bytes bytes;
};

// The latest stream analysis settings, as they came; empty before the first.
struct StreamAnalysis {
    Bytes enable;
    Bytes params;
};

struct DriverState {
    // Older notices are forgotten.
    static constexpr std::size_t kMaxNotices = 4096;

    ProfileStore profiles;
    ProcessTable processes;
    DeviceAnswers answers;
    StreamAnalysis analysis;
    std::deque<StreamNotice> notices;
};

}  // namespace quorvel::simulation
