// Splits a colour volume into its red, green and blue channels: an ARGB32
// volume into three XGrey8Volume, an RGB48 volume into three XGrey16Volume,
// each with the source's bounds and calibration, in the order red, green,
// blue. Grey, float and BGRA32 volumes throw XException 2500.
#pragma once

#include "core/XExport.h"
#include "tools/X1ToManyVolumeTool.h"

namespace mirelan {

class MIRELAN_EXPORT XVolumeRGBSplitTool : public X1ToManyVolumeTool {
 protected:
  void ApplyToolARGB32(const XARGB32Volume& inSource, XPtrVector<XVolume>& outVolumes) override;
  void ApplyToolRGB48(const XRGB48Volume& inSource, XPtrVector<XVolume>& outVolumes) override;
};

}  // namespace mirelan
