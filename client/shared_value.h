// A value that several threads read and write, in an object that is copied as a whole.
#pragma once

#include <atomic>

namespace quorvel {

// An atomic of the size of a T that copies by value: what std::atomic forbids, since the copy of a
// whole object of them is not one moment's. Loads and stores are sequentially consistent.
template <typename T>
class SharedValue {
  public:
    SharedValue(T initial = T{}) : value(initial) {}
    SharedValue(const SharedValue& other) : value(other.Load()) {}
    SharedValue& operator=(const SharedValue& other) {
        Store(other.Load());
        return *this;
    }

    T Load() const { return value.load(); }
    void Store(T next) { value.store(next); }

    // Stores `next` and returns what was there.
    T Exchange(T next) { return value.exchange(next); }

  private:
    std::atomic<T> value;
    static_assert(sizeof(std::atomic<T>) == sizeof(T) && std::atomic<T>::is_always_lock_free);
};

}  // namespace quorvel
