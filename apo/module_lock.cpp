#include "apo/module_lock.h"

#include <atomic>

namespace quorvel {
namespace {

constinit std::atomic<std::int32_t> locks = 0;

}  // namespace

void ModuleLock::Add() {
    locks.fetch_add(1, std::memory_order_relaxed);
}

void ModuleLock::Remove() {
    locks.fetch_sub(1, std::memory_order_acq_rel);
}

std::int32_t ModuleLock::Count() {
    return locks.load(std::memory_order_acquire);
}

}  // namespace quorvel
