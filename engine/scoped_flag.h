// Holds a flag true for a scope.
#pragma once

namespace quorvel {

// Sets `flag` and, at the end of the scope, gives it back the value that it had.
class ScopedFlag {
  public:
    explicit ScopedFlag(bool& heldFlag) : flag(heldFlag), previous(heldFlag) { flag = true; }
    ~ScopedFlag() { flag = previous; }
    ScopedFlag(const ScopedFlag&) = delete;
    ScopedFlag& operator=(const ScopedFlag&) = delete;

  private:
    bool& flag;
    bool previous;
};

}  // namespace quorvel
