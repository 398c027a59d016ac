#include "data/XROICollection.h"

#include <limits>

#include "core/XStream.h"
#include "data/XCuboidROI.h"
#include "data/XIrregularROI.h"
#include "tools/XPaintVolumeTool.h"
#include "volume/XMaskVolume.h"

namespace mirelan {

namespace {

// A ROI for a region: a cuboid for a plain box, else an irregular ROI.
XROI* NewROIFor(const X3DRegion& inRegion) {
  if (inRegion.IsSimple()) return new XCuboidROI(inRegion.GetBounds());
  return new XIrregularROI(inRegion);
}

bool IsEmptyEntry(const XROI* inROI) { return !inROI || inROI->GetRegion().IsEmpty(); }

}  // namespace

XROICollection::XROICollection(const XROICollection& inOther) : XStorable(inOther) { AddROIs(inOther); }

XROICollection& XROICollection::operator=(const XROICollection& inOther) {
  if (this == &inOther) return *this;
  // Cloned aside first, so that a failure leaves this collection as it was.
  XROICollection copy(inOther);
  itsROIs.swap(copy.itsROIs);
  return *this;
}

XROICollection::XROICollection(const X3DRegion& inRegion) { SetFromRegion(inRegion); }

XROICollection::XROICollection(const XVector<X3DRegion>& inRegions) {
  itsROIs.reserve(inRegions.size());
  for (const X3DRegion& region : inRegions) AttachROI(NewROIFor(region));
}

size_t XROICollection::CheckedSize() const {
  XAssert(itsROIs.size() <= std::numeric_limits<UInt32>::max());
  return itsROIs.size();
}

// ------------------------------------------------------------------ editing

void XROICollection::AddROI(const XROI& inROI) { itsROIs.push_back(inROI.Clone()); }

void XROICollection::AddROIs(const XROICollection& inOther) {
  itsROIs.reserve(itsROIs.size() + inOther.itsROIs.size());
  for (const XROI* roi : inOther.itsROIs) itsROIs.push_back(roi ? roi->Clone() : nullptr);
}

void XROICollection::AttachROI(XROI* inROI) {
  XAssert(inROI);
  itsROIs.push_back(inROI);
}

void XROICollection::AttachROIs(XPtrVector<XROI>& ioROIs) {
  itsROIs.reserve(itsROIs.size() + ioROIs.size());
  for (XROI* roi : ioROIs.ReleaseAll()) AttachROI(roi);
}

void XROICollection::DeleteROI(UInt32 inIndex) {
  XAssert(inIndex < itsROIs.size());
  itsROIs.erase(size_t(inIndex));
}

void XROICollection::DeleteAllROIs() { itsROIs.clear(); }

XSet<UInt32> XROICollection::DeleteEmptyROIsAndReSynchSelection(const XSet<UInt32>& inSelection) {
  const size_t count = CheckedSize();
  // The new index of each old one, or -1 for a ROI that goes.
  XVector<SInt64> renumbered(count, -1);
  XPtrVector<XROI> kept;
  kept.reserve(count);
  XVector<XROI*> all = itsROIs.ReleaseAll();
  for (size_t i = 0; i < count; ++i) {
    if (IsEmptyEntry(all[i])) {
      delete all[i];
      continue;
    }
    renumbered[i] = SInt64(kept.size());
    kept.push_back(all[i]);
  }
  itsROIs.swap(kept);
  XSet<UInt32> selection;
  for (UInt32 index : inSelection)
    if (index < count && renumbered[index] >= 0) selection.insert(UInt32(renumbered[index]));
  return selection;
}

void XROICollection::SetFromRegion(const X3DRegion& inRegion) {
  DeleteAllROIs();
  if (inRegion.IsEmpty()) return;
  AttachROI(NewROIFor(inRegion));
}

void XROICollection::ClipToBounds(const X3DRect& inRect) {
  for (XROI* roi : itsROIs)
    if (roi) roi->ClipToBounds(inRect);
}

void XROICollection::Map(const X3DRect& inFromRect, const X3DRect& inToRect) {
  for (XROI* roi : itsROIs)
    if (roi) roi->Map(inFromRect, inToRect);
}

// ------------------------------------------------------------------ queries

UInt32 XROICollection::GetROICount() const { return UInt32(CheckedSize()); }

const XROI& XROICollection::GetROI(UInt32 inIndex) const {
  XAssert(inIndex < itsROIs.size());
  XAssert(itsROIs[inIndex]);
  return *itsROIs[inIndex];
}

XROI& XROICollection::GetROI(UInt32 inIndex) {
  XAssert(inIndex < itsROIs.size());
  XAssert(itsROIs[inIndex]);
  return *itsROIs[inIndex];
}

XVector<X3DRegion> XROICollection::GetROIRegions() const {
  XVector<X3DRegion> regions;
  regions.reserve(CheckedSize());
  for (const XROI* roi : itsROIs) regions.push_back(roi ? roi->GetRegion() : X3DRegion());
  return regions;
}

X3DRegion XROICollection::GetCombinedRegion() const {
  if (CheckedSize() == 1) return itsROIs[0] ? itsROIs[0]->GetRegion() : X3DRegion();
  // Painted into one mask of the union box: many unions one by one would
  // make a new mask each time the box grows.
  X3DRect box;
  bool any = false;
  for (const XROI* roi : itsROIs) {
    if (IsEmptyEntry(roi)) continue;
    if (any)
      box.Union(roi->GetRegion().GetBounds());
    else
      box = roi->GetRegion().GetBounds();
    any = true;
  }
  if (!any) return X3DRegion();
  XMaskVolume mask(box);
  mask.Clear();
  for (const XROI* roi : itsROIs)
    if (!IsEmptyEntry(roi)) XPaintVolumeTool::FillRegion(mask, roi->GetRegion(), XARGB32Colour(255, 255, 255, 255));
  return X3DRegion(mask);
}

bool XROICollection::IsSimple() const {
  const size_t count = CheckedSize();
  if (count == 0) return true;
  return count == 1 && itsROIs[0] && itsROIs[0]->IsSimple();
}

bool XROICollection::Has3DROIs() const {
  for (const XROI* roi : itsROIs)
    if (roi && roi->GetBounds().GetDepth() > 1) return true;
  return false;
}

bool XROICollection::AreAllEmpty() const {
  for (const XROI* roi : itsROIs)
    if (!IsEmptyEntry(roi)) return false;
  return true;
}

namespace {

template <class Equal>
bool SameRegions(const XPtrVector<XROI>& inA, const XPtrVector<XROI>& inB, Equal inEqual) {
  if (inA.size() != inB.size()) return false;
  for (size_t i = 0; i < inA.size(); ++i) {
    const XROI* a = inA[i];
    const XROI* b = inB[i];
    if (!a || !b) {
      if (a != b) return false;
      continue;
    }
    if (!inEqual(a->GetRegion(), b->GetRegion())) return false;
  }
  return true;
}

}  // namespace

bool XROICollection::IsEqualTo(const XROICollection& inOther) const {
  CheckedSize();
  return SameRegions(itsROIs, inOther.itsROIs,
                     [](const X3DRegion& a, const X3DRegion& b) { return a.IsEqual(b); });
}

bool XROICollection::FastButInaccurateIsEqualTo(const XROICollection& inOther) const {
  CheckedSize();
  return SameRegions(itsROIs, inOther.itsROIs,
                     [](const X3DRegion& a, const X3DRegion& b) { return a.FastButInaccurateIsEqualTo(b); });
}

XVector<UInt32> XROICollection::GetROIsContaining(const X3DPoint& inPoint) const {
  XVector<UInt32> hits;
  const size_t count = CheckedSize();
  for (size_t i = 0; i < count; ++i) {
    const XROI* roi = itsROIs[i];
    if (!roi) continue;
    const X3DRegion& region = roi->GetRegion();
    // The box decides for most ROIs; only a complex region's mask is looked at, under a lock.
    if (!region.GetBounds().Contains(inPoint)) continue;
    if (region.IsComplex()) {
      XLock lock(region, kLockRead);
      if (!region.Contains(inPoint)) continue;
    }
    hits.push_back(UInt32(i));
  }
  return hits;
}

// ------------------------------------------------------------------ streams

UInt64 XROICollection::GetStreamUsage() const {
  UInt64 bytes = 8;
  for (const XROI* roi : itsROIs) bytes += 4 + (roi ? roi->GetStreamUsage() : 0);
  return bytes;
}

void XROICollection::WriteStream2(XStream& inStream, XOptions inOptions) const {
  WriteStreamSelf(inStream, inOptions);
}

void XROICollection::WriteStreamSelf(XStream& inStream, XOptions inOptions) const {
  inStream.WriteVersion(GetClassVersion());
  inStream.Write32(UInt32(CheckedSize()));
  // A null entry, which only a stream can have put here, goes back as one.
  for (const XROI* roi : itsROIs) inStream.WriteObject(roi, inOptions);
}

void XROICollection::ReadStream2(XStream& inStream, XOptions inOptions) {
  ReadStream2_XROICollection(inStream, inOptions);
}

void XROICollection::ReadStream2_XROICollection(XStream& inStream, XOptions inOptions) {
  ReadStreamSelf(inStream, inOptions);
}

void XROICollection::ReadStreamSelf(XStream& inStream, XOptions inOptions) {
  ReadCheckedClassVersion(inStream, GetClassVersion());
  const UInt32 count = inStream.Read32();
  // Each entry takes at least its object word.
  inStream.CheckReadable(UInt64(count) * 4);
  XPtrVector<XROI> rois;
  rois.reserve(count);
  for (UInt32 i = 0; i < count; ++i) {
    // The class is checked before the object is made (see ReadRequired).
    const UInt64 position = inStream.GetPosition();
    const XVersion next = inStream.ReadVersion();
    inStream.SeekTo(position);
    if (!next.IsNull() && !next.IsA(XROI::GetClassVersion()))
      throw XException(kErrWrongClass, "collection entry is no ROI");
    rois.push_back(inStream.ReadObjectAs<XROI>(inOptions));
  }
  itsROIs.swap(rois);
}

}  // namespace mirelan
