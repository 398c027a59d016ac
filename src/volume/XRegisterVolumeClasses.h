// Entry of the storable classes of volumes, regions, look-up tables and
// renderers into the class registry. Hosts call XRegisterImagingClasses,
// which calls this in its turn.
#pragma once

#include "core/XExport.h"

namespace mirelan {

// Registering twice is harmless.
MIRELAN_EXPORT void XRegisterVolumeClasses();

}  // namespace mirelan
