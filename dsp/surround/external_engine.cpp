#include "dsp/surround/external_engine.h"

#include <new>

#include "base/memory_shortage.h"
#include "dsp/surround/external_library.h"
#include "dsp/surround/substitute_engine.h"

namespace quorvel {

void ExternalEngineRelease::operator()(INineEarsSurroundSound* engine) const {
    engine->Destroy();
}

ExternalEngine CreateExternalEngine() {
    if (INineEarsSurroundSound* const engine = ExternalLibrary::CreateEngine())
        return ExternalEngine(engine);
    ExternalEngine engine(new (std::nothrow) SubstituteSurroundEngine);
    if (!engine) NoteMemoryShortage();
    return engine;
}

}  // namespace quorvel
