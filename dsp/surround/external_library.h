// The library of another maker that brings the surround engine, `9EarsSurroundSound.dll`.
#pragma once

class INineEarsSurroundSound;

namespace quorvel {

// Keeps the library loaded as long as one of these objects lives. Blocks are made under the lock of
// the sound, where nothing may be loaded: whoever makes graphs holds one of these from before the
// graph to after it. Loading and letting go are for control threads, without a lock.
class ExternalLibrary {
  public:
    // Loads the library, unless it is loaded: see LoadInstalledLibrary. It need not be there.
    // Throws std::bad_alloc.
    ExternalLibrary();
    ~ExternalLibrary();
    ExternalLibrary(const ExternalLibrary&) = delete;
    ExternalLibrary& operator=(const ExternalLibrary&) = delete;

    // A new engine of the library; null when none is loaded or it makes none. The engine must not
    // outlive the objects that keep the library. Any thread that may allocate; loads nothing.
    static INineEarsSurroundSound* CreateEngine();
};

}  // namespace quorvel
