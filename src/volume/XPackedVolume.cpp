#include "volume/XPackedVolume.h"

#include <algorithm>
#include <cstring>

#include "core/XStream.h"
#include "volume/XColourVolumes.h"
#include "volume/XFPVolume.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey32Volume.h"
#include "volume/internal/XLossyVolumeCodec.h"
#include "volume/XMaskVolume.h"
#include "volume/internal/XRegionRuns.h"
#include "volume/internal/XVolumeConversion.h"

namespace mirelan {

namespace {

constexpr UInt16 kMemoryHandleClassID = 33;
// A coded image cannot describe more voxels than this per byte of its code
// (a generous bound: even a flat image costs some bits per 8 x 8 block).
constexpr UInt64 kMaxLossyVoxelsPerByte = 4096;
constexpr UInt64 kLossyVoxelAllowance = UInt64(1) << 20;
// A blank legacy image carries no bytes to check its size against; images of
// that form were single planes, and none was larger than this.
constexpr UInt64 kMaxBlankImageBytes = UInt64(64) << 20;

UInt64 CheckedProduct(UInt64 a, UInt64 b) {
  UInt64 product = 0;
  if (__builtin_mul_overflow(a, b, &product)) throw XException(kErrBadStreamSize, "volume size beyond 64 bits");
  return product;
}

}  // namespace

// ================================================================ XBasePackedVolume

XBasePackedVolume::XBasePackedVolume(UInt32 inWidth, UInt32 inHeight, UInt32 inDepth)
    : XVolume(inWidth, inHeight, inDepth) {}

XBasePackedVolume::XBasePackedVolume(const X3DRect& inBounds) : XVolume(inBounds) {}

XBasePackedVolume::XBasePackedVolume(const XBasePackedVolume& inOther)
    : XVolume(inOther), itsStorage(inOther.itsStorage) {}

XBasePackedVolume::XBasePackedVolume(XStream& inStream) : XVolume(inStream) {
  if (GetStreamForm(inStream) == kLayeredForm) CheckClassVersion(ReadClassVersion(inStream), GetClassVersion());
}

void XBasePackedVolume::ReadStream2(XStream& inStream, XOptions inOptions) {
  ReadStream2_XBasePackedVolume(inStream, inOptions);
}

void XBasePackedVolume::ReadStream2_XBasePackedVolume(XStream& inStream, XOptions inOptions) {
  ReadStream2_XVolume(inStream, inOptions);
  // The layer is a tag only.
  if (GetStreamForm(inStream) == kLayeredForm) CheckClassVersion(ReadClassVersion(inStream), GetClassVersion());
}

void XBasePackedVolume::WriteStream2(XStream& inStream, XOptions inOptions) const {
  XVolume::WriteStream2(inStream, inOptions);
  WriteStreamSelf(inStream);
}

void XBasePackedVolume::WriteStreamSelf(XStream& inStream) const { inStream.WriteVersion(GetClassVersion()); }

void XBasePackedVolume::Clear() { itsStorage.Clear(0); }

void XBasePackedVolume::AccumulateCRC(XVolumeCRC& ioCRC) const {
  XLock lock(*this, kLockRead);
  ioCRC.process_bytes(GetBasePtr(), GetVolumeSize());
}

bool XBasePackedVolume::FetchData() {
  bool own = XLockable::FetchData();
  bool storage = itsStorage.FetchData();
  return own || storage;
}

void XBasePackedVolume::LockSelf(XLockMode inMode) {
  // A fetcher of the volume itself (a lazily read coded image) brings the
  // voxels on the first lock; one of the block is asked by the block.
  if (GetDataFetcher() && !itsStorage.IsDataPresent()) XLockable::FetchData();
  XLockable::LockFor(itsStorage, inMode);
}

void XBasePackedVolume::UnlockSelf(XLockMode inMode) { XLockable::UnlockFor(itsStorage, inMode); }

void XBasePackedVolume::SetStorage(const XMemoryHandle& inHandle) {
  XAssert(inHandle.GetDataSize() >= GetVolumeBytes());
  itsStorage = inHandle;
}

// ================================================================ XPackedVolume<T>

template <class T>
XPackedVolume<T>::XPackedVolume(UInt32 inWidth, UInt32 inHeight, UInt32 inDepth)
    : XBasePackedVolume(inWidth, inHeight, inDepth) {
  Allocate();
}

template <class T>
XPackedVolume<T>::XPackedVolume(const X3DRect& inBounds) : XBasePackedVolume(inBounds) {
  Allocate();
}

template <class T>
XPackedVolume<T>::XPackedVolume(const XPackedVolume& inOther)
    : XBasePackedVolume(inOther), itsRowVoxels(inOther.itsRowVoxels), itsEmptyVoxel(inOther.itsEmptyVoxel) {}

template <class T>
XPackedVolume<T>::XPackedVolume(XStream& inStream) : XBasePackedVolume(inStream) {
  ReadPackedLayer(inStream, kReadAll);
}

template <class T>
void XPackedVolume<T>::Allocate() {
  itsRowVoxels = GetWidth();
  UInt64 bytes = 0;
  if (__builtin_mul_overflow(UInt64(itsRowVoxels) * GetHeight(), UInt64(GetDepth()) * sizeof(T), &bytes) ||
      bytes > ~UInt64(0) - kSpareBytes)
    throw XException(kErrOutOfMemory, "volume too large to address");
  itsStorage.Resize(bytes + kSpareBytes);
  // The voxels are left as they are; the spare tail is zeroed so that a
  // stored block never carries stale memory.
  XLock lock(itsStorage, kLockReadWrite);
  std::memset(itsStorage.GetData() + bytes, 0, kSpareBytes);
}

// ---------------------------------------------------------------- streams

template <class T>
void XPackedVolume<T>::ReadStream2(XStream& inStream, XOptions inOptions) {
  ReadStream2_XPackedVolume(inStream, inOptions);
}

template <class T>
void XPackedVolume<T>::ReadStream2_XPackedVolume(XStream& inStream, XOptions inOptions) {
  ReadStream2_XBasePackedVolume(inStream, inOptions);
  ReadPackedLayer(inStream, inOptions);
}

template <class T>
void XPackedVolume<T>::ReadPackedLayer(XStream& inStream, XOptions inOptions) {
  switch (GetStreamForm(inStream)) {
    case kLegacyImageForm:
      ReadPackedImageStream(inStream, inOptions);
      break;
    case kLossyForm:
    case kLegacyLossyForm:
      break;  // the concrete class reads the coded image
    case kLayeredForm: {
      XVersion tag = ReadClassVersion(inStream);
      CheckClassVersion(tag, GetClassVersion());
      ReadStreamSelf(inStream, tag, inOptions);
      break;
    }
  }
}

template <class T>
void XPackedVolume<T>::ReadStorageObject(XStream& inStream, XOptions inOptions, UInt64 inMinBytes) {
  // Look at the handle's header before anything is allocated for it.
  UInt64 position = inStream.GetPosition();
  XVersion word = inStream.ReadVersion();
  if (word.IsNull() || !word.IsA(XVersion(kMemoryHandleClassID, 0)))
    throw XException(kErrWrongClass, "volume data is not a memory block");
  UInt64 size = 0, offset = 0;
  XCompressionType compression = kNotCompressed;
  XMemoryHandle::GetHandleInfoFromStream(inStream, size, compression, offset, true);
  if (size < inMinBytes) throw XException(kErrBadStreamSize, "memory block smaller than the volume");
  inStream.SeekTo(position);
  std::unique_ptr<XMemoryHandle> handle = inStream.ReadObjectAs<XMemoryHandle>(inOptions);
  if (!handle) throw XException(kErrWrongClass, "volume data is not a memory block");
  itsStorage = *handle;
  // Voxels stay in the stream's byte order until first touched.
  if (Traits::kSwapMode != kNoByteSwap && !inStream.IsPlatformByteOrder())
    itsStorage.SetSwapOnLock(Traits::kSwapMode);
}

template <class T>
void XPackedVolume<T>::ReadStreamSelf(XStream& inStream, const XVersion& inTag, XOptions inOptions) {
  UInt32 rowVoxels = inStream.Read32();
  UInt32 format = kDataInStream;
  if (inTag.GetClassVersion() != 0) format = inStream.Read32();
  if (rowVoxels < GetWidth()) throw XException(kErrBadStreamSize, "rows shorter than the width");
  UInt64 volumeBytes = CheckedProduct(CheckedProduct(UInt64(rowVoxels) * GetHeight(), GetDepth()), sizeof(T));
  if (volumeBytes > ~UInt64(0) - kSpareBytes) throw XException(kErrBadStreamSize, "volume size beyond 64 bits");
  itsRowVoxels = rowVoxels;
  if (format != kDataInStream) {
    // The voxels live elsewhere, for a data fetcher to bring; until one does,
    // a lock fails instead of handing out a block that is too small.
    itsStorage.SetDataAbsent(volumeBytes + kSpareBytes);
    return;
  }
  ReadStorageObject(inStream, inOptions, volumeBytes);
}

template <class T>
void XPackedVolume<T>::ReadPackedImageStream(XStream& inStream, XOptions inOptions) {
  itsRowVoxels = GetWidth();
  UInt8 flag = inStream.Read8();
  if (!flag) {
    // No block on the stream: the image is blank.
    if (GetVolumeBytes() > kMaxBlankImageBytes) throw XException(kErrBadStreamSize, "blank legacy image too large");
    Allocate();
    Clear();
    return;
  }
  ReadStorageObject(inStream, inOptions, GetVolumeBytes());
  if constexpr (std::is_same_v<T, UInt8>) {
    if (inStream.GetLastClassCreated().IsA(XMaskVolume::GetClassVersion()) && inOptions != kReadHeaderOnly)
      itsStorage = XMaskVolume::ReadMaskImageStream(itsStorage, GetWidth(), GetHeight());
  }
}

template <class T>
void XPackedVolume<T>::WriteStream2(XStream& inStream, XOptions inOptions) const {
  XBasePackedVolume::WriteStream2(inStream, inOptions);
  WriteStreamSelf(inStream);
}

template <class T>
void XPackedVolume<T>::WriteStreamSelf(XStream& inStream) const {
  inStream.WriteVersion(GetClassVersion());
  inStream.Write32(itsRowVoxels);
  inStream.Write32(kDataInStream);
  if (Traits::kSwapMode != kNoByteSwap && !inStream.IsPlatformByteOrder()) {
    // The stream holds voxels in its own order: swap into a copy. The whole
    // block is swapped, spare tail too, as the reader swaps it whole.
    XLock lock(*this, kLockRead);
    XMemoryHandle swapped(itsStorage.GetDataSize());
    {
      XLock swappedLock(swapped, kLockWrite);
      SwapBufferBytes(swapped.GetData(), GetBasePtr(), itsStorage.GetDataSize(), Traits::kSwapMode);
    }
    inStream.WriteObject(swapped, kReadAll);
  } else {
    inStream.WriteObject(itsStorage, kReadAll);
  }
}

template <class T>
void XPackedVolume<T>::ReadLossyBody(XStream& inStream, bool inDecode) {
  UInt32 width = inStream.Read32();
  UInt32 height = inStream.Read32();
  UInt32 depth = inStream.Read32();
  SInt32 left = static_cast<SInt32>(inStream.Read32());
  SInt32 top = static_cast<SInt32>(inStream.Read32());
  SInt32 front = static_cast<SInt32>(inStream.Read32());
  Float64 x = inStream.ReadFloat64S();
  Float64 y = inStream.ReadFloat64S();
  Float64 z = inStream.ReadFloat64S();
  UInt32 rowVoxels = inStream.Read32();
  CheckStreamBounds(width, height, depth);
  X3DRect bounds(width, height, depth);
  bounds.SetPosition(left, top, front);
  SetBounds(bounds);
  SetXCalibration(x);
  SetYCalibration(y);
  SetZCalibration(z);
  if (bounds.IsEmpty()) {
    // Nothing coded follows; the row length of the stream has no voxels
    // behind it, so the volume takes the plain empty shape.
    Allocate();
    return;
  }
  itsRowVoxels = rowVoxels;
  UInt32 length = inStream.Read32();
  UInt64 position = inStream.GetPosition();
  inStream.CheckReadable(length);
  if (bounds.GetVolume() > UInt64(length) * kMaxLossyVoxelsPerByte + kLossyVoxelAllowance)
    throw XException(kErrBadStreamSize, "coded image too short for the volume");
  Allocate();
  if (inDecode) XDecodeLossyVolume(inStream, *this);
  inStream.SeekTo(position + length);
}

template <class T>
void XPackedVolume<T>::ReadLegacyLossyImage(XStream& inStream, bool inHeaderOnly) {
  itsRowVoxels = GetWidth();
  if (GetBounds().IsEmpty()) {
    Allocate();
    return;
  }
  // Versions from 2 give the coded image's length; older ones do not, and
  // their image is always decoded, since only decoding finds its end.
  const bool hasLength = inStream.GetLastClassCreated().GetClassVersion() >= 2;
  UInt64 length = hasLength ? inStream.Read32() : inStream.GetRemaining();
  UInt64 position = inStream.GetPosition();
  inStream.CheckReadable(length);
  if (GetBounds().GetVolume() > length * kMaxLossyVoxelsPerByte + kLossyVoxelAllowance)
    throw XException(kErrBadStreamSize, "coded image too short for the volume");
  Allocate();
  if (!hasLength || !inHeaderOnly) XDecodeLossyVolume(inStream, *this);
  if (hasLength) inStream.SeekTo(position + length);
}

template <class T>
void XPackedVolume<T>::WriteLossyForm(XStream& inStream, UInt16 inClassID, SInt32 inQuality) const {
  inStream.WriteVersion(XVersion(inClassID, GetVersion().GetClassVersion()));
  XLock lock(*this, kLockRead);
  inStream.Write32(GetWidth());
  inStream.Write32(GetHeight());
  inStream.Write32(GetDepth());
  inStream.Write32(static_cast<UInt32>(GetBounds().left));
  inStream.Write32(static_cast<UInt32>(GetBounds().top));
  inStream.Write32(static_cast<UInt32>(GetBounds().front));
  inStream.WriteFloat64S(GetXCalibration());
  inStream.WriteFloat64S(GetYCalibration());
  inStream.WriteFloat64S(GetZCalibration());
  inStream.Write32(itsRowVoxels);
  if (GetBounds().IsEmpty()) return;
  UInt64 position = inStream.GetPosition();
  inStream.Write32(0xDEADBEEF);
  XEncodeLossyVolume(inStream, *this, inQuality);
  UInt64 end = inStream.GetPosition();
  inStream.SeekTo(position);
  inStream.Write32(static_cast<UInt32>(end - position - 4));
  inStream.SeekTo(end);
}

// ---------------------------------------------------------------- voxels

template <class T>
void XPackedVolume<T>::GetDisplayRange(Float64& outLow, Float64& outHigh) const {
  if (const XImageRenderer* renderer = GetPlaneRendererPtr()) {
    XGetPlaneRendererRange(*renderer, outLow, outHigh);
  } else {
    outLow = Traits::kDefaultLow;
    outHigh = Traits::kDefaultHigh;
  }
}

template <class T>
SInt32 XPackedVolume<T>::GetBrightestZPoint(SInt32 inX, SInt32 inY) const {
  const X3DRect& b = GetBounds();
  if (b.front >= b.back) return b.front;
  XAssert(b.Contains(inX, inY, b.front));
  XLock lock(*this, kLockRead);
  const T* voxel = GetVoxelPtr(inX, inY, b.front);
  const ptrdiff_t step = static_cast<ptrdiff_t>(GetLayerSize());
  SInt32 brightest = b.front;
  T maximum = Traits::Zero();
  for (SInt32 z = b.front; z < b.back; ++z, voxel += step) {
    if (maximum < *voxel) {
      maximum = *voxel;
      brightest = z;
    }
  }
  return brightest;
}

template <class T>
void XPackedVolume<T>::Fill(const T& inValue, const X3DRegion* inRegion, const T* inOutside) {
  XLock lock(*this, kLockReadWrite);
  if (!inRegion) {
    std::fill_n(GetBaseVoxelPtr(), GetVolumeVoxels(), inValue);
    return;
  }
  const X3DRect& b = GetBounds();
  XRegionRuns runs(inRegion, b);
  const X3DRect& box = runs.GetBox();
  for (SInt32 z = b.front; z < b.back; ++z) {
    for (SInt32 y = b.top; y < b.bottom; ++y) {
      T* row = GetVoxelPtr(0, y, z);
      if (inOutside) std::fill(row + b.left, row + b.right, *inOutside);
      if (runs.IsEmpty() || z < box.front || z >= box.back || y < box.top || y >= box.bottom) continue;
      runs.ForEachRun(y, z, [&](SInt32 inBegin, SInt32 inEnd) { std::fill(row + inBegin, row + inEnd, inValue); });
    }
  }
}

template <class T>
void XPackedVolume<T>::ColourKeyFill(const T& inFill, const T& inKey, const X3DRegion* inRegion,
                                     const T* inOutside) {
  XLock lock(*this, kLockReadWrite);
  if (!inRegion) {
    T* voxel = GetBaseVoxelPtr();
    const UInt64 count = GetVolumeVoxels();
    if (inOutside) {
      const T outside = *inOutside;
      for (UInt64 i = 0; i < count; ++i) voxel[i] = voxel[i] == inKey ? inFill : outside;
    } else {
      for (UInt64 i = 0; i < count; ++i)
        if (voxel[i] == inKey) voxel[i] = inFill;
    }
    return;
  }
  const X3DRect& b = GetBounds();
  XRegionRuns runs(inRegion, b);
  const X3DRect& box = runs.GetBox();
  for (SInt32 z = b.front; z < b.back; ++z) {
    for (SInt32 y = b.top; y < b.bottom; ++y) {
      T* row = GetVoxelPtr(0, y, z);
      bool rowInBox = !runs.IsEmpty() && z >= box.front && z < box.back && y >= box.top && y < box.bottom;
      if (!inOutside) {
        if (!rowInBox) continue;
        runs.ForEachRun(y, z, [&](SInt32 inBegin, SInt32 inEnd) {
          for (SInt32 x = inBegin; x < inEnd; ++x)
            if (row[x] == inKey) row[x] = inFill;
        });
        continue;
      }
      // Every voxel of the row gets a value: inside and keyed takes the fill.
      const T outside = *inOutside;
      SInt32 x = b.left;
      auto fillOutside = [&](SInt32 inEnd) {
        for (; x < inEnd; ++x) row[x] = outside;
      };
      if (rowInBox) {
        runs.ForEachRun(y, z, [&](SInt32 inBegin, SInt32 inEnd) {
          fillOutside(inBegin);
          for (; x < inEnd; ++x) row[x] = row[x] == inKey ? inFill : outside;
        });
      }
      fillOutside(b.right);
    }
  }
}

// ---------------------------------------------------------------- planes

template <class T>
XPackedVolume<T>* XPackedVolume<T>::NewPlaneVolume(const X3DRect& inBox) const {
  XVolume* plane = CloneWithoutCopy(inBox);
  auto* typed = dynamic_cast<XPackedVolume<T>*>(plane);
  if (!typed) delete plane;
  XAssert(typed);
  return typed;
}

template <class T>
XVolume* XPackedVolume<T>::FinishPlane(std::unique_ptr<XPackedVolume> inPlain, bool inApplyAspect, Float64 inXCal,
                                       Float64 inYCal, Float64 inZCal, Float64 inWidthScale,
                                       Float64 inHeightScale) const {
  if (!inApplyAspect) {
    inPlain->SetXCalibration(inXCal);
    inPlain->SetYCalibration(inYCal);
    inPlain->SetZCalibration(inZCal);
  } else if (inWidthScale != 1.0 || inHeightScale != 1.0) {
    return ScaleForAspect(inPlain.release(), inWidthScale, inHeightScale);
  }
  return inPlain.release();
}

template <class T>
XVolume* XPackedVolume<T>::XYPlaneToVolume(SInt32 inPlane, bool inApplyAspect) const {
  XAssert(inPlane < SInt32(GetDepth()));
  XAssert(inPlane >= 0);
  if (GetDepth() == 1 && !inApplyAspect) return Clone();
  const X3DRect& b = GetBounds();
  const SInt32 z = b.front + inPlane;
  XLock lock(*this, kLockRead);
  std::unique_ptr<XPackedVolume> plain(NewPlaneVolume(X3DRect(b.left, b.top, z, b.right, b.bottom, z + 1)));
  {
    XLock planeLock(*plain, kLockWrite);
    for (SInt32 y = b.top; y < b.bottom; ++y)
      std::memcpy(plain->GetVoxelPtr(b.left, y, z), GetVoxelPtr(b.left, y, z), GetWidth() * sizeof(T));
  }
  return FinishPlane(std::move(plain), inApplyAspect, GetXCalibration(), GetYCalibration(), GetZCalibration(),
                     GetXScale(kXYPlane), GetYScale(kXYPlane));
}

template <class T>
XVolume* XPackedVolume<T>::XZPlaneToVolume(SInt32 inPlane, bool inApplyAspect) const {
  XAssert(inPlane < SInt32(GetHeight()));
  XAssert(inPlane >= 0);
  const X3DRect& b = GetBounds();
  const SInt32 y = b.top + inPlane;
  XLock lock(*this, kLockRead);
  // x stays x, z becomes y.
  std::unique_ptr<XPackedVolume> plain(NewPlaneVolume(X3DRect(b.left, b.front, y, b.right, b.back, y + 1)));
  {
    XLock planeLock(*plain, kLockWrite);
    for (SInt32 z = b.front; z < b.back; ++z)
      std::memcpy(plain->GetVoxelPtr(b.left, z, y), GetVoxelPtr(b.left, y, z), GetWidth() * sizeof(T));
  }
  return FinishPlane(std::move(plain), inApplyAspect, GetXCalibration(), GetZCalibration(), GetYCalibration(),
                     GetXScale(kXYPlane), GetZScale(kXYPlane));
}

template <class T>
XVolume* XPackedVolume<T>::YZPlaneToVolume(SInt32 inPlane, bool inApplyAspect) const {
  XAssert(inPlane < SInt32(GetWidth()));
  XAssert(inPlane >= 0);
  const X3DRect& b = GetBounds();
  const SInt32 x = b.left + inPlane;
  XLock lock(*this, kLockRead);
  // z becomes x, y stays y.
  std::unique_ptr<XPackedVolume> plain(NewPlaneVolume(X3DRect(b.front, b.top, x, b.back, b.bottom, x + 1)));
  {
    XLock planeLock(*plain, kLockWrite);
    const ptrdiff_t step = static_cast<ptrdiff_t>(GetLayerSize());
    for (SInt32 y = b.top; y < b.bottom; ++y) {
      const T* from = GetVoxelPtr(x, y, b.front);
      T* to = plain->GetVoxelPtr(b.front, y, x);
      for (SInt32 k = 0; k < SInt32(GetDepth()); ++k, from += step) to[k] = *from;
    }
  }
  return FinishPlane(std::move(plain), inApplyAspect, GetZCalibration(), GetYCalibration(), GetXCalibration(),
                     GetZScale(kXYPlane), GetYScale(kXYPlane));
}

template <class T>
void XPackedVolume<T>::VolumeToXYPlane(const XVolume& inSource, SInt32 inSourcePlane, SInt32 inDestPlane) {
  XAssert(inDestPlane < SInt32(GetDepth()));
  XAssert(inSource.GetWidth() == GetWidth());
  XAssert(inSource.GetHeight() == GetHeight());
  XAssert(inDestPlane >= 0);
  XLock lock(*this, kLockReadWrite);
  const X3DRect& s = inSource.GetBounds();
  std::unique_ptr<XPackedVolume> plane(NewPlaneVolume(X3DRect(s.GetXYBounds(), 0, 1)));
  inSource.CopyOut(*plane, X3DRect(s.left, s.top, s.front + inSourcePlane, s.right, s.bottom,
                                   s.front + inSourcePlane + 1),
                   plane->GetBounds(), nullptr);
  XLock planeLock(*plane, kLockRead);
  const X3DRect& b = GetBounds();
  const SInt32 z = b.front + inDestPlane;
  for (SInt32 j = 0; j < SInt32(GetHeight()); ++j)
    std::memcpy(GetVoxelPtr(b.left, b.top + j, z), plane->GetVoxelPtr(s.left, s.top + j, 0), GetWidth() * sizeof(T));
}

template <class T>
void XPackedVolume<T>::VolumeToXZPlane(const XVolume& inSource, SInt32 inSourcePlane, SInt32 inDestPlane) {
  XAssert(inDestPlane < SInt32(GetHeight()));
  XAssert(inSource.GetWidth() == GetWidth());
  XAssert(inSource.GetHeight() == GetDepth());
  XAssert(inDestPlane >= 0);
  XLock lock(*this, kLockReadWrite);
  const X3DRect& s = inSource.GetBounds();
  std::unique_ptr<XPackedVolume> plane(NewPlaneVolume(X3DRect(GetBounds().GetXZBounds(), 0, 1)));
  inSource.CopyOut(*plane, X3DRect(s.left, s.top, s.front + inSourcePlane, s.right, s.bottom,
                                   s.front + inSourcePlane + 1),
                   plane->GetBounds(), nullptr);
  XLock planeLock(*plane, kLockRead);
  const X3DRect& b = GetBounds();
  const SInt32 y = b.top + inDestPlane;
  for (SInt32 k = 0; k < SInt32(GetDepth()); ++k)
    std::memcpy(GetVoxelPtr(b.left, y, b.front + k), plane->GetVoxelPtr(b.left, b.front + k, 0),
                GetWidth() * sizeof(T));
}

template <class T>
void XPackedVolume<T>::VolumeToYZPlane(const XVolume& inSource, SInt32 inSourcePlane, SInt32 inDestPlane) {
  XAssert(inDestPlane < SInt32(GetWidth()));
  XAssert(inSource.GetWidth() == GetDepth());
  XAssert(inSource.GetHeight() == GetHeight());
  XAssert(inDestPlane >= 0);
  XLock lock(*this, kLockReadWrite);
  const X3DRect& s = inSource.GetBounds();
  std::unique_ptr<XPackedVolume> plane(NewPlaneVolume(X3DRect(GetBounds().GetYZBounds(), 0, 1)));
  inSource.CopyOut(*plane, X3DRect(s.left, s.top, s.front + inSourcePlane, s.right, s.bottom,
                                   s.front + inSourcePlane + 1),
                   plane->GetBounds(), nullptr);
  XLock planeLock(*plane, kLockRead);
  const X3DRect& b = GetBounds();
  const SInt32 x = b.left + inDestPlane;
  const ptrdiff_t step = static_cast<ptrdiff_t>(GetLayerSize());
  for (SInt32 j = 0; j < SInt32(GetHeight()); ++j) {
    const T* from = plane->GetVoxelPtr(b.front, b.top + j, 0);
    T* to = GetVoxelPtr(x, b.top + j, b.front);
    for (SInt32 k = 0; k < SInt32(GetDepth()); ++k, to += step) *to = from[k];
  }
}

// ---------------------------------------------------------------- copies and comparison

template <class T>
void XPackedVolume<T>::CopyOut(XVolume& outDest, const X3DRect& inSourceRect, const X3DRect& inDestRect,
                               const X3DRegion* inRegion) const {
  // The registry test first, as the class tree defines the cells; the cast
  // then guards against a registration that does not match the C++ classes.
  auto as = [](auto* inTyped) {
    XAssert(inTyped);
    return inTyped;
  };
  if (outDest.IsA(XMaskVolume::GetClassVersion()))
    CopyOutMask(*as(dynamic_cast<XMaskVolume*>(&outDest)), inSourceRect, inDestRect, inRegion);
  else if (outDest.IsA(XGrey8Volume::GetClassVersion()))
    CopyOutGrey8(*as(dynamic_cast<XGrey8Volume*>(&outDest)), inSourceRect, inDestRect, inRegion);
  else if (outDest.IsA(XGrey16Volume::GetClassVersion()))
    CopyOutGrey16(*as(dynamic_cast<XGrey16Volume*>(&outDest)), inSourceRect, inDestRect, inRegion);
  else if (outDest.IsA(XARGB32Volume::GetClassVersion()))
    CopyOutARGB32(*as(dynamic_cast<XARGB32Volume*>(&outDest)), inSourceRect, inDestRect, inRegion);
  else if (outDest.IsA(XBGRA32Volume::GetClassVersion()))
    CopyOutBGRA32(*as(dynamic_cast<XBGRA32Volume*>(&outDest)), inSourceRect, inDestRect, inRegion);
  else if (outDest.IsA(XRGB48Volume::GetClassVersion()))
    CopyOutRGB48(*as(dynamic_cast<XRGB48Volume*>(&outDest)), inSourceRect, inDestRect, inRegion);
  else if (outDest.IsA(XFPVolume::GetClassVersion()))
    CopyOutFP(*as(dynamic_cast<XFPVolume*>(&outDest)), inSourceRect, inDestRect, inRegion);
  else
    CopyOutDefault(outDest, inSourceRect, inDestRect, inRegion);
}

template <class T>
void XPackedVolume<T>::CopyOutDefault(XVolume& outDest, const X3DRect& inSourceRect, const X3DRect& inDestRect,
                                      const X3DRegion* inRegion) const {
  auto* grey32 = dynamic_cast<XGrey32Volume*>(&outDest);
  if (!grey32) XAssert(false);
  XCopyCell(*this, *grey32, inSourceRect, inDestRect, inRegion);
}

template <class T>
void XPackedVolume<T>::CopyFrom(const XVolume& inSource) {
  XAssert(inSource.GetBounds().IsSameSizeAs(GetBounds()));
  XAssert(inSource.GetVersion().IsA(GetVersion()));
  const auto* source = dynamic_cast<const XPackedVolume<T>*>(&inSource);
  XAssert(source);
  itsRowVoxels = source->itsRowVoxels;
  itsStorage = source->itsStorage;
  SetDataFetcher(source->GetDataFetcher());
}

template <class T>
bool XPackedVolume<T>::operator==(const XVolume& inOther) const {
  if (GetBounds() != inOther.GetBounds()) return false;
  const auto* other = dynamic_cast<const XPackedVolume<T>*>(&inOther);
  if (!other || inOther.GetVersion() != GetVersion()) {
    std::unique_ptr<XVolume> converted(CloneWithoutCopy(GetBounds()));
    inOther.CopyOut(*converted, inOther.GetBounds(), converted->GetBounds(), nullptr);
    return *this == *converted;
  }
  XLock lock(*this, kLockRead);
  XLock otherLock(*other, kLockRead);
  if (itsRowVoxels == other->itsRowVoxels)
    return std::memcmp(GetBasePtr(), other->GetBasePtr(), GetVolumeVoxels() * sizeof(T)) == 0;
  // Rows padded differently: compare the voxels only.
  const X3DRect& b = GetBounds();
  for (SInt32 z = b.front; z < b.back; ++z)
    for (SInt32 y = b.top; y < b.bottom; ++y)
      if (std::memcmp(GetVoxelPtr(b.left, y, z), other->GetVoxelPtr(b.left, y, z), GetWidth() * sizeof(T)))
        return false;
  return true;
}

template class XPackedVolume<UInt8>;
template class XPackedVolume<UInt16>;
template class XPackedVolume<UInt32>;
template class XPackedVolume<Float32>;
template class XPackedVolume<XARGB32Colour>;
template class XPackedVolume<XBGRA32Colour>;
template class XPackedVolume<XRGB48Colour>;

}  // namespace mirelan
