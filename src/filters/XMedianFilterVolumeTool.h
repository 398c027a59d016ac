// Median filters over a cube: of a whole volume, and of a chunk of a larger
// volume (XMedianFilterMaskTool), where the parts of the window that belong
// to the larger volume but not to the chunk count as 0.
#pragma once

#include "core/XExport.h"
#include "core/XTypes.h"
#include "geometry/X3DRect.h"
#include "tools/X1To1VolumeTool.h"

namespace mirelan {

// Each voxel becomes the lower median (the value of rank (n - 1) / 2 of n)
// of the positions of a cube of the given edge around it: from x - size / 2
// over size steps on each axis, so an even size reaches one step fewer past
// the centre than before it. A single plane lies in one layer of the cube.
// A position outside the source is dropped (the window shrinks at the edge
// of a whole volume), or, when the total rectangle is larger than the source
// and holds the position, counts as 0.
//
// Grey8 (and masks), Grey16 and FP; ARGB32 per colour byte (alpha is not
// written) and RGB48 per channel, so a colour result may be one that no
// single neighbour has. Needs a destination apart from the source; the work
// is split over the core's worker pool with the same result for every
// worker count.
class MIRELAN_EXPORT XMedianFilterVolumeTool : public X1To1VolumeTool {
 public:
  // A size of at least 1; 1 copies.
  explicit XMedianFilterVolumeTool(UInt32 inSize);
  ~XMedianFilterVolumeTool() override;

  UInt32 GetSize() const { return itsSize; }

  // True: positions outside the source are dropped without asking the total rectangle.
  virtual bool ShouldCheckBounds() const { return true; }
  // The volume the source is part of: here the source itself.
  virtual X3DRect GetTotalVolumeRect(const XVolume& inVolume) const { return inVolume.GetBounds(); }

 protected:
  bool CanApplyInPlace() const override { return false; }
  void ApplyToolGrey8(const XGrey8Volume& inSource, XVolume& ioDest) override;
  void ApplyToolGrey16(const XGrey16Volume& inSource, XVolume& ioDest) override;
  void ApplyToolARGB32(const XARGB32Volume& inSource, XVolume& ioDest) override;
  void ApplyToolRGB48(const XRGB48Volume& inSource, XVolume& ioDest) override;
  void ApplyToolFP(const XFPVolume& inSource, XVolume& ioDest) override;

 private:
  template <class V>
  void Filter(const XVolume& inSource, XVolume& ioDest);

  UInt32 itsSize;
};

// The median of a chunk cut from a larger volume, whose bounds are the total
// rectangle: positions of the window inside the total rectangle but outside
// the chunk count as 0. The rectangle is held by reference and must outlive
// the tool.
class MIRELAN_EXPORT XMedianFilterMaskTool : public XMedianFilterVolumeTool {
 public:
  XMedianFilterMaskTool(UInt32 inSize, const X3DRect& inTotalRect);
  ~XMedianFilterMaskTool() override;

  bool ShouldCheckBounds() const override { return false; }
  X3DRect GetTotalVolumeRect(const XVolume&) const override { return itsTotalRect; }

 private:
  const X3DRect& itsTotalRect;
};

}  // namespace mirelan
