// The CMYK-to-ARGB step of an old import path. It does no colour
// conversion: its helper writes four voxels at each step, opaque black and
// then three voxels with every bit set, and steps on by one voxel. So every
// scanned voxel ends opaque black, and the three voxels behind the last one
// scanned end all ones; at the end of a volume those lie in the spare bytes
// that every packed block keeps behind its last voxel. Hosts rely on the
// result as it stands. ARGB32 only.
#pragma once

#include "core/XExport.h"
#include "tools/X1To1VolumeTool.h"
#include "volume/XColour.h"
#include "tools/XScanHelperBase.h"

namespace mirelan {

class MIRELAN_EXPORT XCMYKHelper : public XScanHelperBase {
 public:
  template <class V>
  void ScanPixel(XARGB32Colour* ioVoxel, V&, SInt32, SInt32, SInt32) {
    ioVoxel[0] = XARGB32Colour(255, 0, 0, 0);
    ioVoxel[1] = XARGB32Colour(255, 255, 255, 255);
    ioVoxel[2] = XARGB32Colour(255, 255, 255, 255);
    ioVoxel[3] = XARGB32Colour(255, 255, 255, 255);
  }
};

class MIRELAN_EXPORT XKCMYToARGBTool : public X1To1VolumeTool {
 public:
  XKCMYToARGBTool() = default;
  ~XKCMYToARGBTool() override;

 protected:
  // Requires room in the block for the three voxels written behind the last one.
  void ApplyToolARGB32(const XARGB32Volume& inSource, XVolume& ioDest) override;
};

}  // namespace mirelan
