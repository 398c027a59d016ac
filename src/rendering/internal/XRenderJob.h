// One render call of a renderer class: the source volume under a read lock
// seen as a layout, the target layout, the two rectangles and the region.
// The class picks a shader; Run walks the same-size path (row by row through
// XCopyWithShading) or the scaling path (nearest source pixel through an
// XVolumeScaler, only inside the region's runs).
#pragma once

#include <type_traits>

#include "core/XException.h"
#include "core/XLockable.h"
#include "geometry/X3DRect.h"
#include "rendering/XHyperLayout.h"
#include "rendering/XPixelShaders.h"
#include "volume/XPackedVolume.h"
#include "volume/XVolumeScaler.h"
#include "volume/internal/XRegionRuns.h"

namespace mirelan {

class X3DRegion;

template <class T>
class XRenderJob {
 public:
  using Layout = XHyperLayout<3, const T>;

  XRenderJob(const XPackedVolume<T>& inSource, const XHyperLayout<3, UInt32>& inTarget, const X3DRect& inSourceRect,
             const X3DRect& inTargetRect, const X3DRegion* inRegion)
      : itsLock(inSource, kLockRead),
        itsSource(inSource.GetBaseVoxelPtr(), XToHyperRect(inSource.GetBounds()),
                  {1, ptrdiff_t(inSource.GetRowVoxels()), ptrdiff_t(inSource.GetLayerSize())}),
        itsTarget(inTarget),
        itsSourceRect(inSourceRect),
        itsTargetRect(inTargetRect),
        itsRegion(inRegion),
        itsSameSize(!inRegion && inSourceRect.IsSameSizeAs(inTargetRect)) {}

  // Same extents and no region: no scaling table, rows copied through a shader.
  bool IsSameSize() const { return itsSameSize; }

  template <class Shader>
  void Run(const Shader& inShader) const {
    // Nothing to read from, or nowhere to write: the target keeps what it had.
    if (itsSourceRect.IsEmpty() || itsTargetRect.IsEmpty()) return;
    if (itsSameSize)
      RunSameSize(inShader);
    else
      RunScaling(inShader);
  }

 private:
  template <class Shader>
  void RunSameSize(const Shader& inShader) const {
    XHyperRect<3> part = XToHyperRect(itsTargetRect);
    part.Sect(itsTarget.GetBounds());
    if (part.IsEmpty()) return;
    XHyperRect<3> sourcePart = part;
    sourcePart.Offset({itsSourceRect.left - itsTargetRect.left, itsSourceRect.top - itsTargetRect.top,
                       itsSourceRect.front - itsTargetRect.front});
    const Layout source = itsSource.Slice(sourcePart);
    if (source.IsEmpty()) return;
    XCopyWithShading(source, itsTarget.Slice(part), inShader);
  }

  template <class Shader>
  void RunScaling(const Shader& inShader) const {
    X3DRect box = XToX3DRect(itsTarget.GetBounds());
    box.Sect(itsTargetRect);
    XRegionRuns runs(itsRegion, box);
    if (runs.IsEmpty()) return;
    const X3DRect& b = runs.GetBox();
    const auto& steps = itsSource.GetSteps();
    const XVolumeScaler scaler(itsSourceRect, itsTargetRect, 1, UInt64(steps[1]), UInt64(steps[2]));
    const UInt64* xTable = scaler.GetXTable();
    const bool rowsAsTheyAre = scaler.IsXIdentity() && itsTarget.GetSteps()[0] == 1;
    const T* sourceOrigin = itsSource.GetPtr({itsSourceRect.left, itsSourceRect.top, itsSourceRect.front});
    const ptrdiff_t xStep = itsTarget.GetSteps()[0];
    const SInt32 targetLeft = itsTarget.GetBounds().GetOrigin()[0];
    for (SInt32 z = b.front; z < b.back; ++z) {
      const T* sourcePlane = sourceOrigin + scaler.GetSrcZ(UInt32(z - itsTargetRect.front));
      for (SInt32 y = b.top; y < b.bottom; ++y) {
        const T* sourceRow = sourcePlane + scaler.GetSrcY(UInt32(y - itsTargetRect.top));
        // The word of target x is targetRow[(x - targetLeft) * xStep].
        UInt32* targetRow = itsTarget.GetPtr({targetLeft, y, z});
        runs.ForEachRun(y, z, [&](SInt32 inBegin, SInt32 inEnd) {
          if (rowsAsTheyAre) {
            XShadeRow(inShader, sourceRow + (inBegin - itsTargetRect.left), targetRow + (inBegin - targetLeft),
                      UInt32(inEnd - inBegin));
            return;
          }
          for (SInt32 x = inBegin; x < inEnd; ++x)
            inShader.Shade(sourceRow[xTable[x - itsTargetRect.left]], targetRow[(x - targetLeft) * xStep]);
        });
      }
    }
  }

  XLock itsLock;
  Layout itsSource;
  XHyperLayout<3, UInt32> itsTarget;
  X3DRect itsSourceRect;
  X3DRect itsTargetRect;
  const X3DRegion* itsRegion;
  bool itsSameSize;
};

// Calls inFn with the format as a compile-time constant; any other value
// fails the precondition.
template <class Fn>
void XWithPixelFormat(XPixelFormat inFormat, Fn&& inFn) {
  switch (inFormat) {
    case kPixelFormatARGB:
      inFn(std::integral_constant<XPixelFormat, kPixelFormatARGB>());
      break;
    case kPixelFormatBGRA:
      inFn(std::integral_constant<XPixelFormat, kPixelFormatBGRA>());
      break;
    default:
      XAssert(false);
  }
}

}  // namespace mirelan
