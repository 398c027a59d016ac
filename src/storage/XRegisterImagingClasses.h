// Entry of the library's storable classes into the class registry.
#pragma once

#include "core/XExport.h"

namespace mirelan {

// Called once by the host before it reads any stream; nothing in the library
// calls it. Registering twice is harmless.
MIRELAN_EXPORT void XRegisterImagingClasses();

}  // namespace mirelan
