// A walk over the calling thread's own stack.
#pragma once

#include <functional>
#include <string>

#include "platform/windows_api.h"

namespace quorvel {

// Loads the symbols of every module of the process, so it is slow; for rare use on threads that may
// wait. One object belongs to one thread. The debug-help library beneath knows one session a
// process: no two objects may have theirs at the same time.
//
// What the callback throws passes through Walk; the object stays usable.
class StackWalker {
  public:
    // One frame: `frameIndex` counts from 0, the innermost. `word` is always null. `moduleName`
    // (without directory and extension) and `imagePath` are null when the module is not known,
    // `symbolName` is empty when the symbol is not. Pointers last as long as the call. True goes
    // on, false ends the walk.
    using FrameCallback = std::function<bool(void* user, int frameIndex, const STACKFRAME64& frame,
                                             const CONTEXT& context, DWORD* word, WCHAR* moduleName,
                                             WCHAR* imagePath, WCHAR* symbolName)>;

    // The callback may be empty; `userData` is handed to it and means nothing here.
    StackWalker(FrameCallback callback, void* userData);

    // Ends the debug-help session.
    ~StackWalker();

    StackWalker(const StackWalker&) = delete;
    StackWalker& operator=(const StackWalker&) = delete;

    // Calls back for every frame from here outward, until the stack ends, a frame returns to
    // nowhere or to itself, or the callback has enough. The first walk begins the debug-help
    // session; when no module can be loaded, or memory for the names is lacking, nothing is called,
    // and the next walk tries again. Always false.
    bool Walk();

    // Where debug help looks for symbol files: what it made of SymbolSearchPath. Empty without a
    // session. Throws std::bad_alloc.
    std::basic_string<WCHAR> SearchPath() const;

  private:
    bool SetUp() noexcept;
    bool LoadModules();
    bool ReportFrame(int frameIndex, const STACKFRAME64& frame, const CONTEXT& context, WCHAR* name,
                     SYMBOL_INFOW& symbol);

    HANDLE process = nullptr;  // stands for this process; nothing to close
    bool initialized = false;  // the debug-help session has begun
    FrameCallback frameCallback;
    void* user = nullptr;
};

}  // namespace quorvel
