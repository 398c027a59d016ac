// Registration of the core's own storable classes.
#pragma once

#include "core/XExport.h"

namespace mirelan {

// Enters the core's classes (the memory handle, id 33) into the registry.
// Safe to call more than once.
MIRELAN_EXPORT void XRegisterCoreClasses();

}  // namespace mirelan
