// Tools that walk one volume, optionally narrowed by a region, and gather
// results in the tool (statistics, counts) or change voxels where they walk.
// Dispatch as in X1To1VolumeTool. A BGRA32 volume is served through the
// ARGB32 slot on a converted copy, so a scanning tool sees BGRA as ARGB.
#pragma once

#include "core/XException.h"
#include "core/XExport.h"
#include "volume/XVolume.h"

namespace mirelan {

class X3DRegion;
class XMaskVolume;
class XGrey8Volume;
class XGrey16Volume;
class XARGB32Volume;
class XBGRA32Volume;
class XRGB48Volume;
class XFPVolume;

class MIRELAN_EXPORT XVolumeScanningTool {
 public:
  XVolumeScanningTool() = default;
  virtual ~XVolumeScanningTool();

  // The region may be null: the whole volume.
  virtual void ApplyTool(XVolume& ioVolume, const X3DRegion* inRegion);

 protected:
  // Forwards to ApplyToolGrey8.
  virtual void ApplyToolMask(XMaskVolume& ioVolume, const X3DRegion* inRegion);
  virtual void ApplyToolGrey8(XGrey8Volume& ioVolume, const X3DRegion* inRegion);
  virtual void ApplyToolGrey16(XGrey16Volume& ioVolume, const X3DRegion* inRegion);
  virtual void ApplyToolARGB32(XARGB32Volume& ioVolume, const X3DRegion* inRegion);
  // Copies into a temporary XARGB32Volume of the bounds, runs ApplyToolARGB32
  // on it and copies the result back.
  virtual void ApplyToolBGRA32(XBGRA32Volume& ioVolume, const X3DRegion* inRegion);
  virtual void ApplyToolRGB48(XRGB48Volume& ioVolume, const X3DRegion* inRegion);
  virtual void ApplyToolFP(XFPVolume& ioVolume, const X3DRegion* inRegion);
};

}  // namespace mirelan
