#include "data/XROI.h"

#include <cstring>

#include "core/XHandleStream.h"
#include "core/XMemoryHandle.h"
#include "core/XStream.h"
#include "core/XZCompressor.h"
#include "data/XIrregularROI.h"
#include "data/internal/XObjectReading.h"
#include "data/internal/XPolygonFill.h"
#include "data/internal/XROIOutlines.h"
#include "data/internal/XSaturatingCoord.h"
#include "volume/XMaskVolume.h"

namespace mirelan {

namespace {

// A rectangle in a plane's own axes as a box one slab thick across the
// plane at [inLow, inHigh) on the third axis.
X3DRect PlaneBox(XPlaneMode inMode, const XRectF& inRect, SInt32 inLow, SInt32 inHigh) {
  const SInt32 l = XSaturatingCoord(inRect.left), t = XSaturatingCoord(inRect.top);
  const SInt32 r = XSaturatingCoord(inRect.right), b = XSaturatingCoord(inRect.bottom);
  switch (inMode) {
    case kXZPlane:
      return X3DRect(l, inLow, t, r, inHigh, b);
    case kYZPlane:
      return X3DRect(inLow, t, l, inHigh, b, r);
    default:
      return X3DRect(l, t, inLow, r, b, inHigh);
  }
}

// The extent of a box on the axis across a plane.
void AcrossPlane(XPlaneMode inMode, const X3DRect& inBox, SInt32& outLow, SInt32& outHigh) {
  outLow = inMode == kXZPlane ? inBox.top : inMode == kYZPlane ? inBox.left : inBox.front;
  outHigh = inMode == kXZPlane ? inBox.bottom : inMode == kYZPlane ? inBox.right : inBox.back;
}

// A region of a mask whose box is already the tight box of its set voxels
// and which it does not fill. Made under a crop lock and copied out (a copy
// does not take the lock), this skips the crop scan of a mask that may be
// hundreds of megabytes and would change nothing.
X3DRegion TightRegion(const XMaskVolume& inMask) {
  X3DRegion locked;
  locked.LockCrop();
  locked = inMask;
  return X3DRegion(locked);
}

bool SameFloats(const XRectF& inA, const XRectF& inB) {
  return inA.left == inB.left && inA.top == inB.top && inA.right == inB.right && inA.bottom == inB.bottom;
}

}  // namespace

XROI::XROI()
    : itsXYPathCache(MakeRefPtr<XROIPathCache>()),
      itsXZPathCache(MakeRefPtr<XROIPathCache>()),
      itsYZPathCache(MakeRefPtr<XROIPathCache>()),
      itsXYMergePathCache(MakeRefPtr<XROIPathCache>()) {}

XROI::XROI(const X3DRegion& inRegion) : XROI() { itsRegion = inRegion; }

XROI::~XROI() = default;

void XROI::InvalidatePathCache() {
  itsXYPathCache = MakeRefPtr<XROIPathCache>();
  itsXZPathCache = MakeRefPtr<XROIPathCache>();
  itsYZPathCache = MakeRefPtr<XROIPathCache>();
  itsXYMergePathCache = MakeRefPtr<XROIPathCache>();
}

XRefPtr<XROIPathCache>& XROI::GetPathCache(XPlaneMode inMode, bool inMerge) const {
  if (inMerge) return itsXYMergePathCache;
  return inMode == kXZPlane ? itsXZPathCache : inMode == kYZPlane ? itsYZPathCache : itsXYPathCache;
}

// ------------------------------------------------------------------ outlines

XROIPaths XROI::GetPlanePaths(XPlaneMode inMode, bool inMerge, SInt32 inPlane, const XRectF& inSourceRect,
                              const XRectF& inTargetRect, const XRectF& inClipRect) const {
  XRefPtr<XROIPathCache>& cache = GetPathCache(inMode, inMerge);
  if (cache->IsValidFor(inPlane, inSourceRect, inTargetRect, inClipRect)) return cache->GetPaths();

  X3DRegion slice = inMerge                ? itsRegion.XYMergeToRegion()
                    : inMode == kXZPlane   ? itsRegion.XZPlaneToRegion(inPlane)
                    : inMode == kYZPlane   ? itsRegion.YZPlaneToRegion(inPlane)
                                           : itsRegion.XYPlaneToRegion(inPlane);
  XROIPaths paths;
  // A source without extent maps nothing anywhere.
  const bool mappable = !inSourceRect.IsEmptyOrInsideOut() || SameFloats(inSourceRect, inTargetRect);
  if (!slice.IsEmpty() && mappable) {
    SInt32 low, high;
    AcrossPlane(inMode, slice.GetBounds(), low, high);
    if (!SameFloats(inSourceRect, inTargetRect))
      slice.Map(PlaneBox(inMode, inSourceRect, low, high), PlaneBox(inMode, inTargetRect, low, high), true);
    if (!inClipRect.IsEmpty()) {
      const X3DRegion clip(PlaneBox(inMode, inClipRect, low, high));
      paths = XROIOutlines::GetPlaneOutline(slice, inMode, &clip);
    } else {
      paths = XROIOutlines::GetPlaneOutline(slice, inMode, nullptr);
    }
  }
  if (cache->GetRefCount() > 1) cache = MakeRefPtr<XROIPathCache>();
  cache->Set(inPlane, inSourceRect, inTargetRect, inClipRect, paths);
  return paths;
}

XROIPaths XROI::GetXYPaths(SInt32 inPlane, const XRectF& inSourceRect, const XRectF& inTargetRect,
                           const XRectF& inClipRect) const {
  return GetPlanePaths(kXYPlane, false, inPlane, inSourceRect, inTargetRect, inClipRect);
}

XROIPaths XROI::GetXZPaths(SInt32 inPlane, const XRectF& inSourceRect, const XRectF& inTargetRect,
                           const XRectF& inClipRect) const {
  return GetPlanePaths(kXZPlane, false, inPlane, inSourceRect, inTargetRect, inClipRect);
}

XROIPaths XROI::GetYZPaths(SInt32 inPlane, const XRectF& inSourceRect, const XRectF& inTargetRect,
                           const XRectF& inClipRect) const {
  return GetPlanePaths(kYZPlane, false, inPlane, inSourceRect, inTargetRect, inClipRect);
}

XROIPaths XROI::GetXYMergePaths(const XRectF& inSourceRect, const XRectF& inTargetRect,
                                const XRectF& inClipRect) const {
  return GetPlanePaths(kXYPlane, true, 0, inSourceRect, inTargetRect, inClipRect);
}

// ------------------------------------------------------------------ slices

XROI* XROI::XYMergeToROICopy() const { return new XIrregularROI(itsRegion.XYMergeToRegion()); }

XROI* XROI::XYPlaneToROICopy(SInt32 inPlane) const {
  return new XIrregularROI(itsRegion.XYPlaneToRegion(inPlane));
}

XROI* XROI::XZPlaneToROICopy(SInt32 inPlane) const {
  return new XIrregularROI(itsRegion.XZPlaneToRegion(inPlane));
}

XROI* XROI::YZPlaneToROICopy(SInt32 inPlane) const {
  return new XIrregularROI(itsRegion.YZPlaneToRegion(inPlane));
}

// ------------------------------------------------------------------ regions from points

XRect XROI::GetBoundsOfPoints(const XVector<XPoint>& inPoints) {
  if (inPoints.empty()) return XRect::sEmptyRect;
  XRect bounds(inPoints.front().x, inPoints.front().y, inPoints.front().x, inPoints.front().y);
  for (const XPoint& p : inPoints) {
    bounds.left = std::min(bounds.left, p.x);
    bounds.top = std::min(bounds.top, p.y);
    bounds.right = std::max(bounds.right, p.x);
    bounds.bottom = std::max(bounds.bottom, p.y);
  }
  return bounds;
}

X3DRegion XROI::Create2DRegionFromPoints(const XVector<XPoint>& inPoints) {
  return Create2DRegionFromPoints(inPoints, GetBoundsOfPoints(inPoints));
}

namespace {

bool HasClearCorner(const XMaskVolume& inMask) {
  XLock lock(inMask, kLockRead);
  const X3DRect& b = inMask.GetBounds();
  for (SInt32 y : {b.top, b.bottom - 1})
    for (SInt32 x : {b.left, b.right - 1})
      if (inMask.GetVoxel(x, y, b.front) <= 127) return true;
  return false;
}

}  // namespace

X3DRegion XROI::Create2DRegionFromPoints(const XVector<XPoint>& inPoints, const XRect& inRect) {
  if (inPoints.empty()) return X3DRegion();
  if (inPoints.size() == 1) {
    const XPoint& p = inPoints.front();
    return X3DRegion(X3DRect(p.x, p.y, 0, XRectMath::Add(p.x, 1), XRectMath::Add(p.y, 1), 1));
  }
  // Nothing is drawn beyond the points' extremes, so the mask need not
  // reach past them: the crop of the region would cut that part anyway.
  XRect drawn = GetBoundsOfPoints(inPoints);
  drawn.right = XRectMath::Add(drawn.right, 1);
  drawn.bottom = XRectMath::Add(drawn.bottom, 1);
  const bool drawable = drawn.right > drawn.left && drawn.bottom > drawn.top;
  X3DRect box(inRect, 0, 1);
  if (drawable) box.Sect(X3DRect(drawn, 0, 1));
  if (box.IsEmpty()) return X3DRegion();
  XMaskVolume mask(box);
  XPolygonFill::FillPolygon(mask, inPoints);
  // Every point is drawn, so a polygon wholly inside inRect reaches all four
  // sides of the mask: then a clear corner is all it takes to know the
  // crop would change nothing.
  if (drawable && inRect.Contains(XRectBase(drawn)) && HasClearCorner(mask)) return TightRegion(mask);
  return X3DRegion(mask);
}

namespace {

// Copies a flat mask into every slab of a box along the plane mode's third axis.
void ExtrudeMask(const XMaskVolume& inFlat, XPlaneMode inMode, XMaskVolume& outMask) {
  XLock flatLock(inFlat, kLockRead);
  XLock lock(outMask, kLockWrite);
  const X3DRect& f = inFlat.GetBounds();
  const X3DRect& b = outMask.GetBounds();
  const UInt8* flat = inFlat.GetPlane(f.front);
  const UInt64 flatRow = inFlat.GetRowVoxels();
  const UInt32 width = b.GetWidth();
  for (SInt32 z = b.front; z < b.back; ++z) {
    for (SInt32 y = b.top; y < b.bottom; ++y) {
      UInt8* out = outMask.GetVoxelPtr(b.left, y, z);
      switch (inMode) {
        case kXYPlane:  // flat (x, y)
          std::memcpy(out, flat + UInt64(y - f.top) * flatRow, width);
          break;
        case kXZPlane:  // flat (x, z)
          std::memcpy(out, flat + UInt64(z - f.top) * flatRow, width);
          break;
        default:  // flat (z, y): one value along the whole row
          std::memset(out, flat[UInt64(y - f.top) * flatRow + UInt64(z - f.left)], width);
          break;
      }
    }
  }
}

}  // namespace

X3DRegion XROI::Create3DRegionFrom2DRegion(const X3DRegion& inRegion, XPlaneMode inPlaneMode,
                                           const X3DRect& inRect) {
  if (inPlaneMode != kXYPlane && inPlaneMode != kXZPlane && inPlaneMode != kYZPlane) return X3DRegion();
  if (inRegion.IsEmpty()) return X3DRegion();
  // Cropped first (a flat scan), so that the extrusion below is tight.
  const X3DRegion flat = inRegion.IsSimple() ? inRegion : X3DRegion(*inRegion.GetMask());
  if (flat.IsEmpty()) return X3DRegion();
  const X3DRect& f = flat.GetBounds();
  X3DRect box;
  switch (inPlaneMode) {
    case kXYPlane:
      box = X3DRect(f.left, f.top, inRect.front, f.right, f.bottom, inRect.back);
      break;
    case kXZPlane:
      box = X3DRect(f.left, inRect.top, f.top, f.right, inRect.bottom, f.bottom);
      break;
    default:
      box = X3DRect(inRect.left, f.top, f.left, inRect.right, f.bottom, f.right);
      break;
  }
  if (box.IsEmpty()) return X3DRegion();
  if (flat.IsSimple()) return X3DRegion(box);
  XMaskVolume mask(box);
  ExtrudeMask(*flat.GetMask(), inPlaneMode, mask);
  // The flat region is cropped and no box, so neither is its extrusion.
  return TightRegion(mask);
}

// ------------------------------------------------------------------ streams

void XROI::WriteStream2(XStream& inStream, XOptions) const { WriteStreamSelf(inStream); }

void XROI::WriteStreamSelf(XStream& inStream) const {
  inStream.WriteVersion(GetClassVersion());
  // The region travels as a zlib block: ROI-heavy documents stay small. Its
  // own stream takes the outer stream's byte order.
  XMemoryHandle raw;
  {
    XHandleStream regionStream(raw, inStream.GetByteOrder());
    regionStream.WriteObject(itsRegion, kReadAll);
    regionStream.Truncate();
  }
  const XMemoryHandle packed = XZCompressor(0, -1).CompressToMemory(raw);
  inStream.WriteObject(packed, kReadAll);
}

void XROI::ReadStream2(XStream& inStream, XOptions inOptions) { ReadStream2_XROI(inStream, inOptions); }

void XROI::ReadStream2_XROI(XStream& inStream, XOptions) { ReadStreamSelf(inStream); }

void XROI::ReadStreamSelf(XStream& inStream) {
  const XVersion tag = ReadCheckedClassVersion(inStream, GetClassVersion());
  std::unique_ptr<X3DRegion> region;
  if (tag.GetClassVersion() >= 1) {
    std::unique_ptr<XMemoryHandle> packed = XObjectReading::ReadRequired<XMemoryHandle>(
        inStream, XMemoryHandle::GetClassVersion(), "ROI without its region block");
    XMemoryHandle raw = XZDecompressor().DecompressFromMemory(*packed);
    XHandleStream regionStream(raw, inStream.GetByteOrder());
    region = XObjectReading::ReadRequired<X3DRegion>(regionStream, X3DRegion::GetClassVersion(),
                                                     "ROI block without a region");
  } else {
    // Version 0 kept the region in the stream as it is.
    region = XObjectReading::ReadRequired<X3DRegion>(inStream, X3DRegion::GetClassVersion(),
                                                     "ROI without a region");
  }
  itsRegion = *region;
  InvalidatePathCache();
}

}  // namespace mirelan
