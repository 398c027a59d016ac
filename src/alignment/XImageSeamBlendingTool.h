// Blends two overlapping image tiles across their overlap: a linear ramp
// from one tile to the other, written into both, so that both carry the same
// pixels there and the seam disappears.
#pragma once

#include "core/XExport.h"
#include "geometry/X3DRect.h"

namespace mirelan {

class XVolume;
class XGrey8Volume;
class XGrey16Volume;
class XFPVolume;
class XARGB32Volume;
class XRGB48Volume;
template <class T>
class XPackedVolume;

class MIRELAN_EXPORT XImageSeamBlendingTool {
 public:
  XImageSeamBlendingTool() = default;
  virtual ~XImageSeamBlendingTool();

  // The rectangles place the two volumes in a common (mosaic) frame. The ramp
  // runs across the overlap along the axis on which the overlap covers the
  // smaller share of the tiles, from the tile that lies first on that axis.
  // Both volumes of one class: Grey8 (and masks), Grey16, FP, ARGB32, RGB48;
  // any other throws 2500.
  void ApplyTool(XVolume& inAlphaI, XVolume& inZalphaI, const X3DRect& alphaRect, const X3DRect& zalphaRect);

 protected:
  // The ramp: along X (direction true) or Y, over the overlap's box.
  struct XRamp {
    bool itsAlongX;
    float itsLeft;
    float itsTop;
    float itsWidth;
    float itsHeight;
  };

  // (first overlap, second overlap, direction, order): both overlaps get the
  // blend of the first's copy and the second; with order true the first is
  // strong at the ramp's start, otherwise the second.
  virtual void ApplyToolGrey8(XGrey8Volume& ioFirst, XGrey8Volume& ioSecond, bool inAlongX, bool inFirstAtStart);
  virtual void ApplyToolGrey16(XGrey16Volume& ioFirst, XGrey16Volume& ioSecond, bool inAlongX, bool inFirstAtStart);
  virtual void ApplyToolFP(XFPVolume& ioFirst, XFPVolume& ioSecond, bool inAlongX, bool inFirstAtStart);
  virtual void ApplyToolARGB32(XARGB32Volume& ioFirst, XARGB32Volume& ioSecond, bool inAlongX, bool inFirstAtStart);
  virtual void ApplyToolRGB48(XRGB48Volume& ioFirst, XRGB48Volume& ioSecond, bool inAlongX, bool inFirstAtStart);

 private:
  template <class T>
  static void Blend(XPackedVolume<T>& ioFirst, XPackedVolume<T>& ioSecond, bool inAlongX, bool inFirstAtStart);
  // inDestI = ramp from inSrcIA to inSrcIB.
  template <class T>
  static void BlendInto(XPackedVolume<T>& inDestI, const XPackedVolume<T>& inSrcIA, const XPackedVolume<T>& inSrcIB,
                        const XRamp& inRamp);
};

}  // namespace mirelan
