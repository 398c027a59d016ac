// Fills a region of a volume with one value or one colour.
#pragma once

#include "core/XException.h"
#include "core/XExport.h"
#include "volume/XColour.h"
#include "volume/XVolume.h"

namespace mirelan {

class X3DRegion;
class XGrey8Volume;
class XGrey16Volume;
class XARGB32Volume;
class XFPVolume;

class MIRELAN_EXPORT XFillVolumeTool {
 public:
  XFillVolumeTool() = default;
  virtual ~XFillVolumeTool();

  // XARGB32Volume only; any other class throws 2500. A null region fills the whole volume.
  void FillRegionColour(XVolume& ioVolume, const X3DRegion* inRegion, const XARGB32Colour& inColour);
  // By IsA: Grey8 (masks too), Grey16, ARGB32, FP; any other class throws 2500.
  void FillRegionValue(XVolume& ioVolume, const X3DRegion* inRegion, Float64 inValue);

 protected:
  // Grey levels take the value truncated to the type.
  virtual void ApplyToolGrey8Value(XGrey8Volume& ioVolume, const X3DRegion* inRegion, Float64 inValue);
  virtual void ApplyToolGrey16Value(XGrey16Volume& ioVolume, const X3DRegion* inRegion, Float64 inValue);
  // An opaque grey: alpha 255, red, green and blue the truncated value.
  virtual void ApplyToolARGB32Value(XARGB32Volume& ioVolume, const X3DRegion* inRegion, Float64 inValue);
  virtual void ApplyToolFPValue(XFPVolume& ioVolume, const X3DRegion* inRegion, Float64 inValue);
  virtual void ApplyToolARGB32Colour(XARGB32Volume& ioVolume, const X3DRegion* inRegion,
                                     const XARGB32Colour& inColour);
};

}  // namespace mirelan
