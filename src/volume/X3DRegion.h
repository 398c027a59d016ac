// A set of voxels: a box (simple form), or a box with a byte mask of the
// box's extent (complex form), where a voxel is in the set when its mask
// byte is above 127. Tools use regions to say where they act.
//
// Operations that change the set end by cropping: the box shrinks to the
// tight box of the set voxels and the mask goes when the set fills its box.
// LockCrop suspends that for a series of operations.
#pragma once

#include <memory>

#include "core/XExport.h"
#include "core/XLockable.h"
#include "core/XStorable.h"
#include "geometry/X3DRect.h"
#include "geometry/XPoint.h"

namespace mirelan {

class XStream;
class XMaskVolume;

class MIRELAN_EXPORT X3DRegion : public XStorable, public XLockable {
 public:
  static constexpr UInt16 kClassID = 109;

  // The empty box at the origin.
  X3DRegion();
  // Simple regions.
  X3DRegion(const X3DRect& inBounds);  // NOLINT: a box is a region
  X3DRegion& operator=(const X3DRect& inBounds);
  // A copy of the mask, bounds from it, then cropped; the second form is cut to inRect first.
  explicit X3DRegion(const XMaskVolume& inMask);
  X3DRegion(const XMaskVolume& inMask, const X3DRect& inRect);
  X3DRegion& operator=(const XMaskVolume& inMask);
  explicit X3DRegion(XStream& inStream);
  X3DRegion(const X3DRegion& inOther);
  X3DRegion& operator=(const X3DRegion& inOther);
  ~X3DRegion() override;

  static XVersion GetClassVersion() { return XVersion(kClassID, 1); }
  static XVersion GetSuperClassVersion() { return XStorable::GetClassVersion(); }

  // XStorable
  XVersion GetVersion() const override { return GetClassVersion(); }
  X3DRegion* Clone() const override { return new X3DRegion(*this); }
  UInt64 GetStreamUsage() const override;
  void ReadStream2(XStream& inStream, XOptions inOptions = kReadAll) override;
  void WriteStream2(XStream& inStream, XOptions inOptions = kReadAll) const override;
  void ReadStream2_X3DRegion(XStream& inStream, XOptions inOptions = kReadAll);
  void ReadStreamSelf(XStream& inStream, const XVersion& inTag, XOptions inOptions);
  void WriteStreamSelf(XStream& inStream) const;

  // Both simple: equal boxes. One simple, one complex: false, whatever the
  // voxels. Both complex: equal boxes and equal masks.
  virtual bool IsEqual(const X3DRegion& inOther) const;

  // XLockable: a complex region's locks are its mask's, and while locked the
  // region caches the mask's base pointer and strides for Contains and the
  // scan loops. A simple region's locks touch no data. A locked region must
  // not be changed in form: that is a precondition failure.
  bool FetchData() override;
  void LockSelf(XLockMode inMode) override;
  void UnlockSelf(XLockMode inMode) override;

  bool IsSimple() const { return itsMask == nullptr; }
  bool IsComplex() const { return itsMask != nullptr; }
  // The box is empty on an axis; the mask is not looked at.
  bool IsEmpty() const { return itsBounds.IsEmpty(); }
  const X3DRect& GetBounds() const { return itsBounds; }
  // The mask, null for a simple region. Its bounds are the region's.
  const XMaskVolume* GetMask() const { return itsMask.get(); }

  // Valid while a complex region is locked: the mask byte of (x, y, z) is
  // GetMaskBasePtr()[(z - front) * plane bytes + (y - top) * row bytes + (x - left)].
  const UInt8* GetMaskBasePtr() const { return itsMaskBase; }
  UInt64 GetMaskRowBytes() const { return itsMaskRowBytes; }
  UInt64 GetMaskPlaneBytes() const { return itsMaskPlaneBytes; }

  // In the box, and for a complex region a mask byte above 127; a complex
  // region must be locked.
  bool Contains(SInt32 inX, SInt32 inY, SInt32 inZ) const;
  bool Contains(const X3DPoint& inPoint) const { return Contains(inPoint.x, inPoint.y, inPoint.z); }
  // Set inclusion: every voxel of inOther is in this region.
  bool Contains(const X3DRegion& inOther) const;
  // Set intersection: some voxel lies in both.
  bool DoesTouch(const X3DRegion& inOther) const;
  // Saves a byte compare where a false negative is harmless: false whenever
  // both are complex, otherwise IsEqual.
  bool FastButInaccurateIsEqualTo(const X3DRegion& inOther) const;
  bool operator<(const X3DRegion& inOther) const { return GetVolume() < inOther.GetVolume(); }

  // Count of member voxels, 32-bit as stored regions have always counted:
  // simple, the product of the sides (wrapping in 32 bits); complex, the mask
  // bytes above 127.
  UInt32 GetVolume() const;
  // Simple: the side product strictly above inCount (so a box of exactly
  // inCount voxels gives false). Complex: counts up to inCount and stops there.
  bool IsVolumeGreaterThanOrEqualTo(UInt32 inCount) const;

  X3DRegion& Sect(const X3DRegion& inOther);
  X3DRegion& Union(const X3DRegion& inOther);
  X3DRegion& Xor(const X3DRegion& inOther);
  X3DRegion& Difference(const X3DRegion& inOther);
  X3DRegion& operator&=(const X3DRegion& inOther) { return Sect(inOther); }
  X3DRegion& operator|=(const X3DRegion& inOther) { return Union(inOther); }
  X3DRegion& operator+=(const X3DRegion& inOther) { return Union(inOther); }
  X3DRegion& operator^=(const X3DRegion& inOther) { return Xor(inOther); }
  X3DRegion& operator-=(const X3DRegion& inOther) { return Difference(inOther); }

  // The complement within the box: a simple region becomes empty.
  void Invert();
  // A copy of the mask; for a simple region a new mask of the box, all 255.
  XMaskVolume GetMaskVolume() const;

  // Moves the box, and the mask with it.
  void Offset(SInt32 inDX, SInt32 inDY, SInt32 inDZ);
  // The box operations of X3DRect, the mask moving with the box.
  void CentreOn(const X3DRect& inRect);
  void CentreH(const X3DRect& inRect);
  void CentreV(const X3DRect& inRect);
  void CentreZ(const X3DRect& inRect);
  void ConstrainWithin(const X3DRect& inRect);
  void CentreOn(const X3DRegion& inRegion) { CentreOn(inRegion.GetBounds()); }
  void CentreH(const X3DRegion& inRegion) { CentreH(inRegion.GetBounds()); }
  void CentreV(const X3DRegion& inRegion) { CentreV(inRegion.GetBounds()); }
  void CentreZ(const X3DRegion& inRegion) { CentreZ(inRegion.GetBounds()); }
  void ConstrainWithin(const X3DRegion& inRegion) { ConstrainWithin(inRegion.GetBounds()); }

  // Carries the region from inFrom's frame into inTo's (X3DRect::Map on the
  // box, the mask resampled by nearest choice). MapSubRect maps the part of
  // the region inside inFrom.
  void Map(const X3DRect& inFrom, const X3DRect& inTo, bool inScale);
  void MapSubRect(const X3DRect& inFrom, const X3DRect& inTo, bool inScale);

  // Dilation (positive) or erosion (negative) by a cross per step along each
  // axis: n steps give a diamond, not a box. Mixed signs go axis by axis.
  void Grow(SInt32 inDX, SInt32 inDY, SInt32 inDZ);
  void Shrink(SInt32 inDX, SInt32 inDY, SInt32 inDZ) { Grow(-inDX, -inDY, -inDZ); }
  // The rim of the given width within each XY plane.
  void Outline(SInt32 inWidth);

  // One plane of the region, at its place: depth 1 at z (height 1 at y,
  // width 1 at x). A plane outside the box gives the empty region.
  X3DRegion XYPlaneToRegion(SInt32 inZ) const;
  X3DRegion XZPlaneToRegion(SInt32 inY) const;
  X3DRegion YZPlaneToRegion(SInt32 inX) const;
  // Projections along one axis onto the box's first plane on that axis
  // (front, top, left): a voxel is set when any voxel of its line is.
  X3DRegion XYMergeToRegion() const;
  X3DRegion XZMergeToRegion() const;
  X3DRegion YZMergeToRegion() const;

  // Polygon outlines of one plane (GetOutlineForXYPlane, GetOutlineForXZPlane,
  // GetOutlineForYZPlane) belong to the region outline tracer in
  // src/measurement and are declared here when it lands.

  // The mean position of the member voxels; NaN in each component for an
  // empty region.
  void CalculateCentroid(X3DPointF& outCentroid) const;
  // Moments about a reference point: outFirst is the mean of (p - inOrigin)
  // and outSecond the mean of (p - inOrigin)^2, per axis. The centroid is
  // inOrigin + outFirst and the variance along an axis outSecond - outFirst^2.
  // NaN components for an empty region.
  void CalculateCentroid(const X3DPointF& inOrigin, X3DPointF& outFirst, X3DPointF& outSecond) const;

  // Crop suspension: cropping waits while the count is above 0, and the last
  // UnlockCrop crops.
  void LockCrop() { ++itsCropLockCount; }
  void UnlockCrop();
  UInt32 GetCropLockCount() const { return itsCropLockCount; }

 protected:
  // Shrinks the box to the set voxels and drops a mask that the set fills;
  // does nothing for a simple region or under a crop lock.
  bool UnionIsUnchangedBox(const X3DRegion& inOther);
  void CropToFitVolume();
  void GrowSelf(SInt32 inDX, SInt32 inDY, SInt32 inDZ);
  void ShrinkSelf(SInt32 inDX, SInt32 inDY, SInt32 inDZ);
  // The planes inFirst .. inLast - 1 on one axis projected onto plane inAt of that axis.
  X3DRegion RegionToXYCore(SInt32 inFirst, SInt32 inLast, SInt32 inAt) const;
  X3DRegion RegionToXZCore(SInt32 inFirst, SInt32 inLast, SInt32 inAt) const;
  X3DRegion RegionToYZCore(SInt32 inFirst, SInt32 inLast, SInt32 inAt) const;

 private:
  void ReplaceMask(std::unique_ptr<XMaskVolume> inMask);
  // Runs inWork under a crop lock and crops at the end; on an exception the
  // lock is given back without cropping.
  template <class Work>
  void RunUnderCropLock(Work&& inWork);
  void SetMaskFromVolume(const XMaskVolume& inMask, const X3DRect& inRect);
  void MapCore(const X3DRect& inFrom, const X3DRect& inTo, bool inScale, const X3DRect& inPart);

  X3DRect itsBounds;
  std::unique_ptr<XMaskVolume> itsMask;
  const UInt8* itsMaskBase = nullptr;
  UInt64 itsMaskRowBytes = 0;
  UInt64 itsMaskPlaneBytes = 0;
  UInt32 itsCropLockCount = 0;
  UInt32 itsLockCount = 0;  // locks held; the cached pointer is valid while above 0
};

}  // namespace mirelan
