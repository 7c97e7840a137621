// What keeps this module loaded: its objects, and locks that clients take.
#pragma once

#include <cstdint>

namespace quorvel {

// Counts one reason to stay loaded, for its lifetime. Any thread.
class ModuleLock {
  public:
    ModuleLock() { Add(); }
    ~ModuleLock() { Remove(); }
    ModuleLock(const ModuleLock&) = delete;
    ModuleLock& operator=(const ModuleLock&) = delete;

    // For locks without an owner of their own.
    static void Add();
    static void Remove();

    // How many reasons there are.
    static std::int32_t Count();
};

}  // namespace quorvel
