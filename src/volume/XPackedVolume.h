// Volumes whose voxels lie in one contiguous memory block: XBasePackedVolume
// owns the block, XPackedVolume<T> fixes the voxel type.
//
// Voxel (x, y, z) is element (z - front) * GetLayerSize() + (y - top) *
// GetRowVoxels() + (x - left) of the block. Rows may be longer than the width
// (padding from a stream); planes follow one another without a gap; 16 spare
// bytes follow the last voxel.
#pragma once

#include <cstddef>

#include "core/XExport.h"
#include "core/XMemoryHandle.h"
#include "volume/XPixelTraits.h"
#include "volume/XVolume.h"

namespace mirelan {

class XMaskVolume;
class XGrey16Volume;
class XFPVolume;
class XRGB48Volume;

class MIRELAN_EXPORT XBasePackedVolume : public XVolume {
 public:
  static constexpr UInt16 kClassID = 114;
  // How the data of a packed layer is kept on a stream. 0: a memory handle
  // object follows; any other value: no data in the stream (it comes from elsewhere).
  enum XDataStreamFormat : UInt32 { kDataInStream = 0 };
  // Bytes allocated behind the last voxel.
  static constexpr UInt64 kSpareBytes = 16;

  XBasePackedVolume() = default;
  XBasePackedVolume(UInt32 inWidth, UInt32 inHeight, UInt32 inDepth);
  explicit XBasePackedVolume(const X3DRect& inBounds);
  XBasePackedVolume(const XBasePackedVolume& inOther);
  explicit XBasePackedVolume(XStream& inStream);

  static XVersion GetClassVersion() { return XVersion(kClassID, 0); }
  static XVersion GetSuperClassVersion() { return XVolume::GetClassVersion(); }

  void ReadStream2(XStream& inStream, XOptions inOptions = kReadAll) override;
  void WriteStream2(XStream& inStream, XOptions inOptions = kReadAll) const override;
  void ReadStream2_XBasePackedVolume(XStream& inStream, XOptions inOptions = kReadAll);
  void WriteStreamSelf(XStream& inStream) const;

  UInt64 GetMemoryUsage() const override { return itsStorage.GetDataSize(); }
  UInt64 GetAddressSpaceMetric() const override { return itsStorage.GetAddressSpaceMetric(); }
  void Clear() override;
  // Feeds GetVolumeSize() bytes from the base: a count of voxels, so for a
  // voxel wider than a byte only the front part of the data enters the sum.
  // Stored checksums depend on exactly this.
  void AccumulateCRC(XVolumeCRC& ioCRC) const override;

  bool FetchData() override;
  void LockSelf(XLockMode inMode) override;
  void UnlockSelf(XLockMode inMode) override;

  virtual UInt64 GetVolumeSize() const { return GetLayerSize() * GetDepth(); }
  virtual UInt64 GetLayerSize() const { return UInt64(GetRowVoxels()) * GetHeight(); }
  virtual UInt64 GetDataSize() const { return itsStorage.GetDataSize(); }
  virtual UInt64 GetPaddedSize() const { return itsStorage.GetPaddedSize(); }
  virtual UInt32 GetRowVoxels() const = 0;
  virtual UInt64 GetRowBytes() const { return UInt64(GetRowVoxels()) * GetVoxelBytes(); }
  virtual UInt32 GetPadVoxels() const { return GetRowVoxels() - GetWidth(); }
  virtual UInt32 GetVoxelBytes() const = 0;
  virtual UInt64 GetPlaneVoxels() const { return GetLayerSize(); }
  virtual UInt64 GetPlaneBytes() const { return GetHeight() * GetRowBytes(); }
  virtual UInt64 GetVolumeVoxels() const { return GetDepth() * GetPlaneVoxels(); }
  virtual UInt64 GetVolumeBytes() const { return GetDepth() * GetPlaneBytes(); }
  // Valid while the volume is locked.
  virtual UInt8* GetBasePtr() { return itsStorage.GetData(); }
  virtual const UInt8* GetBasePtr() const { return itsStorage.GetData(); }
  virtual XMemoryHandle GetStorage() const { return itsStorage; }
  virtual void SetStorage(const XMemoryHandle& inHandle);
  virtual XByteSwapMode GetStorageByteSwapMode() const = 0;

  // Plane by 0-based layer, and by z in bounds coordinates.
  UInt8* GetLayerPtr(UInt32 inLayer) { return GetBasePtr() + GetPlaneBytes() * inLayer; }
  const UInt8* GetLayerPtr(UInt32 inLayer) const { return GetBasePtr() + GetPlaneBytes() * inLayer; }
  UInt8* GetPlanePtr(SInt32 inZ) {
    return GetBasePtr() + static_cast<ptrdiff_t>(GetPlaneBytes()) * (static_cast<ptrdiff_t>(inZ) - GetBounds().front);
  }
  const UInt8* GetPlanePtr(SInt32 inZ) const {
    return GetBasePtr() + static_cast<ptrdiff_t>(GetPlaneBytes()) * (static_cast<ptrdiff_t>(inZ) - GetBounds().front);
  }

 protected:
  XMemoryHandle itsStorage;
};

// The seven conversion cells every concrete source class provides.
#define MIRELAN_DECLARE_COPY_OUT_CELLS                                                                \
  void CopyOutMask(XMaskVolume& outDest, const X3DRect& inSourceRect, const X3DRect& inDestRect,     \
                   const X3DRegion* inRegion) const override;                                         \
  void CopyOutGrey8(XGrey8Volume& outDest, const X3DRect& inSourceRect, const X3DRect& inDestRect,   \
                    const X3DRegion* inRegion) const override;                                        \
  void CopyOutGrey16(XGrey16Volume& outDest, const X3DRect& inSourceRect, const X3DRect& inDestRect, \
                     const X3DRegion* inRegion) const override;                                       \
  void CopyOutARGB32(XARGB32Volume& outDest, const X3DRect& inSourceRect,                            \
                     const X3DRect& inDestRect, const X3DRegion* inRegion) const override;           \
  void CopyOutBGRA32(XBGRA32Volume& outDest, const X3DRect& inSourceRect,                            \
                     const X3DRect& inDestRect, const X3DRegion* inRegion) const override;           \
  void CopyOutRGB48(XRGB48Volume& outDest, const X3DRect& inSourceRect, const X3DRect& inDestRect,   \
                    const X3DRegion* inRegion) const override;                                        \
  void CopyOutFP(XFPVolume& outDest, const X3DRect& inSourceRect, const X3DRect& inDestRect,         \
                 const X3DRegion* inRegion) const override;

template <class T>
class MIRELAN_EXPORT XPackedVolume : public XBasePackedVolume {
 public:
  using Voxel = T;
  using Traits = XPixelTraits<T>;
  static constexpr UInt16 kClassID = 102;

  XPackedVolume() = default;
  XPackedVolume(UInt32 inWidth, UInt32 inHeight, UInt32 inDepth);
  explicit XPackedVolume(const X3DRect& inBounds);
  XPackedVolume(const XPackedVolume& inOther);
  explicit XPackedVolume(XStream& inStream);

  static XVersion GetClassVersion() { return XVersion(kClassID, 1); }
  static XVersion GetSuperClassVersion() { return XBasePackedVolume::GetClassVersion(); }

  UInt64 GetStreamUsage() const override { return itsStorage.GetDataSize(); }
  void ReadStream2(XStream& inStream, XOptions inOptions = kReadAll) override;
  void WriteStream2(XStream& inStream, XOptions inOptions = kReadAll) const override;
  void ReadStream2_XPackedVolume(XStream& inStream, XOptions inOptions = kReadAll);
  void ReadStreamSelf(XStream& inStream, const XVersion& inTag, XOptions inOptions);
  void WriteStreamSelf(XStream& inStream) const;

  UInt32 GetRowVoxels() const override { return itsRowVoxels; }
  UInt32 GetVoxelBytes() const override { return sizeof(T); }
  XByteSwapMode GetStorageByteSwapMode() const override { return Traits::kSwapMode; }

  SInt32 GetBrightestZPoint(SInt32 inX, SInt32 inY) const override;
  XVolume* YZPlaneToVolume(SInt32 inPlane, bool inApplyAspect) const override;
  void VolumeToYZPlane(const XVolume& inSource, SInt32 inSourcePlane, SInt32 inDestPlane) override;
  XVolume* XZPlaneToVolume(SInt32 inPlane, bool inApplyAspect) const override;
  void VolumeToXZPlane(const XVolume& inSource, SInt32 inSourcePlane, SInt32 inDestPlane) override;
  XVolume* XYPlaneToVolume(SInt32 inPlane, bool inApplyAspect) const override;
  void VolumeToXYPlane(const XVolume& inSource, SInt32 inSourcePlane, SInt32 inDestPlane) override;
  // Picks the cell of the destination's class, tested in the order mask,
  // Grey8, Grey16, ARGB32, BGRA32, RGB48, FP.
  void CopyOut(XVolume& outDest, const X3DRect& inSourceRect, const X3DRect& inDestRect,
               const X3DRegion* inRegion) const override;
  void CopyFrom(const XVolume& inSource) override;
  bool operator==(const XVolume& inOther) const override;

  virtual T GetEmptyVoxel() const { return itsEmptyVoxel; }
  virtual void SetEmptyVoxel(const T& inVoxel) { itsEmptyVoxel = inVoxel; }

  // Typed access in bounds coordinates, without range checks or locking:
  // the caller holds a lock.
  T* GetBaseVoxelPtr() { return reinterpret_cast<T*>(GetBasePtr()); }
  const T* GetBaseVoxelPtr() const { return reinterpret_cast<const T*>(GetBasePtr()); }
  T* GetLayer(UInt32 inLayer) { return reinterpret_cast<T*>(GetLayerPtr(inLayer)); }
  const T* GetLayer(UInt32 inLayer) const { return reinterpret_cast<const T*>(GetLayerPtr(inLayer)); }
  T* GetPlane(SInt32 inZ) { return reinterpret_cast<T*>(GetPlanePtr(inZ)); }
  const T* GetPlane(SInt32 inZ) const { return reinterpret_cast<const T*>(GetPlanePtr(inZ)); }
  T* GetVoxelPtr(SInt32 inX, SInt32 inY, SInt32 inZ) { return GetBaseVoxelPtr() + VoxelIndex(inX, inY, inZ); }
  const T* GetVoxelPtr(SInt32 inX, SInt32 inY, SInt32 inZ) const {
    return GetBaseVoxelPtr() + VoxelIndex(inX, inY, inZ);
  }
  const T& GetVoxel(SInt32 inX, SInt32 inY, SInt32 inZ) const { return *GetVoxelPtr(inX, inY, inZ); }
  void SetVoxel(SInt32 inX, SInt32 inY, SInt32 inZ, const T& inValue) { *GetVoxelPtr(inX, inY, inZ) = inValue; }

  // Without a region every element is set, padding included. With a region
  // and no outside value only the voxels inside change; with both, every
  // voxel becomes inValue inside and *inOutside outside.
  void Fill(const T& inValue, const X3DRegion* inRegion = nullptr, const T* inOutside = nullptr);
  // As Fill, but only voxels equal to inKey take inFill; with an outside
  // value every other voxel takes that.
  void ColourKeyFill(const T& inFill, const T& inKey, const X3DRegion* inRegion = nullptr,
                     const T* inOutside = nullptr);

  // The input range of the plane renderer, or the type's default without one.
  void GetDisplayRange(Float64& outLow, Float64& outHigh) const;

 protected:
  virtual void CopyOutMask(XMaskVolume& outDest, const X3DRect& inSourceRect, const X3DRect& inDestRect,
                           const X3DRegion* inRegion) const = 0;
  virtual void CopyOutGrey8(XGrey8Volume& outDest, const X3DRect& inSourceRect, const X3DRect& inDestRect,
                            const X3DRegion* inRegion) const = 0;
  virtual void CopyOutGrey16(XGrey16Volume& outDest, const X3DRect& inSourceRect,
                             const X3DRect& inDestRect, const X3DRegion* inRegion) const = 0;
  virtual void CopyOutARGB32(XARGB32Volume& outDest, const X3DRect& inSourceRect,
                             const X3DRect& inDestRect, const X3DRegion* inRegion) const = 0;
  virtual void CopyOutBGRA32(XBGRA32Volume& outDest, const X3DRect& inSourceRect,
                             const X3DRect& inDestRect, const X3DRegion* inRegion) const = 0;
  virtual void CopyOutRGB48(XRGB48Volume& outDest, const X3DRect& inSourceRect, const X3DRect& inDestRect,
                            const X3DRegion* inRegion) const = 0;
  virtual void CopyOutFP(XFPVolume& outDest, const X3DRect& inSourceRect, const X3DRect& inDestRect,
                         const X3DRegion* inRegion) const = 0;
  // A destination of no known class. XGrey32Volume, which the seven cells do
  // not name, is served here; anything else is a programming error.
  virtual void CopyOutDefault(XVolume& outDest, const X3DRect& inSourceRect, const X3DRect& inDestRect,
                              const X3DRegion* inRegion) const;
  // Sets the row length to the width and sizes the block for the bounds plus
  // the spare bytes. The content is not cleared.
  virtual void Allocate();

  // Legacy image form: the packed part, behind the rectangle.
  void ReadPackedImageStream(XStream& inStream, XOptions inOptions);
  // A new volume of this class for a plane, and the typed form of a clone.
  XPackedVolume* NewPlaneVolume(const X3DRect& inBox) const;
  // The last step of plane extraction: the plane's calibrations, or with
  // inApplyAspect the resampling to square pixels when a scale is not 1.
  XVolume* FinishPlane(std::unique_ptr<XPackedVolume> inPlain, bool inApplyAspect, Float64 inXCal, Float64 inYCal,
                       Float64 inZCal, Float64 inWidthScale, Float64 inHeightScale) const;

  // The lossy form, behind its class word: the header fields, then the
  // length-prefixed coded image (see XLossyVolumeCodec.h).
  void ReadLossyBody(XStream& inStream, bool inDecode);
  // The coded image of the older colour form, behind its rectangle.
  void ReadLegacyLossyImage(XStream& inStream, bool inHeaderOnly);
  void WriteLossyForm(XStream& inStream, UInt16 inClassID, SInt32 inQuality) const;

  UInt32 itsRowVoxels = 0;
  T itsEmptyVoxel = T();

 private:
  ptrdiff_t VoxelIndex(SInt32 inX, SInt32 inY, SInt32 inZ) const {
    const X3DRect& b = GetBounds();
    return (static_cast<ptrdiff_t>(inZ) - b.front) * static_cast<ptrdiff_t>(UInt64(itsRowVoxels) * GetHeight()) +
           (static_cast<ptrdiff_t>(inY) - b.top) * static_cast<ptrdiff_t>(itsRowVoxels) +
           (static_cast<ptrdiff_t>(inX) - b.left);
  }
  void ReadPackedLayer(XStream& inStream, XOptions inOptions);
  // Reads the memory handle object that follows, after checking that it
  // holds at least inMinBytes.
  void ReadStorageObject(XStream& inStream, XOptions inOptions, UInt64 inMinBytes);
};

extern template class XPackedVolume<UInt8>;
extern template class XPackedVolume<UInt16>;
extern template class XPackedVolume<UInt32>;
extern template class XPackedVolume<Float32>;
extern template class XPackedVolume<XARGB32Colour>;
extern template class XPackedVolume<XBGRA32Colour>;
extern template class XPackedVolume<XRGB48Colour>;

}  // namespace mirelan
