// The critical section: a lock of one process that its owner may take again.
#pragma once

#include <mutex>

struct CRITICAL_SECTION {
    std::recursive_mutex mutex;
};

// The mutex needs neither; callers pair them all the same.
inline void InitializeCriticalSection(CRITICAL_SECTION*) {}
inline void DeleteCriticalSection(CRITICAL_SECTION*) {}

inline void EnterCriticalSection(CRITICAL_SECTION* section) {
    section->mutex.lock();
}

inline void LeaveCriticalSection(CRITICAL_SECTION* section) {
    section->mutex.unlock();
}
