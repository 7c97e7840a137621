// Faults that the driver is told to commit.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/simulation/driver/driver_answer.h"

namespace quorvel::simulation {

// Stands for a read of the event stream where a control code is asked for.
inline constexpr std::uint32_t kEventRead = 0;

// Stands for every control code and event read, and for every client.
inline constexpr std::uint32_t kAny = 0xFFFFFFFF;

// Overwrites one word of an answer. Past the answer's end it does nothing.
struct WordPatch {
    std::uint32_t offset = 0;
    std::uint32_t value = 0;
};

// One fault: which requests it spoils, and how. The faults of an answer are applied in the order of
// their fields and may be combined. The system above the driver never copies more than the caller
// has room for, so a false answer is cut there.
struct Misbehaviour {
    std::uint32_t code = kAny;    // control code, kEventRead or kAny
    std::uint32_t client = kAny;  // of that client, or of kAny
    std::uint32_t skip = 0;       // as many matching requests are served honestly first
    std::uint32_t times = 1;      // as many are spoiled then

    // The device goes away; the request ends with status::kDeviceRemoved.
    bool removeDevice = false;
    // The request is not carried out and ends with this code and no answer. Events stay queued.
    std::optional<std::uint32_t> refuse{};

    // The request is carried out, and then its answer becomes these bytes. An event read delivers
    // them at once, empty or not, and takes nothing off the queue.
    std::optional<Bytes> answer{};
    std::vector<WordPatch> patches{};       // lying sizes and counts
    std::optional<std::size_t> cutTo{};     // bytes left of the answer
    std::optional<std::uint32_t> status{};  // success or any error, instead of the honest one
    // The answer is held back until the driver's silence ends.
    bool silent = false;

    // Whether an event read ends by the fault alone, without an event to deliver.
    bool EndsRead() const { return removeDevice || refuse || answer; }
};

// Spoils the answer of a request that was carried out.
void Spoil(const Misbehaviour& fault, std::size_t capacity, Answer& answer);

// The faults still to be committed, in the order in which they were programmed. Of several that are
// due for one request the first is committed; every one counts the requests it lets through.
class MisbehaviourProgram {
  public:
    // A fault to be committed no times is ignored.
    void Add(Misbehaviour fault);
    void Clear() { faults.clear(); }

    // The fault due for the next such request; null when it will be served honestly.
    const Misbehaviour* Due(std::uint32_t code, std::uint32_t client) const;

    // Counts one such request and takes the fault due for it, if any.
    std::optional<Misbehaviour> Next(std::uint32_t code, std::uint32_t client);

  private:
    std::vector<Misbehaviour> faults;
};

}  // namespace quorvel::simulation
