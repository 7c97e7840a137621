#include "dsp/surround/external_library.h"

#include <array>
#include <atomic>
#include <mutex>

#include "dsp/surround/external_engine.h"
#include "platform/critical_section.h"
#include "platform/installed_library.h"

namespace quorvel {
namespace {

constexpr WCHAR kLibraryName[] = {'9', 'E', 'a', 'r', 's', 'S', 'u', 'r', 'r', 'o', 'u', 'n',
                                  'd', 'S', 'o', 'u', 'n', 'd', '.', 'd', 'l', 'l', '\0'};

// int NineEarsSurroundSound::Create(INineEarsSurroundSound*&)
using CreateFunction = int (*)(INineEarsSurroundSound*& engine);

// Its name as Microsoft's compiler decorates it: as a member of a namespace (YA) or a static member
// of a class (SA), with the interface as a class (V) or a struct (U), for pointers of 64 bits
// (AEAPEA) or 32 bits (AAPA).
constexpr std::array<const char*, 4> kEntries64 = {
    "?Create@NineEarsSurroundSound@@YAHAEAPEAVINineEarsSurroundSound@@@Z",
    "?Create@NineEarsSurroundSound@@YAHAEAPEAUINineEarsSurroundSound@@@Z",
    "?Create@NineEarsSurroundSound@@SAHAEAPEAVINineEarsSurroundSound@@@Z",
    "?Create@NineEarsSurroundSound@@SAHAEAPEAUINineEarsSurroundSound@@@Z"};
constexpr std::array<const char*, 4> kEntries32 = {
    "?Create@NineEarsSurroundSound@@YAHAAPAVINineEarsSurroundSound@@@Z",
    "?Create@NineEarsSurroundSound@@YAHAAPAUINineEarsSurroundSound@@@Z",
    "?Create@NineEarsSurroundSound@@SAHAAPAVINineEarsSurroundSound@@@Z",
    "?Create@NineEarsSurroundSound@@SAHAAPAUINineEarsSurroundSound@@@Z"};
constexpr auto& kEntries = sizeof(void*) == 8 ? kEntries64 : kEntries32;

CreateFunction FindEntry(HMODULE library) {
    for (const char* name : kEntries) {
        if (const auto entry = GetProcAddress(library, name)) {
            // By way of the one type that every function pointer may be turned into unremarked.
            return reinterpret_cast<CreateFunction>(reinterpret_cast<void (*)()>(entry));
        }
    }
    return nullptr;
}

// The library that all share.
class SharedLibrary {
  public:
    void Use() {
        const std::lock_guard guard(lock);
        if (users == 0) Load();
        ++users;
    }

    void LetGo() {
        const std::lock_guard guard(lock);
        if (--users != 0 || !library) return;
        create = nullptr;
        FreeLibrary(library);
        library = nullptr;
    }

    std::atomic<CreateFunction> create = nullptr;  // null: not there

  private:
    void Load() {
        library = platform::LoadInstalledLibrary(kLibraryName);
        if (library) create = FindEntry(library);
    }

    platform::CriticalSection lock;  // guards all below
    unsigned users = 0;
    HMODULE library = nullptr;
};

SharedLibrary& TheLibrary() {
    static SharedLibrary library;
    return library;
}

}  // namespace

ExternalLibrary::ExternalLibrary() {
    TheLibrary().Use();
}

ExternalLibrary::~ExternalLibrary() {
    TheLibrary().LetGo();
}

INineEarsSurroundSound* ExternalLibrary::CreateEngine() {
    const CreateFunction create = TheLibrary().create;
    INineEarsSurroundSound* engine = nullptr;
    return create && create(engine) == 0 ? engine : nullptr;
}

}  // namespace quorvel
