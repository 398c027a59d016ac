#include "volume/XVolumeLevelScalingHelper.h"

#include <algorithm>
#include <cmath>

#include "core/XException.h"
#include "volume/XVolume.h"

namespace mirelan {

namespace {

SInt32 ShiftDown(SInt32 inValue, SInt32 inShift) { return SInt32(SInt64(inValue) >> inShift); }

SInt32 ShiftDownRoundingUp(SInt32 inValue, SInt32 inShift) {
  return SInt32((SInt64(inValue) + (SInt64(1) << inShift) - 1) >> inShift);
}

}  // namespace

XVolumeLevelScalingHelper::XVolumeLevelScalingHelper(const X3DRect& inBounds, const X3DPointF& inScale)
    : itsBounds(inBounds) {
  X3DPointF scale(std::fabs(inScale.x), std::fabs(inScale.y), std::fabs(inScale.z));
  Float32 smallest = std::min(scale.x, std::min(scale.y, scale.z));
  XAssert(smallest > 0.0f);
  itsScale = X3DPointF(scale.x / smallest, scale.y / smallest, scale.z / smallest);
  UpdateMaxAnisotropy();
}

void XVolumeLevelScalingHelper::UpdateMaxAnisotropy() {
  // The exponent of the power of two nearest the scale by value: 2.9 is
  // nearer 2 than 4. Scales are at least 1 here.
  auto exponent = [](Float32 inScale) {
    SInt32 low = SInt32(std::floor(std::log2(Float64(inScale))));
    Float64 below = std::ldexp(1.0, low), above = std::ldexp(1.0, low + 1);
    return inScale - below <= above - inScale ? low : low + 1;
  };
  itsMaxAnisotropy = X3DPoint(exponent(itsScale.x), exponent(itsScale.y), exponent(itsScale.z));
  const X3DPoint& a = itsMaxAnisotropy;
  XAssert(a.x >= 0 && a.y >= 0 && a.z >= 0);
  XAssert(std::min(a.x, std::min(a.y, a.z)) == 0);
}

XVolumeLevelScalingHelper XVolumeLevelScalingHelper::MakeFromTemplateVolume(const XVolume& inVolume) {
  XVolumeLevelScalingHelper helper(inVolume.GetBounds(),
                                   X3DPointF(Float32(inVolume.GetXScale(kXYPlane)), Float32(inVolume.GetYScale(kXYPlane)),
                                             Float32(inVolume.GetZScale(kXYPlane))));
  const UInt64 voxels = inVolume.GetBounds().GetVolume();
  if (voxels > kTopLevelVoxels)
    helper.itsSubdivisionLevel = -SInt32(std::ceil(std::log(Float64(voxels) / kTopLevelVoxels) / std::log(8.0)));
  return helper;
}

X3DPoint XVolumeLevelScalingHelper::GetAnisotropyOfLevel(SInt32 inLevel) const {
  return X3DPoint(std::min(-inLevel, itsMaxAnisotropy.x), std::min(-inLevel, itsMaxAnisotropy.y),
                  std::min(-inLevel, itsMaxAnisotropy.z));
}

X3DPoint XVolumeLevelScalingHelper::GetAxisLevelsOfLevel(SInt32 inLevel) const {
  X3DPoint a = GetAnisotropyOfLevel(inLevel);
  return X3DPoint(a.x + inLevel, a.y + inLevel, a.z + inLevel);
}

UInt32 XVolumeLevelScalingHelper::GetChildSubSampleAxesOfLevel(SInt32 inLevel) const {
  X3DPoint a = GetAnisotropyOfLevel(inLevel);
  return (a.x >= itsMaxAnisotropy.x ? 1u : 0u) | (a.y >= itsMaxAnisotropy.y ? 2u : 0u) |
         (a.z >= itsMaxAnisotropy.z ? 4u : 0u);
}

X3DPointF XVolumeLevelScalingHelper::GetScalingOfLevel(SInt32 inLevel) const {
  X3DPoint a = GetAnisotropyOfLevel(inLevel);
  return X3DPointF(std::ldexp(itsScale.x, -a.x), std::ldexp(itsScale.y, -a.y), std::ldexp(itsScale.z, -a.z));
}

X3DRect XVolumeLevelScalingHelper::GetBoundsOfLevel(SInt32 inLevel) const {
  X3DPoint axis = GetAxisLevelsOfLevel(inLevel);
  const SInt32 sx = -axis.x, sy = -axis.y, sz = -axis.z;
  XAssert(sx >= 0 && sy >= 0 && sz >= 0 && sx < 32 && sy < 32 && sz < 32);
  X3DRect bounds;
  bounds.left = ShiftDown(itsBounds.left, sx);
  bounds.right = ShiftDownRoundingUp(itsBounds.right, sx);
  bounds.top = ShiftDown(itsBounds.top, sy);
  bounds.bottom = ShiftDownRoundingUp(itsBounds.bottom, sy);
  bounds.front = ShiftDown(itsBounds.front, sz);
  bounds.back = ShiftDownRoundingUp(itsBounds.back, sz);
  return bounds;
}

}  // namespace mirelan
