#include "blocks/surround/external_engine.h"

#include <array>
#include <new>

#include "blocks/surround/substitute_engine.h"
#include "engine/memory_shortage.h"

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

// Empty when the library is not there or does not make one.
ExternalEngine LoadEngine() {
    const HMODULE library = LoadLibraryW(kLibraryName);
    if (!library) return {};
    const CreateFunction create = FindEntry(library);
    INineEarsSurroundSound* engine = nullptr;
    if (create && create(engine) == 0 && engine) return {engine, {library}};
    FreeLibrary(library);
    return {};
}

}  // namespace

void ExternalEngineRelease::operator()(INineEarsSurroundSound* engine) const {
    engine->Destroy();
    if (library) FreeLibrary(library);
}

ExternalEngine CreateExternalEngine() {
    if (ExternalEngine engine = LoadEngine()) return engine;
    ExternalEngine engine(new (std::nothrow) SubstituteSurroundEngine);
    if (!engine) NoteMemoryShortage();
    return engine;
}

}  // namespace quorvel
