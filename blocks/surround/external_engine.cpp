#include "blocks/surround/external_engine.h"

#include <new>

#include "blocks/surround/external_library.h"
#include "blocks/surround/substitute_engine.h"

namespace quorvel {

void ExternalEngineRelease::operator()(INineEarsSurroundSound* engine) const {
    engine->Destroy();
}

ExternalEngine CreateExternalEngine() {
    if (INineEarsSurroundSound* const engine = ExternalLibrary::CreateEngine())
        return ExternalEngine(engine);
    return ExternalEngine(new (std::nothrow) SubstituteSurroundEngine);
}

}  // namespace quorvel
