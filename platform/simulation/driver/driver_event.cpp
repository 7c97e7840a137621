#include "platform/simulation/driver/driver_event.h"

namespace quorvel::simulation {
namespace {

constexpr std::size_t kHeaderSize = 16;

}  // namespace

Bytes WriteEvent(const DriverEvent& event, std::uint64_t time) {
    const bool detailed = event.kind >= EventKind::kBlockAdded;
    const std::uint32_t payloadSize = detailed ? 60 : 24;
    Bytes record(kHeaderSize + payloadSize);
    StoreWord(record, 0, static_cast<std::uint32_t>(event.kind));
    StoreWord(record, 4, payloadSize);
    StoreInteger(record, 8, time, 8);

    const std::span payload = std::span(record).subspan(kHeaderSize);
    StoreId(payload, 0, event.profile);
    StoreInteger(payload, 16, event.cookie, 8);
    if (!detailed) return record;
    StoreId(payload, 24, event.first);
    StoreId(payload, 40, event.second);
    StoreWord(payload, 56, event.chain);
    return record;
}

}  // namespace quorvel::simulation
