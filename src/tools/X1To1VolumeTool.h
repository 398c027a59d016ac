// Tools that turn one volume into one volume of the same class, in place or
// into a new volume. A call reaches per-pixel-type code by one test chain
// over class ids on the source (never a virtual call per voxel); a tool says
// which pixel types it serves by overriding the matching slots, and every
// other type fails with XException 2500.
#pragma once

#include "core/XException.h"
#include "core/XExport.h"
#include "volume/XVolume.h"

namespace mirelan {

class XMaskVolume;
class XGrey8Volume;
class XGrey16Volume;
class XARGB32Volume;
class XBGRA32Volume;
class XRGB48Volume;
class XFPVolume;

class MIRELAN_EXPORT X1To1VolumeTool {
 public:
  X1To1VolumeTool() = default;
  virtual ~X1To1VolumeTool();

  // A new volume from MakeDestVolume, filled by the tool; the caller owns it.
  virtual XVolume* ApplyTool(const XVolume& inSource);
  // Works on the volume itself. A tool that cannot (CanApplyInPlace false)
  // works on a clone and hands the result back by CopyFrom, so that a failure
  // part-way leaves the volume as it was.
  virtual void ApplyToolInPlace(XVolume& ioVolume);

 protected:
  virtual bool CanApplyInPlace() const { return true; }
  // The destination of ApplyTool: by default an uncopied volume of the
  // source's class and bounds.
  virtual XVolume* MakeDestVolume(const XVolume& inSource);
  // The dispatch by IsA on the source: mask, Grey8, Grey16, ARGB32, BGRA32,
  // RGB48, FP; anything else (XGrey32Volume among them) throws 2500. The
  // mask comes first because a mask is a Grey8 volume too.
  virtual void ApplyToolSelf(const XVolume& inSource, XVolume& ioDest);
  // Forwards to ApplyToolGrey8: a mask is served as grey unless a tool says otherwise.
  virtual void ApplyToolMask(const XMaskVolume& inSource, XVolume& ioDest);
  virtual void ApplyToolGrey8(const XGrey8Volume& inSource, XVolume& ioDest);
  virtual void ApplyToolGrey16(const XGrey16Volume& inSource, XVolume& ioDest);
  virtual void ApplyToolARGB32(const XARGB32Volume& inSource, XVolume& ioDest);
  virtual void ApplyToolBGRA32(const XBGRA32Volume& inSource, XVolume& ioDest);
  virtual void ApplyToolRGB48(const XRGB48Volume& inSource, XVolume& ioDest);
  virtual void ApplyToolFP(const XFPVolume& inSource, XVolume& ioDest);

  // The opening step of every voxel-by-voxel slot: when source and
  // destination are different objects, the destination first takes the
  // source's content (CopyIn over the full bounds) and the tool then works on
  // the destination alone, so that such a tool is in place by construction.
  static void CopySourceIntoDest(const XVolume& inSource, XVolume& ioDest);

  // The destination as the class the slot serves. ApplyToolSelf has checked
  // that source and destination are of one class, so this is a plain cast;
  // the check here guards slots called directly.
  template <class V>
  static V& DestAs(XVolume& ioDest) {
    V* typed = dynamic_cast<V*>(&ioDest);
    XAssert(typed != nullptr);
    return *typed;
  }
};

}  // namespace mirelan
