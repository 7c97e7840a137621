// What each of the four classes says of itself when it is registered.
#pragma once

#include <array>

#include "platform/apo_interfaces.h"

namespace quorvel {

// The records lie in the section RT_DATA and are complete when the library is loaded.
extern APO_REG_PROPERTIES lfxOutRegistration;
extern APO_REG_PROPERTIES gfxOutRegistration;
extern APO_REG_PROPERTIES lfxInRegistration;
extern APO_REG_PROPERTIES gfxInRegistration;

// In the order in which they are registered.
std::array<const APO_REG_PROPERTIES*, 4> RegistrationRecords();

}  // namespace quorvel
