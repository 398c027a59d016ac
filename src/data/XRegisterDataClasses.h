// Registration of the image data and annotation classes: polylines, tracks,
// selected points and ROIs.
#pragma once

#include "core/XExport.h"

namespace mirelan {

// Enters the stored classes of this unit into the registry (versioned
// readers only: these classes have no stream constructors). Called by
// XRegisterImagingClasses; safe to call more than once.
MIRELAN_EXPORT void XRegisterDataClasses();

}  // namespace mirelan
