// The records in which the driver tells about its streams. What the bytes mean is between the
// driver and the caller; this library knows their sizes.
#pragma once

#include <cstddef>
#include <cstdint>

#pragma pack(push, 1)

struct _QuorvelChannelsMaskInfo {
    std::uint32_t content[2]{};
};

struct _QuorvelSupportedDataFormats {
    std::uint8_t content[1024]{};
};

// The header of an analysis; `count` 32-bit entries follow it in memory.
struct _QuorvelStreamAnalysisData {
    std::uint32_t content[3]{};
    std::uint32_t count = 0;
};

namespace quorvel {

// Opens the parameters of the stream analysis, `count` 32-bit values follow. The names are the
// places in the argument list: the fifth stands before the fourth.
struct StreamAnalysisParams {
    std::int32_t first = 0;
    std::uint32_t second = 0;
    float third = 0.0f;
    std::int32_t fifth = 0;
    std::int32_t fourth = 0;
    std::uint32_t count = 0;
};

}  // namespace quorvel

#pragma pack(pop)

static_assert(sizeof(_QuorvelChannelsMaskInfo) == 8);
static_assert(sizeof(_QuorvelSupportedDataFormats) == 1024);
static_assert(sizeof(_QuorvelStreamAnalysisData) == 16);
static_assert(offsetof(_QuorvelStreamAnalysisData, count) == 12);
static_assert(sizeof(quorvel::StreamAnalysisParams) == 24);
static_assert(offsetof(quorvel::StreamAnalysisParams, fifth) == 12);
static_assert(offsetof(quorvel::StreamAnalysisParams, fourth) == 16);
static_assert(offsetof(quorvel::StreamAnalysisParams, count) == 20);
