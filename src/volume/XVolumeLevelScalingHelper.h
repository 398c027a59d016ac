// A pyramid of coarser copies of a volume. Level 0 is full resolution and
// each level below it holds about an eighth of the voxels of the one above,
// halving first the axes whose voxels are shortest, so that an anisotropic
// volume becomes isotropic on the way down.
#pragma once

#include "core/XExport.h"
#include "geometry/X3DRect.h"
#include "geometry/XPoint.h"

namespace mirelan {

class XVolume;

class MIRELAN_EXPORT XVolumeLevelScalingHelper {
 public:
  // The scale is taken as absolute values divided by the smallest of them.
  XVolumeLevelScalingHelper(const X3DRect& inBounds, const X3DPointF& inScale);
  // From a volume's bounds and aspect factors (XY mode). Above 2^20 voxels
  // the subdivision level is the level whose size is at most 2^20 voxels.
  static XVolumeLevelScalingHelper MakeFromTemplateVolume(const XVolume& inVolume);

  static constexpr UInt64 kTopLevelVoxels = 1048576;

  const X3DRect& GetBounds() const { return itsBounds; }
  const X3DPointF& GetScale() const { return itsScale; }
  // Per axis, the power of two nearest the axis's scale: how many levels
  // that axis is ahead of the finest one.
  const X3DPoint& GetMaxAnisotropy() const { return itsMaxAnisotropy; }
  SInt32 GetSubdivisionLevel() const { return itsSubdivisionLevel; }

  // Levels are 0 or negative.
  X3DPoint GetAnisotropyOfLevel(SInt32 inLevel) const;
  // How far each axis is halved at the level: the level plus the anisotropy.
  X3DPoint GetAxisLevelsOfLevel(SInt32 inLevel) const;
  // Bits 1 (x), 2 (y), 4 (z) of the axes whose anisotropy at the level has
  // reached its maximum: the axes that the next level down halves.
  UInt32 GetChildSubSampleAxesOfLevel(SInt32 inLevel) const;
  X3DPointF GetScalingOfLevel(SInt32 inLevel) const;
  // The bounds halved per axis level, far edges rounded up so that no voxel is lost.
  X3DRect GetBoundsOfLevel(SInt32 inLevel) const;

 private:
  void UpdateMaxAnisotropy();

  X3DRect itsBounds;
  X3DPointF itsScale;
  X3DPoint itsMaxAnisotropy;
  SInt32 itsSubdivisionLevel = 0;
};

}  // namespace mirelan
