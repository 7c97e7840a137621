// A thread that does one thing after the other for another thread, which waits meanwhile.
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace quorvel::tool {

// Lives as long as the object, so what the work keeps by thread stays. The work must not throw.
class WorkerThread {
  public:
    WorkerThread() : thread([this] { Loop(); }) {}

    ~WorkerThread() {
        {
            const std::lock_guard lock(mutex);
            isEnding = true;
        }
        changed.notify_all();
        thread.join();
    }
    WorkerThread(const WorkerThread&) = delete;
    WorkerThread& operator=(const WorkerThread&) = delete;

    // Returns when the work is done.
    void Do(const std::function<void()>& toDo) {
        std::unique_lock lock(mutex);
        work = &toDo;
        changed.notify_all();
        changed.wait(lock, [this] { return work == nullptr; });
    }

  private:
    void Loop() {
        std::unique_lock lock(mutex);
        while (true) {
            changed.wait(lock, [this] { return work || isEnding; });
            if (!work) return;
            (*work)();
            work = nullptr;
            changed.notify_all();
        }
    }

    std::mutex mutex;  // guards the two below
    const std::function<void()>* work = nullptr;
    bool isEnding = false;
    std::condition_variable changed;
    std::thread thread;  // the last: it uses all above
};

}  // namespace quorvel::tool
