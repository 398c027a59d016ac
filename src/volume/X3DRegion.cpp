#include "volume/X3DRegion.h"

#include <cmath>
#include <limits>
#include <utility>

#include "core/XException.h"
#include "core/XStream.h"
#include "tools/XBooleanVolumeTool.h"
#include "tools/internal/XCropHelper.h"
#include "tools/XInvertVolumeTool.h"
#include "tools/XPaintVolumeTool.h"
#include "tools/internal/XPixelCountHelper.h"
#include "tools/internal/XScanLoop.h"
#include "volume/XMaskVolume.h"
#include "tools/XScanHelperBase.h"
#include "tools/XVolumeResampleTool.h"

namespace mirelan {

namespace {

const XARGB32Colour kAllOnes(255, 255, 255, 255);
const XARGB32Colour kOpaqueBlack(255, 0, 0, 0);

std::unique_ptr<XMaskVolume> NewClearedMask(const X3DRect& inBounds) {
  auto mask = std::make_unique<XMaskVolume>(inBounds);
  mask->Clear();
  return mask;
}

std::unique_ptr<XMaskVolume> NewFilledMask(const X3DRect& inBounds) {
  auto mask = std::make_unique<XMaskVolume>(inBounds);
  mask->Fill(255);
  return mask;
}

std::unique_ptr<XMaskVolume> CloneMask(const XMaskVolume& inMask, const X3DRect& inRect) {
  std::unique_ptr<XVolume> clone(inMask.Clone(inRect));
  auto* mask = dynamic_cast<XMaskVolume*>(clone.get());
  XAssert(mask != nullptr);
  clone.release();
  return std::unique_ptr<XMaskVolume>(mask);
}

// Xor of two sets given as masks: the first pass writes 255 where the first
// mask is set, the second flips where the second is set. Both take the
// region rule (above 127), so masks from outside with other bytes behave.
struct XSetWhereMaskHelper : public XScanHelperBase {
  template <class V>
  void ScanPixel(UInt8* outVoxel, const UInt8* inMask, V&, SInt32, SInt32, SInt32) {
    *outVoxel = *inMask > 127 ? 255 : 0;
  }
};

struct XFlipWhereMaskHelper : public XScanHelperBase {
  template <class V>
  void ScanPixel(UInt8* ioVoxel, const UInt8* inMask, V&, SInt32, SInt32, SInt32) {
    *ioVoxel = UInt8(*ioVoxel ^ (*inMask > 127 ? 255 : 0));
  }
};

// Projects the set voxels of a mask onto one plane of another mask: the
// coordinate along the projected axis is dropped (its stride is 0).
struct XProjectHelper : public XScanHelperBase {
  UInt8* itsBase;  // the plane mask's first byte
  SInt32 itsLeft, itsTop, itsFront;
  ptrdiff_t itsXStride, itsYStride, itsZStride;

  template <class V>
  void ScanPixel(const UInt8* inVoxel, V&, SInt32 inX, SInt32 inY, SInt32 inZ) {
    if (*inVoxel > 127)
      itsBase[(inX - itsLeft) * itsXStride + (inY - itsTop) * itsYStride + (inZ - itsFront) * itsZStride] = 255;
  }
};

// Sums of coordinates (and of their squares) of the set bytes, about a reference point.
struct XMomentHelper : public XScanHelperBase {
  Float64 itsOriginX = 0.0, itsOriginY = 0.0, itsOriginZ = 0.0;
  Float64 itsSumX = 0.0, itsSumY = 0.0, itsSumZ = 0.0;
  Float64 itsSumXX = 0.0, itsSumYY = 0.0, itsSumZZ = 0.0;
  UInt64 itsCount = 0;

  template <class V>
  void ScanPixel(const UInt8* inVoxel, V&, SInt32 inX, SInt32 inY, SInt32 inZ) {
    if (*inVoxel > 127) {
      const Float64 dx = inX - itsOriginX, dy = inY - itsOriginY, dz = inZ - itsOriginZ;
      itsSumX += dx;
      itsSumY += dy;
      itsSumZ += dz;
      itsSumXX += dx * dx;
      itsSumYY += dy * dy;
      itsSumZZ += dz * dz;
      ++itsCount;
    }
  }
};

// Mean and mean square of the integers inLow .. inHigh - 1 about inOrigin.
void AxisMoments(SInt32 inLow, SInt32 inHigh, Float64 inOrigin, Float64& outFirst, Float64& outSecond) {
  const Float64 n = Float64(inHigh) - Float64(inLow);
  const Float64 mean = (Float64(inLow) + Float64(inHigh) - 1.0) / 2.0 - inOrigin;
  outFirst = mean;
  outSecond = (n * n - 1.0) / 12.0 + mean * mean;
}

}  // namespace

// ------------------------------------------------------------------ construction

X3DRegion::X3DRegion() = default;

X3DRegion::X3DRegion(const X3DRect& inBounds) : itsBounds(inBounds) {}

X3DRegion& X3DRegion::operator=(const X3DRect& inBounds) {
  itsBounds = inBounds;
  ReplaceMask(nullptr);
  return *this;
}

X3DRegion::X3DRegion(const XMaskVolume& inMask) { SetMaskFromVolume(inMask, inMask.GetBounds()); }

X3DRegion::X3DRegion(const XMaskVolume& inMask, const X3DRect& inRect) { SetMaskFromVolume(inMask, inRect); }

X3DRegion& X3DRegion::operator=(const XMaskVolume& inMask) {
  SetMaskFromVolume(inMask, inMask.GetBounds());
  return *this;
}

X3DRegion::X3DRegion(XStream& inStream) { ReadStream2_X3DRegion(inStream, kReadAll); }

X3DRegion::X3DRegion(const X3DRegion& inOther)
    : XStorable(inOther),
      XLockable(inOther),
      itsBounds(inOther.itsBounds),
      itsMask(inOther.itsMask ? std::make_unique<XMaskVolume>(*inOther.itsMask) : nullptr) {}

X3DRegion& X3DRegion::operator=(const X3DRegion& inOther) {
  if (this == &inOther) return *this;
  itsBounds = inOther.itsBounds;
  ReplaceMask(inOther.itsMask ? std::make_unique<XMaskVolume>(*inOther.itsMask) : nullptr);
  return *this;
}

X3DRegion::~X3DRegion() = default;

void X3DRegion::ReplaceMask(std::unique_ptr<XMaskVolume> inMask) {
  // A locked region must not lose the block its cached pointer points into.
  XAssert(itsLockCount == 0);
  itsMask = std::move(inMask);
}

void X3DRegion::SetMaskFromVolume(const XMaskVolume& inMask, const X3DRect& inRect) {
  X3DRect box = inMask.GetBounds();
  if (inRect != box) box.Sect(inRect);
  itsBounds = box;
  if (box.IsEmptyOrInsideOut()) {
    itsBounds = X3DRect();  // an empty region is the empty box at the origin
    ReplaceMask(nullptr);
  }
  else if (box == inMask.GetBounds())
    ReplaceMask(std::make_unique<XMaskVolume>(inMask));
  else
    ReplaceMask(CloneMask(inMask, box));
  CropToFitVolume();
}

// ------------------------------------------------------------------ locking

bool X3DRegion::FetchData() {
  bool fetched = XLockable::FetchData();
  if (itsMask) fetched = itsMask->FetchData() || fetched;
  return fetched;
}

// Every lock is counted, a simple region's too, so that a region cannot
// change form (and lose or gain the block behind the cached pointer) while
// anyone holds it.
void X3DRegion::LockSelf(XLockMode inMode) {
  ++itsLockCount;
  if (!itsMask) return;
  XLockable::LockFor(*itsMask, inMode);
  itsMaskBase = itsMask->GetBasePtr();
  itsMaskRowBytes = itsMask->GetRowBytes();
  itsMaskPlaneBytes = itsMask->GetPlaneBytes();
}

void X3DRegion::UnlockSelf(XLockMode inMode) {
  XAssert(itsLockCount > 0);
  --itsLockCount;
  if (!itsMask) return;
  XLockable::UnlockFor(*itsMask, inMode);
  if (itsLockCount == 0) itsMaskBase = nullptr;
}

// ------------------------------------------------------------------ tests

bool X3DRegion::Contains(SInt32 inX, SInt32 inY, SInt32 inZ) const {
  if (!itsBounds.Contains(inX, inY, inZ)) return false;
  if (!itsMask) return true;
  XAssert(itsMaskBase != nullptr);
  return itsMaskBase[UInt64(inZ - itsBounds.front) * itsMaskPlaneBytes + UInt64(inY - itsBounds.top) * itsMaskRowBytes +
                     UInt64(inX - itsBounds.left)] > 127;
}

bool X3DRegion::Contains(const X3DRegion& inOther) const {
  if (inOther.IsEmpty()) return true;
  if (!itsMask && itsBounds.Contains(inOther.itsBounds)) return true;
  if (!inOther.itsMask && !itsBounds.Contains(inOther.itsBounds)) return false;
  // Every member of the other, voxel by voxel, must be a member here.
  XLock lock(*this, kLockRead);
  XLock otherLock(inOther, kLockRead);
  const X3DRect& b = inOther.itsBounds;
  for (SInt32 z = b.front; z < b.back; ++z)
    for (SInt32 y = b.top; y < b.bottom; ++y)
      for (SInt32 x = b.left; x < b.right; ++x)
        if (inOther.Contains(x, y, z) && !Contains(x, y, z)) return false;
  return true;
}

bool X3DRegion::DoesTouch(const X3DRegion& inOther) const {
  if (IsEmpty() || inOther.IsEmpty()) return false;
  X3DRect common = itsBounds;
  common.Sect(inOther.itsBounds);
  if (common.IsEmptyOrInsideOut()) return false;
  if (!itsMask && !inOther.itsMask) return true;
  XLock lock(*this, kLockRead);
  XLock otherLock(inOther, kLockRead);
  for (SInt32 z = common.front; z < common.back; ++z)
    for (SInt32 y = common.top; y < common.bottom; ++y)
      for (SInt32 x = common.left; x < common.right; ++x)
        if (Contains(x, y, z) && inOther.Contains(x, y, z)) return true;
  return false;
}

bool X3DRegion::IsEqual(const X3DRegion& inOther) const {
  if (!itsMask && !inOther.itsMask) return itsBounds == inOther.itsBounds;
  if (!itsMask || !inOther.itsMask) return false;
  return itsBounds == inOther.itsBounds && *itsMask == *inOther.itsMask;
}

bool X3DRegion::FastButInaccurateIsEqualTo(const X3DRegion& inOther) const {
  if (itsMask && inOther.itsMask) return false;
  return IsEqual(inOther);
}

UInt32 X3DRegion::GetVolume() const {
  if (!itsMask) return itsBounds.GetWidth() * itsBounds.GetHeight() * itsBounds.GetDepth();
  XPixelCountHelper helper;
  const XMaskVolume& mask = *itsMask;
  XScanVolume(mask, nullptr, helper);
  return UInt32(helper.GetCount());
}

bool X3DRegion::IsVolumeGreaterThanOrEqualTo(UInt32 inCount) const {
  // The simple branch tests strictly: a box of exactly inCount voxels gives false.
  if (!itsMask) return itsBounds.GetWidth() * itsBounds.GetHeight() * itsBounds.GetDepth() > inCount;
  if (itsBounds.GetVolume() < inCount) return false;
  XPixelCountHelper helper(inCount);
  const XMaskVolume& mask = *itsMask;
  XScanVolume(mask, nullptr, helper);
  return helper.GetCount() >= inCount;
}

// ------------------------------------------------------------------ cropping

void X3DRegion::CropToFitVolume() {
  if (!itsMask || itsCropLockCount != 0) return;
  XCropHelper helper;
  const XMaskVolume& mask = *itsMask;
  XScanVolume(mask, nullptr, helper);
  const X3DRect limit = helper.GetLimit();
  if (helper.IsRect()) {
    itsBounds = limit;
    ReplaceMask(nullptr);
  } else if (limit != itsBounds) {
    itsBounds = limit;
    ReplaceMask(CloneMask(*itsMask, limit));
  }
}

void X3DRegion::UnlockCrop() {
  XAssert(itsCropLockCount > 0);
  if (--itsCropLockCount == 0) CropToFitVolume();
}

template <class Work>
void X3DRegion::RunUnderCropLock(Work&& inWork) {
  LockCrop();
  try {
    inWork();
  } catch (...) {
    --itsCropLockCount;
    throw;
  }
  UnlockCrop();
}

// ------------------------------------------------------------------ set algebra

X3DRegion& X3DRegion::Sect(const X3DRegion& inOther) {
  // An enclosing box changes nothing.
  if (!inOther.itsMask && inOther.itsBounds.Contains(itsBounds)) {
    CropToFitVolume();
    return *this;
  }
  const X3DRect oldBounds = itsBounds;
  itsBounds.Sect(inOther.itsBounds);
  if (itsBounds.IsEmptyOrInsideOut()) {
    ReplaceMask(nullptr);
    return *this;
  }
  if (inOther.itsMask || itsBounds != oldBounds) {
    std::unique_ptr<XMaskVolume> mask = NewClearedMask(itsBounds);
    if (!itsMask)
      mask->Fill(255);
    else
      itsMask->CopyOut(*mask, itsBounds, itsBounds, nullptr);
    ReplaceMask(std::move(mask));
  }
  if (inOther.itsMask) XBooleanVolumeTool::AndVolumes(*itsMask, *inOther.itsMask, *itsMask);
  CropToFitVolume();
  return *this;
}

X3DRegion& X3DRegion::Union(const X3DRegion& inOther) {
  if (UnionIsUnchangedBox(inOther)) return *this;
  X3DRect box = itsBounds;
  box.Union(inOther.itsBounds);
  if (itsMask && box == itsBounds) {
    XPaintVolumeTool::FillRegion(*itsMask, inOther, kAllOnes);
  } else {
    std::unique_ptr<XMaskVolume> mask = NewClearedMask(box);
    XPaintVolumeTool::FillRegion(*mask, *this, kAllOnes);
    XPaintVolumeTool::FillRegion(*mask, inOther, kAllOnes);
    itsBounds = box;
    ReplaceMask(std::move(mask));
  }
  CropToFitVolume();
  return *this;
}

// Where painting both into a mask of the joint box and cropping it would
// end in a plain box, the box is known without the mask. Under a crop lock
// the painted mask would stay, so the full road is taken.
bool X3DRegion::UnionIsUnchangedBox(const X3DRegion& inOther) {
  if (itsCropLockCount != 0) return false;
  if (!itsMask && !IsEmpty() && (inOther.IsEmpty() || itsBounds.Contains(inOther.itsBounds))) return true;
  if (!inOther.itsMask && !inOther.IsEmpty() && inOther.itsBounds.Contains(itsBounds)) {
    itsBounds = inOther.itsBounds;
    ReplaceMask(nullptr);
    return true;
  }
  return false;
}

X3DRegion& X3DRegion::Xor(const X3DRegion& inOther) {
  if (inOther.IsEmpty()) return *this;
  if (IsEmpty()) return *this = inOther;
  if (!itsMask && !inOther.itsMask && IsEqual(inOther)) return *this = X3DRect();

  X3DRect box = itsBounds;
  box.Union(inOther.itsBounds);
  std::unique_ptr<XMaskVolume> mask = NewClearedMask(box);
  // A simple side lends a filled mask of its box for the walk.
  const XMaskVolume mine = GetMaskVolume();
  const XMaskVolume theirs = inOther.GetMaskVolume();
  XSetWhereMaskHelper set;
  XScanLoop<XSetWhereMaskHelper>::ScanPair(*mask, mine, nullptr, set);
  XFlipWhereMaskHelper flip;
  XScanLoop<XFlipWhereMaskHelper>::ScanPair(*mask, theirs, nullptr, flip);
  itsBounds = box;
  ReplaceMask(std::move(mask));
  CropToFitVolume();
  return *this;
}

X3DRegion& X3DRegion::Difference(const X3DRegion& inOther) {
  X3DRect common = itsBounds;
  common.Sect(inOther.itsBounds);
  if (common.IsEmptyOrInsideOut()) return *this;
  if (!itsMask) ReplaceMask(NewFilledMask(itsBounds));
  XPaintVolumeTool::FillRegion(*itsMask, inOther, kOpaqueBlack);
  CropToFitVolume();
  return *this;
}

void X3DRegion::Invert() {
  XMaskVolume mask = GetMaskVolume();
  XInvertVolumeTool invert;
  invert.ApplyToolInPlace(mask);
  *this = mask;
}

XMaskVolume X3DRegion::GetMaskVolume() const {
  if (itsMask) return *itsMask;
  XMaskVolume mask(itsBounds);
  mask.Fill(255);
  return mask;
}

// ------------------------------------------------------------------ placement

void X3DRegion::Offset(SInt32 inDX, SInt32 inDY, SInt32 inDZ) {
  itsBounds.Offset(inDX, inDY, inDZ);
  if (itsMask) itsMask->OffsetBounds(inDX, inDY, inDZ);
}

namespace {

// Moves a region to where inMove puts its box.
template <class Move>
void MoveBox(X3DRegion& ioRegion, Move inMove) {
  X3DRect moved = ioRegion.GetBounds();
  inMove(moved);
  const X3DRect& b = ioRegion.GetBounds();
  ioRegion.Offset(moved.left - b.left, moved.top - b.top, moved.front - b.front);
}

}  // namespace

void X3DRegion::CentreOn(const X3DRect& inRect) {
  MoveBox(*this, [&](X3DRect& r) { r.CentreOn(inRect); });
}
void X3DRegion::CentreH(const X3DRect& inRect) {
  MoveBox(*this, [&](X3DRect& r) { r.CentreH(inRect); });
}
void X3DRegion::CentreV(const X3DRect& inRect) {
  MoveBox(*this, [&](X3DRect& r) { r.CentreV(inRect); });
}
void X3DRegion::CentreZ(const X3DRect& inRect) {
  MoveBox(*this, [&](X3DRect& r) { r.CentreZ(inRect); });
}
void X3DRegion::ConstrainWithin(const X3DRect& inRect) {
  MoveBox(*this, [&](X3DRect& r) { r.ConstrainWithin(inRect); });
}

// ------------------------------------------------------------------ mapping

void X3DRegion::Map(const X3DRect& inFrom, const X3DRect& inTo, bool inScale) {
  MapCore(inFrom, inTo, inScale, itsBounds);
}

void X3DRegion::MapSubRect(const X3DRect& inFrom, const X3DRect& inTo, bool inScale) {
  X3DRect part = itsBounds;
  part.Sect(inFrom);
  MapCore(inFrom, inTo, inScale, part);
}

void X3DRegion::MapCore(const X3DRect& inFrom, const X3DRect& inTo, bool inScale, const X3DRect& inPart) {
  X3DRect mapped = inPart;
  mapped.Map(inFrom, inTo);
  if (mapped.IsEmptyOrInsideOut() || inPart.IsEmptyOrInsideOut()) {
    itsBounds = mapped;
    ReplaceMask(nullptr);
    return;
  }
  if (itsMask) {
    std::unique_ptr<XMaskVolume> mask = NewClearedMask(mapped);
    if (inScale && inFrom.GetVolume() > inTo.GetVolume()) {
      // Shrinking with inScale filters (the simple cubic), so that thin parts
      // are weighed rather than picked or missed. The filtered bytes are put
      // back to 0 and 255 by the region's own rule, above 127 is inside, so
      // that every reader of the mask agrees on it.
      XVolumeResampleTool(kFilterSimple).ApplyTool(*itsMask, *mask, inPart, mapped);
      mask->Threshold(127);
    } else {
      // Otherwise the nearest voxel, through the conversion copy's XVolumeScaler.
      itsMask->CopyOut(*mask, inPart, mapped, nullptr);
    }
    itsBounds = mapped;
    ReplaceMask(std::move(mask));
  } else {
    itsBounds = mapped;
  }
  CropToFitVolume();
}

// ------------------------------------------------------------------ morphology

void X3DRegion::Grow(SInt32 inDX, SInt32 inDY, SInt32 inDZ) {
  if (inDX >= 0 && inDY >= 0 && inDZ >= 0) {
    GrowSelf(inDX, inDY, inDZ);
  } else if (inDX <= 0 && inDY <= 0 && inDZ <= 0) {
    ShrinkSelf(-inDX, -inDY, -inDZ);
  } else {
    // Axis by axis: erosion along the negative ones, dilation along the positive ones.
    RunUnderCropLock([&] {
      const SInt32 d[3] = {inDX, inDY, inDZ};
      for (int axis = 0; axis < 3; ++axis) {
        SInt32 step[3] = {0, 0, 0};
        step[axis] = d[axis] < 0 ? -d[axis] : d[axis];
        if (d[axis] < 0)
          ShrinkSelf(step[0], step[1], step[2]);
        else if (d[axis] > 0)
          GrowSelf(step[0], step[1], step[2]);
      }
    });
  }
}

namespace {

// One pass of the cross: for each axis with steps left, the pass-start shape
// shifted by +1 and -1 along it is combined into the region.
template <class Combine>
void CrossPasses(X3DRegion& ioRegion, SInt32 inDX, SInt32 inDY, SInt32 inDZ, Combine inCombine) {
  SInt32 left[3] = {inDX, inDY, inDZ};
  while (left[0] != 0 || left[1] != 0 || left[2] != 0) {
    X3DRegion copy(ioRegion);
    for (int axis = 0; axis < 3; ++axis) {
      if (left[axis] == 0) continue;
      SInt32 unit[3] = {0, 0, 0};
      unit[axis] = 1;
      copy.Offset(unit[0], unit[1], unit[2]);
      inCombine(ioRegion, copy);
      copy.Offset(-2 * unit[0], -2 * unit[1], -2 * unit[2]);
      inCombine(ioRegion, copy);
      copy.Offset(unit[0], unit[1], unit[2]);
      --left[axis];
    }
  }
}

}  // namespace

void X3DRegion::GrowSelf(SInt32 inDX, SInt32 inDY, SInt32 inDZ) {
  XAssert(inDX >= 0 && inDY >= 0 && inDZ >= 0);
  RunUnderCropLock(
      [&] { CrossPasses(*this, inDX, inDY, inDZ, [](X3DRegion& r, const X3DRegion& c) { r.Union(c); }); });
}

void X3DRegion::ShrinkSelf(SInt32 inDX, SInt32 inDY, SInt32 inDZ) {
  XAssert(inDX >= 0 && inDY >= 0 && inDZ >= 0);
  RunUnderCropLock(
      [&] { CrossPasses(*this, inDX, inDY, inDZ, [](X3DRegion& r, const X3DRegion& c) { r.Sect(c); }); });
}

void X3DRegion::Outline(SInt32 inWidth) {
  RunUnderCropLock([&] {
    X3DRegion inner(*this);
    inner.Grow(-inWidth, -inWidth, 0);
    Difference(inner);
  });
}

// ------------------------------------------------------------------ planes

namespace {

enum XAxis { kAxisX = 0, kAxisY = 1, kAxisZ = 2 };

// The planes inFirst .. inLast - 1 across inAxis of a region, projected onto
// plane inAt of that axis.
X3DRegion ProjectRegion(const X3DRegion& inRegion, XAxis inAxis, SInt32 inFirst, SInt32 inLast, SInt32 inAt) {
  const X3DRect& b = inRegion.GetBounds();
  X3DRect planes = b;
  X3DRect target = b;
  SInt32* low[3] = {&planes.left, &planes.top, &planes.front};
  SInt32* high[3] = {&planes.right, &planes.bottom, &planes.back};
  SInt32 first = std::max(inFirst, *low[inAxis]);
  SInt32 last = std::min(inLast, *high[inAxis]);
  if (inRegion.IsEmpty() || first >= last) return X3DRegion();
  *low[inAxis] = first;
  *high[inAxis] = last;
  SInt32* targetLow[3] = {&target.left, &target.top, &target.front};
  SInt32* targetHigh[3] = {&target.right, &target.bottom, &target.back};
  *targetLow[inAxis] = inAt;
  *targetHigh[inAxis] = inAt + 1;
  if (inRegion.IsSimple()) return X3DRegion(target);

  XMaskVolume plane(target);
  plane.Clear();
  {
    XLock planeLock(plane, kLockReadWrite);
    ptrdiff_t stride[3] = {1, ptrdiff_t(plane.GetRowVoxels()), ptrdiff_t(plane.GetPlaneVoxels())};
    stride[inAxis] = 0;
    XProjectHelper helper{{}, plane.GetBaseVoxelPtr(), target.left, target.top, target.front,
                          stride[0], stride[1], stride[2]};
    const X3DRegion walk(planes);
    const XMaskVolume& mask = *inRegion.GetMask();
    XScanVolume(mask, &walk, helper);
  }
  return X3DRegion(plane);
}

}  // namespace

X3DRegion X3DRegion::RegionToXYCore(SInt32 inFirst, SInt32 inLast, SInt32 inAt) const {
  return ProjectRegion(*this, kAxisZ, inFirst, inLast, inAt);
}
X3DRegion X3DRegion::RegionToXZCore(SInt32 inFirst, SInt32 inLast, SInt32 inAt) const {
  return ProjectRegion(*this, kAxisY, inFirst, inLast, inAt);
}
X3DRegion X3DRegion::RegionToYZCore(SInt32 inFirst, SInt32 inLast, SInt32 inAt) const {
  return ProjectRegion(*this, kAxisX, inFirst, inLast, inAt);
}

X3DRegion X3DRegion::XYPlaneToRegion(SInt32 inZ) const { return RegionToXYCore(inZ, inZ + 1, inZ); }
X3DRegion X3DRegion::XZPlaneToRegion(SInt32 inY) const { return RegionToXZCore(inY, inY + 1, inY); }
X3DRegion X3DRegion::YZPlaneToRegion(SInt32 inX) const { return RegionToYZCore(inX, inX + 1, inX); }
X3DRegion X3DRegion::XYMergeToRegion() const {
  return RegionToXYCore(itsBounds.front, itsBounds.back, itsBounds.front);
}
X3DRegion X3DRegion::XZMergeToRegion() const { return RegionToXZCore(itsBounds.top, itsBounds.bottom, itsBounds.top); }
X3DRegion X3DRegion::YZMergeToRegion() const {
  return RegionToYZCore(itsBounds.left, itsBounds.right, itsBounds.left);
}

// ------------------------------------------------------------------ centroid

void X3DRegion::CalculateCentroid(X3DPointF& outCentroid) const {
  X3DPointF first, second;
  CalculateCentroid(X3DPointF(0.0f, 0.0f, 0.0f), first, second);
  outCentroid = first;
}

void X3DRegion::CalculateCentroid(const X3DPointF& inOrigin, X3DPointF& outFirst, X3DPointF& outSecond) const {
  constexpr Float32 kNaN = std::numeric_limits<Float32>::quiet_NaN();
  if (IsEmpty()) {
    outFirst = X3DPointF(kNaN, kNaN, kNaN);
    outSecond = outFirst;
    return;
  }
  if (!itsMask) {
    // A box has its moments in closed form.
    Float64 fx, fy, fz, sx, sy, sz;
    AxisMoments(itsBounds.left, itsBounds.right, inOrigin.x, fx, sx);
    AxisMoments(itsBounds.top, itsBounds.bottom, inOrigin.y, fy, sy);
    AxisMoments(itsBounds.front, itsBounds.back, inOrigin.z, fz, sz);
    outFirst = X3DPointF(Float32(fx), Float32(fy), Float32(fz));
    outSecond = X3DPointF(Float32(sx), Float32(sy), Float32(sz));
    return;
  }
  XMomentHelper helper;
  helper.itsOriginX = inOrigin.x;
  helper.itsOriginY = inOrigin.y;
  helper.itsOriginZ = inOrigin.z;
  const XMaskVolume& mask = *itsMask;
  XScanVolume(mask, nullptr, helper);
  if (helper.itsCount == 0) {
    outFirst = X3DPointF(kNaN, kNaN, kNaN);
    outSecond = outFirst;
    return;
  }
  const Float64 n = Float64(helper.itsCount);
  outFirst = X3DPointF(Float32(helper.itsSumX / n), Float32(helper.itsSumY / n), Float32(helper.itsSumZ / n));
  outSecond =
      X3DPointF(Float32(helper.itsSumXX / n), Float32(helper.itsSumYY / n), Float32(helper.itsSumZZ / n));
}

// ------------------------------------------------------------------ streams

UInt64 X3DRegion::GetStreamUsage() const {
  return itsBounds.GetStreamUsage() + (itsMask ? itsMask->GetStreamUsage() : 0);
}

void X3DRegion::WriteStream2(XStream& inStream, XOptions) const { WriteStreamSelf(inStream); }

void X3DRegion::WriteStreamSelf(XStream& inStream) const {
  inStream.WriteVersion(GetClassVersion());
  inStream.WriteObject(itsBounds, kReadAll);
  inStream.Write8(itsMask ? 1 : 0);
  if (itsMask) inStream.WriteObject(*itsMask, kReadAll);
}

void X3DRegion::ReadStream2(XStream& inStream, XOptions inOptions) { ReadStream2_X3DRegion(inStream, inOptions); }

void X3DRegion::ReadStream2_X3DRegion(XStream& inStream, XOptions inOptions) {
  const XVersion tag = ReadClassVersion(inStream);
  CheckClassVersion(tag, GetClassVersion());
  ReadStreamSelf(inStream, tag, inOptions);
}

namespace {

// Refuses an object of the wrong class before it is made, so that a crafted
// stream cannot nest regions inside regions until the stack runs out.
void ExpectObjectOf(XStream& inStream, const XVersion& inClass) {
  const UInt64 position = inStream.GetPosition();
  const XVersion next = inStream.ReadVersion();
  inStream.SeekTo(position);
  if (!next.IsNull() && !next.IsA(inClass)) throw XException(kErrWrongClass, "unexpected object in region");
}

}  // namespace

void X3DRegion::ReadStreamSelf(XStream& inStream, const XVersion& inTag, XOptions) {
  ExpectObjectOf(inStream, X3DRect::GetClassVersion());
  std::unique_ptr<X3DRect> box = inStream.ReadObjectAs<X3DRect>(kReadAll);
  if (!box) throw XException(kErrWrongClass, "region without a box");
  // No operation makes an inside-out region, and the set algebra would
  // stretch masks across the gap.
  if (box->left > box->right || box->top > box->bottom || box->front > box->back)
    throw XException(kErrBadStreamSize, "inside-out region box");
  std::unique_ptr<XMaskVolume> mask;
  if (inStream.Read8() != 0) {
    if (inTag.GetClassVersion() != 0) {
      ExpectObjectOf(inStream, XMaskVolume::GetClassVersion());
      mask = inStream.ReadObjectAs<XMaskVolume>(kReadAll);
    } else {
      // Version 0 stored the mask as an object of an older class: read
      // whatever volume the stream names and convert it to a mask of the box.
      ExpectObjectOf(inStream, XVolume::GetClassVersion());
      std::unique_ptr<XVolume> old = inStream.ReadObjectAs<XVolume>(kReadAll);
      if (!old) throw XException(kErrWrongClass, "complex region without a mask");
      // The box must not ask for more voxels than the stream carried.
      if (box->GetVolume() > old->GetBounds().GetVolume())
        throw XException(kErrBadStreamSize, "region box larger than its mask");
      mask = std::make_unique<XMaskVolume>(*box);
      mask->Clear();
      X3DRect overlap = old->GetBounds();
      overlap.Sect(*box);
      if (!overlap.IsEmptyOrInsideOut()) old->CopyOut(*mask, overlap, overlap, nullptr);
    }
    if (!mask) throw XException(kErrWrongClass, "complex region without a mask");
    // Everything that walks the mask relies on it covering the box exactly.
    if (mask->GetBounds() != *box) throw XException(kErrBadStreamSize, "region mask does not match its box");
  }
  if (box->IsEmpty()) {
    // An empty set has no place: it is read as the empty box at the origin,
    // so that a far-away empty box cannot stretch later unions.
    *box = X3DRect();
    mask.reset();
  }
  itsBounds = *box;
  ReplaceMask(std::move(mask));
}

}  // namespace mirelan
