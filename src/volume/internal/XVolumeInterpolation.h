// Trilinear sampling of a packed volume, shared by the scalar and colour forms
// of GetInterpolatedVoxel.
#pragma once

#include <cmath>

#include "volume/XPackedVolume.h"

namespace mirelan {

// Voxel centres sit at integer coordinates. For (x, y, z) the eight voxels
// around it are visited with their weights; a neighbour beyond the bounds is
// taken from the edge. inVisit(voxel, weight) accumulates. The caller holds a lock.
template <class T, class Visit>
void XVisitTrilinear(const XPackedVolume<T>& inVolume, Float32 inX, Float32 inY, Float32 inZ, Visit&& inVisit) {
  const X3DRect& b = inVolume.GetBounds();
  if (b.IsEmptyOrInsideOut()) return;
  struct Axis {
    SInt32 itsLow, itsHigh;
    Float32 itsFraction;
  };
  auto axis = [](Float32 inCoordinate, SInt32 inFirst, SInt32 inEnd) {
    Float32 whole = std::floor(inCoordinate);
    Float32 fraction = inCoordinate - whole;
    if (!(fraction >= 0.0f && fraction < 1.0f)) fraction = 0.0f;  // NaN and infinities
    SInt64 low = XTruncateTo<SInt64>(whole);
    auto clamp = [&](SInt64 v) { return SInt32(v < inFirst ? inFirst : (v >= inEnd ? inEnd - 1 : v)); };
    return Axis{clamp(low), clamp(low + 1), fraction};
  };
  const Axis ax = axis(inX, b.left, b.right);
  const Axis ay = axis(inY, b.top, b.bottom);
  const Axis az = axis(inZ, b.front, b.back);
  for (int k = 0; k < 2; ++k) {
    const SInt32 z = k ? az.itsHigh : az.itsLow;
    const Float32 wz = k ? az.itsFraction : 1.0f - az.itsFraction;
    for (int j = 0; j < 2; ++j) {
      const SInt32 y = j ? ay.itsHigh : ay.itsLow;
      const Float32 wy = j ? ay.itsFraction : 1.0f - ay.itsFraction;
      inVisit(inVolume.GetVoxel(ax.itsLow, y, z), wz * wy * (1.0f - ax.itsFraction));
      inVisit(inVolume.GetVoxel(ax.itsHigh, y, z), wz * wy * ax.itsFraction);
    }
  }
}

}  // namespace mirelan
