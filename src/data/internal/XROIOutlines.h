// Where ROI drawing meets the region outline tracer. The tracer belongs to
// the measurement unit (X3DRegion::GetOutlineForXYPlane and its kin); until
// it is in place this seam draws each region by the outline of its box,
// which is exact for a simple region and the box around a complex one.
// Replacing the body of GetPlaneOutline is all that joining the two takes.
#pragma once

#include "data/XROIPathCache.h"
#include "volume/XVolume.h"

namespace mirelan {

class X3DRegion;

namespace XROIOutlines {

// Closed outlines of a region one voxel thick across inMode's plane,
// within inClip when it is given. Points are voxel corners in the plane's
// own coordinates: (x, y) for XY, (x, z) for XZ, (z, y) for YZ.
XROIPaths GetPlaneOutline(const X3DRegion& inRegion, XPlaneMode inMode, const X3DRegion* inClip);

}  // namespace XROIOutlines

}  // namespace mirelan
