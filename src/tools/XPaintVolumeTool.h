// Paints an ARGB colour over a region of a volume of any class, converted once
// to the volume's voxel by the conversion copy's rules.
#pragma once

#include "core/XExport.h"
#include "volume/XColour.h"
#include "volume/XVolume.h"

namespace mirelan {

class X3DRegion;

class MIRELAN_EXPORT XPaintVolumeTool {
 public:
  // Under a read-write lock, by the volume's exact class. Where the region
  // has a mask, voxels with a non-zero mask byte are painted.
  static void FillRegion(XVolume& ioVolume, const X3DRegion& inRegion, const XARGB32Colour& inColour);
  static void FillRect(XVolume& ioVolume, const X3DRect& inRect, const XARGB32Colour& inColour);
};

}  // namespace mirelan
