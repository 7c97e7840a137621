// The audio engine's process at the moment when it makes an object for a client's stream.
#pragma once

#include <cstddef>

#include "platform/simulation/machine/simulated_machine.h"

namespace quorvel::simulation {

// How the engine keeps the stream that it makes an object for, and where it has it on its stack.
struct EngineCall {
    CLSID classId{};          // of the object
    DWORD clientProcess = 0;  // whose stream it is; 0 when the engine keeps no record

    // Outermost but how many of the engine's frames has the record as its second argument.
    std::size_t framesBeyond = 1;

    // Bytes from the argument to the process id, and from there to the class id.
    DWORD processPlace = 12;
    DWORD classPlace = 12;
};

// Adds the engine's modules, unless the machine has modules already, and replaces call stack and
// stream record: frames of the library, of the engine and of the system beneath it. Throws
// std::bad_alloc, std::invalid_argument when there are not that many frames.
void StageEngineCall(SimulatedMachine& machine, const EngineCall& call);

}  // namespace quorvel::simulation
