// The control codes, each with the length of its request and the function that serves it.
//
// The driver is strict: a request is as long as its record, to the byte, and fields that have to be
// zero are. Refusals:
//   kInvalidParameter    the request is too short, too long, or lies about its own length; a field
//                        that is fixed has another value
//   kInvalidData         a profile, section or paths record contradicts itself inside
//   kNotFound            unknown profile, chain, block, link, process or interface class
//   kMoreData            a whole profile, blocks, links or paths do not fit: as many bytes as fit
//   kInsufficientBuffer  any other answer does not fit, or not even the size of one of those
#pragma once

#include <cstdint>
#include <span>

#include "platform/simulation/driver/control_codes.h"
#include "platform/simulation/driver/driver_answer.h"
#include "platform/simulation/driver/driver_state.h"

namespace quorvel::simulation {

struct Request {
    ClientId client = 0;
    ControlCode code{};
    ByteSpan bytes{};
    std::size_t capacity = 0;  // room for the answer, in bytes
};

// Carries a request of the right length out and appends what is to be announced.
using Handler = Answer (*)(DriverState& state, const Request& request, DriverEvents& events);

struct RequestKind {
    ControlCode code{};
    std::uint32_t size = 0;  // bytes of the request; of its fixed part, when more may follow
    bool open = false;       // more may follow; the handler checks how much
    Handler handler = nullptr;
};

// One row a code, ordered by code.
std::span<const RequestKind> RequestKinds();

// Null for a code that the driver does not know.
const RequestKind* FindRequestKind(std::uint32_t code);

// Serves a request of that kind, checking its length first.
Answer Serve(const RequestKind& kind, DriverState& state, const Request& request,
             DriverEvents& events);

}  // namespace quorvel::simulation
