// The volume abstraction: a box of voxels of one pixel type with a position in
// space, a calibration, a display renderer and lockable storage.
#pragma once

#include <memory>

#include "core/XContainers.h"
#include "core/XExport.h"
#include "core/XLockable.h"
#include "core/XStorable.h"
#include "geometry/X3DRect.h"
#include "volume/XVolumeRendering.h"

namespace mirelan {

class XStream;
class X3DRegion;
class XImageRenderer;
class XGrey8Volume;
class XARGB32Volume;
class XBGRA32Volume;

enum XPlaneMode : SInt32 { kXYPlane = 0, kXZPlane = 1, kYZPlane = 2 };

// How Resize fits the old content into the new box.
enum XScaleType : SInt32 { kScaleStretch = 0, kScaleCentre = 1, kScaleCrop = 2 };

// The reflected CRC-32 (polynomial 0x04C11DB7, initial and final value
// 0xFFFFFFFF) of volume checksums, accumulated over any number of calls.
class MIRELAN_EXPORT XVolumeCRC {
 public:
  void process_bytes(const void* inData, size_t inBytes);
  UInt32 checksum() const { return itsChecksum; }

 private:
  UInt32 itsChecksum = 0;  // the finished checksum of what went in so far
};

class MIRELAN_EXPORT XVolume : public XStorable, public XLockable {
 public:
  static constexpr UInt16 kClassID = 520;
  static constexpr UInt16 kLegacyClassID = 101;  // an alias of 520 on older streams
  static constexpr UInt16 kLegacyImageRootID = 47;

  XVolume();
  XVolume(UInt32 inWidth, UInt32 inHeight, UInt32 inDepth);
  explicit XVolume(const X3DRect& inBounds);
  XVolume(const XVolume& inOther);
  explicit XVolume(XStream& inStream);
  ~XVolume() override;
  XVolume& operator=(const XVolume&) = delete;

  static XVersion GetClassVersion() { return XVersion(kClassID, 0); }
  static XVersion GetSuperClassVersion() { return XStorable::GetClassVersion(); }

  // XStorable
  XVolume* Clone() const override { return Clone(GetBounds()); }
  void ReadStream2(XStream& inStream, XOptions inOptions = kReadAll) override;
  void WriteStream2(XStream& inStream, XOptions inOptions = kReadAll) const override;

  // Layer by layer: each class reads and checks its own tag, then its fields.
  void ReadStream2_XVolume(XStream& inStream, XOptions inOptions = kReadAll);
  void ReadStreamSelf(XStream& inStream, const XVersion& inTag);
  void WriteStreamSelf(XStream& inStream) const;

  // ---- virtual operations
  virtual UInt32 GetChannelCount() const { return 1; }
  virtual XString GetChannelName(UInt32 inChannel) const;
  virtual void SetXCalibration(Float64 inValue) { itsXCalibration = inValue; }
  virtual void SetYCalibration(Float64 inValue) { itsYCalibration = inValue; }
  virtual void SetZCalibration(Float64 inValue) { itsZCalibration = inValue; }
  virtual XString GetDescription() const = 0;
  virtual UInt64 GetMemoryUsage() const = 0;
  virtual UInt64 GetAddressSpaceMetric() const = 0;
  // The z of the first voxel of the column that is strictly brighter than all
  // before it, starting from 0: an all-dark column or an empty depth gives front.
  virtual SInt32 GetBrightestZPoint(SInt32 inX, SInt32 inY) const = 0;

  // Planes by 0-based index. Extraction gives a new volume of this class;
  // with inApplyAspect the plane is resampled to square pixels.
  virtual XVolume* YZPlaneToVolume(SInt32 inPlane, bool inApplyAspect) const = 0;
  virtual void VolumeToYZPlane(const XVolume& inSource, SInt32 inSourcePlane, SInt32 inDestPlane) = 0;
  virtual XVolume* XZPlaneToVolume(SInt32 inPlane, bool inApplyAspect) const = 0;
  virtual void VolumeToXZPlane(const XVolume& inSource, SInt32 inSourcePlane, SInt32 inDestPlane) = 0;
  virtual XVolume* XYPlaneToVolume(SInt32 inPlane, bool inApplyAspect) const = 0;
  virtual void VolumeToXYPlane(const XVolume& inSource, SInt32 inSourcePlane, SInt32 inDestPlane) = 0;
  virtual XPtrVector<XVolume> XYPlanesToVolumeList(bool inApplyAspect) const;
  virtual XPtrVector<XVolume> XZPlanesToVolumeList(bool inApplyAspect) const;
  virtual XPtrVector<XVolume> YZPlanesToVolumeList(bool inApplyAspect) const;

  // Conversion copies: the part inSourceRect of the source lands in
  // inDestRect of the destination, converted between pixel types and resampled
  // by nearest choice when the sizes differ. A region (in destination
  // coordinates) limits the voxels written; null for all.
  virtual void CopyIn(const XVolume& inSource, const X3DRect& inSourceRect, const X3DRect& inDestRect,
                      const X3DRegion* inRegion);
  virtual void CopyOut(XVolume& outDest, const X3DRect& inSourceRect, const X3DRect& inDestRect,
                       const X3DRegion* inRegion) const = 0;
  // Takes over the content of a volume of the same size and class: no voxel loop.
  virtual void CopyFrom(const XVolume& inSource) = 0;
  virtual void CopyScalingFrom(const XVolume& inSource);
  virtual void CopyOutAsDisplayed(XBGRA32Volume& outDest, const X3DRect& inSourceRect,
                                  const X3DRect& inDestRect, const X3DRegion* inRegion) const;
  virtual void CopyOutAsDisplayed(XARGB32Volume& outDest, const X3DRect& inSourceRect,
                                  const X3DRect& inDestRect, const X3DRegion* inRegion) const;
  virtual void CopyOutAsAverageLuminance(XGrey8Volume& outDest, const X3DRect& inSourceRect,
                                         const X3DRect& inDestRect, const X3DRegion* inRegion) const;
  virtual void CopyOutAsMaxLuminance(XGrey8Volume& outDest, const X3DRect& inSourceRect,
                                     const X3DRect& inDestRect, const X3DRegion* inRegion) const;

  virtual XVolume* Clone(const X3DRect& inRect) const;
  virtual XVolume* CloneWithoutCopy(const X3DRect& inRect) const = 0;
  XVolume* CloneWithoutCopy() const { return CloneWithoutCopy(GetBounds()); }
  virtual void Clear() = 0;
  virtual void OffsetBounds(SInt32 inDX, SInt32 inDY, SInt32 inDZ);
  virtual bool IsPlaneRendererSupported(const XImageRenderer& inRenderer) const { return false; }
  // Debug display of one plane. There is no debug window on this platform, so
  // after its checks it does nothing.
  virtual void Dump(XPlaneMode inMode, SInt32 inPlane) const;
  virtual UInt32 CalculateCRC() const;
  virtual void AccumulateCRC(XVolumeCRC& ioCRC) const = 0;
  virtual bool operator==(const XVolume& inOther) const = 0;

  // ---- plain operations
  const X3DRect& GetBounds() const { return itsBounds; }
  UInt32 GetWidth() const { return itsBounds.GetWidth(); }
  UInt32 GetHeight() const { return itsBounds.GetHeight(); }
  UInt32 GetDepth() const { return itsBounds.GetDepth(); }
  bool IsXYPlane() const { return GetDepth() == 1; }
  bool IsXZPlane() const { return GetHeight() == 1; }
  bool IsYZPlane() const { return GetWidth() == 1; }

  Float64 GetXCalibration() const { return itsXCalibration; }
  Float64 GetYCalibration() const { return itsYCalibration; }
  Float64 GetZCalibration() const { return itsZCalibration; }
  // Aspect factors of a plane: XY and XZ relative to x, YZ relative to z; 0 for another mode.
  Float64 GetXScale(XPlaneMode inMode) const;
  Float64 GetYScale(XPlaneMode inMode) const;
  Float64 GetZScale(XPlaneMode inMode) const;
  Float64 GetBoundsDiagonal() const;

  // The renderer; GetPlaneRenderer requires one (a volume of every type but
  // XGrey32Volume has one from construction).
  bool HasPlaneRenderer() const { return itsPlaneRenderer != nullptr; }
  const XImageRenderer* GetPlaneRendererPtr() const { return itsPlaneRenderer; }
  XImageRenderer& GetPlaneRenderer() const;
  // Stores a clone; AttachPlaneRenderer takes ownership. Both drop the old
  // renderer and the legacy LUT flag; passing the renderer already held does nothing.
  void SetPlaneRenderer(const XImageRenderer& inRenderer);
  void AttachPlaneRenderer(XImageRenderer* inRenderer);
  bool HadLegacyLUT() const { return itsHadLegacyLUT; }
  bool operator!=(const XVolume& inOther) const { return !(*this == inOther); }

  // A new volume of the box. Stretch rescales the content into it, centre
  // puts the content in its middle, crop keeps the voxels where they are.
  XVolume* Resize(const X3DRect& inRect, XScaleType inScaleType) const;

 protected:
  // What the class now being created from a stream says about its form.
  // The legacy lossy form is the older colour image id 514: a rectangle,
  // then a coded image.
  enum XStreamForm { kLayeredForm, kLegacyImageForm, kLossyForm, kLegacyLossyForm };
  static XStreamForm GetStreamForm(const XStream& inStream);

  void SetBounds(const X3DRect& inBounds) { itsBounds = inBounds; }
  void SetHadLegacyLUT(bool inValue) { itsHadLegacyLUT = inValue; }
  // Legacy image streams carry a rectangle and depth 1.
  void ReadImageStream(XStream& inStream);
  // Checks that a box read from a stream can be a volume: each side below 2^31
  // and the voxel count within 64 bits. Throws 1002 otherwise.
  static void CheckStreamBounds(UInt64 inWidth, UInt64 inHeight, UInt64 inDepth);
  // The box of a new volume, or XException 1009 when no volume can have it.
  static X3DRect CheckedSize(UInt32 inWidth, UInt32 inHeight, UInt32 inDepth);
  static X3DRect CheckedBounds(const X3DRect& inBounds);

  // The aspect step of plane extraction: a volume of this class at the
  // origin, inWidthScale and inHeightScale times the plain plane's size, with
  // the plane copied into it. Takes the plain plane and returns the new one.
  XVolume* ScaleForAspect(XVolume* inPlain, Float64 inWidthScale, Float64 inHeightScale) const;

  // The last steps of CloneWithoutCopy: the renderer and the scaling of this volume.
  template <class C>
  C* FinishCloneWithoutCopy(C* inNew) const {
    std::unique_ptr<C> guard(inNew);
    guard->CopyPlaneRendererFrom(*this);
    guard->CopyScalingFrom(*this);
    return guard.release();
  }
  // A clone of the other's renderer, or none when it has none.
  void CopyPlaneRendererFrom(const XVolume& inOther);
  // Turns a legacy look-up table into the plane renderer and sets the flag.
  void AdoptLegacyLUT(std::unique_ptr<XStorable> inLUT, XRendererKind inKind);

 private:
  X3DRect itsBounds;
  Float64 itsXCalibration = 1.0;
  Float64 itsYCalibration = 1.0;
  Float64 itsZCalibration = 1.0;
  XImageRenderer* itsPlaneRenderer = nullptr;
  bool itsHadLegacyLUT = false;
};

}  // namespace mirelan
