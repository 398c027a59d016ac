// The ROIs of an image, in order; indices run from 0. The collection owns
// its ROIs.
#pragma once

#include "core/XContainers.h"
#include "core/XExport.h"
#include "core/XStorable.h"
#include "data/XROI.h"

namespace mirelan {

class MIRELAN_EXPORT XROICollection : public XStorable {
 public:
  static constexpr UInt16 kClassID = 127;

  XROICollection() = default;
  // Clones of the other's ROIs.
  XROICollection(const XROICollection& inOther);
  XROICollection& operator=(const XROICollection& inOther);
  // SetFromRegion: no ROI for an empty region, else one.
  explicit XROICollection(const X3DRegion& inRegion);
  // One ROI for each region: a cuboid for a plain box, else an irregular ROI.
  explicit XROICollection(const XVector<X3DRegion>& inRegions);
  ~XROICollection() override = default;

  static XVersion GetClassVersion() { return XVersion(kClassID, 0); }
  static XVersion GetSuperClassVersion() { return XStorable::GetClassVersion(); }

  XVersion GetVersion() const override { return GetClassVersion(); }
  XROICollection* Clone() const override { return new XROICollection(*this); }
  UInt64 GetStreamUsage() const override;
  void ReadStream2(XStream& inStream, XOptions inOptions = kReadAll) override;
  void WriteStream2(XStream& inStream, XOptions inOptions = kReadAll) const override;
  void ReadStream2_XROICollection(XStream& inStream, XOptions inOptions = kReadAll);
  void ReadStreamSelf(XStream& inStream, XOptions inOptions);
  void WriteStreamSelf(XStream& inStream, XOptions inOptions) const;

  // Appends a clone.
  void AddROI(const XROI& inROI);
  // Appends clones of all of the other's ROIs.
  void AddROIs(const XROICollection& inOther);
  // Appends the object itself, which the collection now owns.
  void AttachROI(XROI* inROI);
  // Attaches each entry; the vector is left empty.
  void AttachROIs(XPtrVector<XROI>& ioROIs);
  // Deletes the ROI and closes the gap.
  void DeleteROI(UInt32 inIndex);
  void DeleteAllROIs();
  // Removes the ROIs with empty regions. Returns the selected indices that
  // remain, renumbered to the new places; selected ROIs that went, and
  // indices beyond the old count, are dropped.
  XSet<UInt32> DeleteEmptyROIsAndReSynchSelection(const XSet<UInt32>& inSelection);

  UInt32 GetROICount() const;
  const XROI& GetROI(UInt32 inIndex) const;
  XROI& GetROI(UInt32 inIndex);
  XVector<X3DRegion> GetROIRegions() const;
  // The union of all regions; with one ROI a plain copy of its region.
  X3DRegion GetCombinedRegion() const;
  // Replaces the ROIs with one for the region: none if it is empty, a
  // cuboid for a plain box, else an irregular ROI.
  void SetFromRegion(const X3DRegion& inRegion);
  void ClipToBounds(const X3DRect& inRect);
  void Map(const X3DRect& inFromRect, const X3DRect& inToRect);

  // Empty, or one ROI which is simple.
  bool IsSimple() const;
  // Some ROI's bounds are deeper than one plane.
  bool Has3DROIs() const;
  bool AreAllEmpty() const;
  // Equal counts and, in order, equal regions (X3DRegion::IsEqual).
  bool IsEqualTo(const XROICollection& inOther) const;
  // The same by X3DRegion::FastButInaccurateIsEqualTo.
  bool FastButInaccurateIsEqualTo(const XROICollection& inOther) const;

  // The indices of the ROIs whose regions hold the voxel, in order.
  XVector<UInt32> GetROIsContaining(const X3DPoint& inPoint) const;

 private:
  // Asserts that the count fits the 32 bits of indices and streams.
  size_t CheckedSize() const;

  // Entries are never null except where a stream held a null object; such
  // entries count as empty ROIs and are written back as null objects.
  XPtrVector<XROI> itsROIs;
};

}  // namespace mirelan
