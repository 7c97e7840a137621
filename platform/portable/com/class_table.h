// Where CoCreateInstance finds classes: in modules that are registered in the registry, and among
// those that the system brings itself.
#pragma once

#include <string>

#include "platform/portable/com/com.h"

namespace quorvel::platform {

using GetClassObjectFunction = HRESULT (*)(REFCLSID classId, REFIID iid, void** object);

// Stands for the file at `path`: classes registered with that InprocServer32 are asked of it. Null
// takes the file away. Throws std::bad_alloc.
void SetModuleFile(const std::u16string& path, GetClassObjectFunction getClassObject);

// Adds a class of the system's own while it lives; the factory must outlive it.
class SystemClass {
  public:
    // Throws std::bad_alloc.
    SystemClass(const CLSID& systemClassId, IClassFactory& factory);
    ~SystemClass();
    SystemClass(const SystemClass&) = delete;
    SystemClass& operator=(const SystemClass&) = delete;

  private:
    const CLSID classId;
};

}  // namespace quorvel::platform
