// Tools that turn one volume into several (a colour volume into its channels,
// for instance). Dispatch as in X1To1VolumeTool, without a BGRA32 slot: a
// BGRA32 volume, like every type no slot serves, throws XException 2500.
#pragma once

#include "core/XContainers.h"
#include "core/XException.h"
#include "core/XExport.h"
#include "volume/XVolume.h"

namespace mirelan {

class XMaskVolume;
class XGrey8Volume;
class XGrey16Volume;
class XARGB32Volume;
class XRGB48Volume;
class XFPVolume;

class MIRELAN_EXPORT X1ToManyVolumeTool {
 public:
  X1ToManyVolumeTool() = default;
  virtual ~X1ToManyVolumeTool();

  // The dispatch by IsA on the source in the order mask, Grey8, Grey16,
  // ARGB32, RGB48, FP. The slot fills a vector, which is moved out to the
  // caller, who owns its volumes.
  virtual XPtrVector<XVolume> ApplyTool(const XVolume& inSource);

 protected:
  // Forwards to ApplyToolGrey8.
  virtual void ApplyToolMask(const XMaskVolume& inSource, XPtrVector<XVolume>& outVolumes);
  virtual void ApplyToolGrey8(const XGrey8Volume& inSource, XPtrVector<XVolume>& outVolumes);
  virtual void ApplyToolGrey16(const XGrey16Volume& inSource, XPtrVector<XVolume>& outVolumes);
  virtual void ApplyToolARGB32(const XARGB32Volume& inSource, XPtrVector<XVolume>& outVolumes);
  virtual void ApplyToolRGB48(const XRGB48Volume& inSource, XPtrVector<XVolume>& outVolumes);
  virtual void ApplyToolFP(const XFPVolume& inSource, XPtrVector<XVolume>& outVolumes);
};

}  // namespace mirelan
