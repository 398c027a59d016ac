#include "volume/XVolume.h"

#include <algorithm>
#include <cmath>

#include "core/XException.h"
#include "core/XResourceTracker.h"
#include "core/XStream.h"
#include "geometry/XRect.h"
#include "volume/XColourVolumes.h"
#include "volume/XGrey8Volume.h"
#include "volume/internal/XRegionRuns.h"
#include "volume/internal/XWideKernels.h"
#include "volume/XVolumeScaler.h"

namespace mirelan {

namespace {

constexpr const char* kTrackerKind = "XVolume";
constexpr UInt16 kRectClassID = 34;
constexpr UInt16 kLossyColourID = 12100;
constexpr UInt16 kLossyGreyID = 12101;
constexpr UInt16 kLegacyLossyColourID = 514;

}  // namespace

// ---------------------------------------------------------------- life

XVolume::XVolume() { XResourceTracker::GetTracker().Add(kTrackerKind); }

XVolume::XVolume(UInt32 inWidth, UInt32 inHeight, UInt32 inDepth)
    : itsBounds(CheckedSize(inWidth, inHeight, inDepth)) {
  XResourceTracker::GetTracker().Add(kTrackerKind);
}

XVolume::XVolume(const X3DRect& inBounds) : itsBounds(CheckedBounds(inBounds)) {
  XResourceTracker::GetTracker().Add(kTrackerKind);
}

namespace {

// Sides are signed 32-bit extents: right = left + width must be a coordinate.
constexpr UInt64 kMaxSide = 0x7FFFFFFF;

void CheckSides(UInt64 inWidth, UInt64 inHeight, UInt64 inDepth, SInt32 inError) {
  if (inWidth > kMaxSide || inHeight > kMaxSide || inDepth > kMaxSide)
    throw XException(inError, "a volume side of " + std::to_string(std::max({inWidth, inHeight, inDepth})) +
                                  " voxels is beyond 2^31 - 1");
}

}  // namespace

X3DRect XVolume::CheckedSize(UInt32 inWidth, UInt32 inHeight, UInt32 inDepth) {
  CheckSides(inWidth, inHeight, inDepth, kErrImpossibleSize);
  return X3DRect(inWidth, inHeight, inDepth);
}

X3DRect XVolume::CheckedBounds(const X3DRect& inBounds) {
  // A box made from wrapped arithmetic is inside out or wider than any side.
  auto extent = [](SInt32 inLow, SInt32 inHigh) { return SInt64(inHigh) - SInt64(inLow); };
  SInt64 width = extent(inBounds.left, inBounds.right), height = extent(inBounds.top, inBounds.bottom),
         depth = extent(inBounds.front, inBounds.back);
  if (width < 0 || height < 0 || depth < 0) throw XException(kErrImpossibleSize, "an inside-out volume box");
  CheckSides(UInt64(width), UInt64(height), UInt64(depth), kErrImpossibleSize);
  return inBounds;
}

XVolume::XVolume(const XVolume& inOther)
    : XStorable(inOther),
      XLockable(inOther),
      itsBounds(inOther.itsBounds),
      itsXCalibration(inOther.itsXCalibration),
      itsYCalibration(inOther.itsYCalibration),
      itsZCalibration(inOther.itsZCalibration),
      itsHadLegacyLUT(inOther.itsHadLegacyLUT) {
  if (inOther.itsPlaneRenderer) itsPlaneRenderer = XClonePlaneRenderer(*inOther.itsPlaneRenderer);
  XResourceTracker::GetTracker().Add(kTrackerKind);
}

XVolume::XVolume(XStream& inStream) {
  XResourceTracker::GetTracker().Add(kTrackerKind);
  // The object is not complete until the constructor ends, so a throw here
  // must give back what the body took.
  try {
    ReadStream2_XVolume(inStream, kReadAll);
  } catch (...) {
    XResourceTracker::GetTracker().Remove(kTrackerKind);
    throw;
  }
}

XVolume::~XVolume() {
  XDeletePlaneRenderer(itsPlaneRenderer);
  XResourceTracker::GetTracker().Remove(kTrackerKind);
}

// ---------------------------------------------------------------- streams

XVolume::XStreamForm XVolume::GetStreamForm(const XStream& inStream) {
  XVersion creating = inStream.GetLastClassCreated();
  if (creating.IsNull()) return kLayeredForm;
  if (creating.GetClassID() == kLossyColourID || creating.GetClassID() == kLossyGreyID) return kLossyForm;
  if (creating.GetClassID() == kLegacyLossyColourID) return kLegacyLossyForm;
  if (creating.IsA(XVersion(kLegacyImageRootID, 0))) return kLegacyImageForm;
  return kLayeredForm;
}

void XVolume::ReadStream2(XStream& inStream, XOptions inOptions) { ReadStream2_XVolume(inStream, inOptions); }

void XVolume::ReadStream2_XVolume(XStream& inStream, XOptions) {
  switch (GetStreamForm(inStream)) {
    case kLegacyImageForm:
    case kLegacyLossyForm:
      ReadImageStream(inStream);
      break;
    case kLossyForm:
      break;  // the concrete class reads the whole lossy form
    case kLayeredForm: {
      XVersion tag = ReadClassVersion(inStream);
      CheckClassVersion(tag, GetClassVersion());
      ReadStreamSelf(inStream, tag);
      break;
    }
  }
}

void XVolume::CheckStreamBounds(UInt64 inWidth, UInt64 inHeight, UInt64 inDepth) {
  CheckSides(inWidth, inHeight, inDepth, kErrBadStreamSize);
  UInt64 area = 0, voxels = 0;
  if (__builtin_mul_overflow(inWidth, inHeight, &area) || __builtin_mul_overflow(area, inDepth, &voxels))
    throw XException(kErrBadStreamSize, "volume voxel count beyond 64 bits");
}

void XVolume::ReadStreamSelf(XStream& inStream, const XVersion& inTag) {
  UInt32 width = inStream.Read32();
  UInt32 height = inStream.Read32();
  UInt32 depth = inStream.Read32();
  CheckStreamBounds(width, height, depth);
  X3DRect bounds = itsBounds;
  bounds.SetWidth(width);
  bounds.SetHeight(height);
  bounds.SetDepth(depth);
  // Only the current tag carries an origin; older ones leave the box where it is.
  if (inTag.GetClassID() == kClassID) {
    SInt32 left = static_cast<SInt32>(inStream.Read32());
    SInt32 top = static_cast<SInt32>(inStream.Read32());
    SInt32 front = static_cast<SInt32>(inStream.Read32());
    bounds.SetPosition(left, top, front);
  }
  Float64 x = inStream.ReadFloat64S();
  Float64 y = inStream.ReadFloat64S();
  Float64 z = inStream.ReadFloat64S();
  itsBounds = bounds;
  itsXCalibration = x;
  itsYCalibration = y;
  itsZCalibration = z;
}

void XVolume::WriteStream2(XStream& inStream, XOptions) const { WriteStreamSelf(inStream); }

void XVolume::WriteStreamSelf(XStream& inStream) const {
  inStream.WriteVersion(GetClassVersion());
  inStream.Write32(GetWidth());
  inStream.Write32(GetHeight());
  inStream.Write32(GetDepth());
  inStream.Write32(static_cast<UInt32>(itsBounds.left));
  inStream.Write32(static_cast<UInt32>(itsBounds.top));
  inStream.Write32(static_cast<UInt32>(itsBounds.front));
  inStream.WriteFloat64S(itsXCalibration);
  inStream.WriteFloat64S(itsYCalibration);
  inStream.WriteFloat64S(itsZCalibration);
}

void XVolume::ReadImageStream(XStream& inStream) {
  UInt64 position = inStream.GetPosition();
  XVersion next = inStream.ReadVersion();
  inStream.SeekTo(position);
  XRect rect;
  if (next.GetClassID() == kRectClassID) {
    std::unique_ptr<XRect> stored = inStream.ReadObjectAs<XRect>();
    if (!stored) throw XException(kErrWrongClass, "legacy image without a rectangle");
    rect = *stored;
  } else {
    rect.ReadStreamSelf(inStream);
  }
  CheckStreamBounds(rect.GetWidth(), rect.GetHeight(), 1);
  itsBounds = X3DRect(rect, 0, 1);
}

// ---------------------------------------------------------------- plain operations

XString XVolume::GetChannelName(UInt32 inChannel) const {
  XAssert(inChannel == 1);
  return XString();
}

Float64 XVolume::GetXScale(XPlaneMode inMode) const {
  switch (inMode) {
    case kXYPlane:
    case kXZPlane:
      return 1.0;
    case kYZPlane:
      return itsXCalibration / itsZCalibration;
  }
  return 0.0;
}

Float64 XVolume::GetYScale(XPlaneMode inMode) const {
  switch (inMode) {
    case kXYPlane:
    case kXZPlane:
      return itsYCalibration / itsXCalibration;
    case kYZPlane:
      return itsYCalibration / itsZCalibration;
  }
  return 0.0;
}

Float64 XVolume::GetZScale(XPlaneMode inMode) const {
  switch (inMode) {
    case kXYPlane:
    case kXZPlane:
      return itsZCalibration / itsXCalibration;
    case kYZPlane:
      return 1.0;
  }
  return 0.0;
}

Float64 XVolume::GetBoundsDiagonal() const {
  Float64 x = GetWidth() * itsXCalibration;
  Float64 y = GetHeight() * itsYCalibration;
  Float64 z = GetDepth() * itsZCalibration;
  return std::sqrt(x * x + y * y + z * z);
}

XImageRenderer& XVolume::GetPlaneRenderer() const {
  XAssert(itsPlaneRenderer);
  return *itsPlaneRenderer;
}

void XVolume::SetPlaneRenderer(const XImageRenderer& inRenderer) {
  if (&inRenderer == itsPlaneRenderer) return;
  AttachPlaneRenderer(XClonePlaneRenderer(inRenderer));
}

void XVolume::AttachPlaneRenderer(XImageRenderer* inRenderer) {
  if (inRenderer == itsPlaneRenderer) return;
  XDeletePlaneRenderer(itsPlaneRenderer);
  itsPlaneRenderer = inRenderer;
  itsHadLegacyLUT = false;
}

void XVolume::CopyPlaneRendererFrom(const XVolume& inOther) {
  if (inOther.itsPlaneRenderer)
    SetPlaneRenderer(*inOther.itsPlaneRenderer);
  else
    AttachPlaneRenderer(nullptr);
}

void XVolume::AdoptLegacyLUT(std::unique_ptr<XStorable> inLUT, XRendererKind inKind) {
  if (!inLUT) return;
  if (XImageRenderer* renderer = XMakePlaneRendererFromLUT(inKind, *inLUT)) AttachPlaneRenderer(renderer);
  itsHadLegacyLUT = true;
}

void XVolume::CopyScalingFrom(const XVolume& inSource) {
  SetXCalibration(inSource.GetXCalibration());
  SetYCalibration(inSource.GetYCalibration());
  SetZCalibration(inSource.GetZCalibration());
}

void XVolume::OffsetBounds(SInt32 inDX, SInt32 inDY, SInt32 inDZ) { itsBounds.Offset(inDX, inDY, inDZ); }

// zlib's CRC, continued from a finished checksum, by carry-less
// multiplication where the processor has it.
void XVolumeCRC::process_bytes(const void* inData, size_t inBytes) {
  itsChecksum = XWideCRC32(itsChecksum, static_cast<const UInt8*>(inData), inBytes);
}

UInt32 XVolume::CalculateCRC() const {
  XVolumeCRC crc;
  AccumulateCRC(crc);
  return crc.checksum();
}

void XVolume::Dump(XPlaneMode inMode, SInt32 inPlane) const {
  XAssert(itsPlaneRenderer);
  switch (inMode) {
    case kXYPlane:
      XAssert(inPlane < SInt32(GetDepth()));
      break;
    case kXZPlane:
      XAssert(inPlane < SInt32(GetHeight()));
      break;
    case kYZPlane:
      XAssert(inPlane < SInt32(GetWidth()));
      break;
  }
}

// ---------------------------------------------------------------- copies

void XVolume::CopyIn(const XVolume& inSource, const X3DRect& inSourceRect, const X3DRect& inDestRect,
                     const X3DRegion* inRegion) {
  inSource.CopyOut(*this, inSourceRect, inDestRect, inRegion);
}

void XVolume::CopyOutAsDisplayed(XBGRA32Volume& outDest, const X3DRect& inSourceRect,
                                 const X3DRect& inDestRect, const X3DRegion* inRegion) const {
  XRenderVolume(GetPlaneRenderer(), *this, outDest, inSourceRect, inDestRect, inRegion);
}

void XVolume::CopyOutAsDisplayed(XARGB32Volume& outDest, const X3DRect& inSourceRect,
                                 const X3DRect& inDestRect, const X3DRegion* inRegion) const {
  XRenderVolume(GetPlaneRenderer(), *this, outDest, inSourceRect, inDestRect, inRegion);
}

namespace {

// Renders the source plane by plane into a colour plane of the destination
// rectangle's size, and reduces each colour to a grey level with inLevel.
template <class Level>
void CopyOutAsLuminance(const XVolume& inSource, XGrey8Volume& outDest, const X3DRect& inSourceRect,
                        const X3DRect& inDestRect, const X3DRegion* inRegion, Level inLevel) {
  XAssert(inSource.GetBounds().Contains(inSourceRect));
  if (inDestRect.IsEmpty() || inSourceRect.IsEmpty()) return;
  X3DRect box = outDest.GetBounds();
  box.Sect(inDestRect);
  XRegionRuns runs(inRegion, box);
  if (runs.IsEmpty()) return;
  const X3DRect& b = runs.GetBox();
  XVolumeScaler scaler(inSourceRect, inDestRect, 1, 1, 1);
  XARGB32Volume plane(X3DRect(inDestRect.GetXYBounds(), 0, 1));
  for (SInt32 z = b.front; z < b.back; ++z) {
    SInt32 sourceZ = inSourceRect.front + SInt32(scaler.GetSrcZ(UInt32(z - inDestRect.front)));
    X3DRect sourcePlane = inSourceRect;
    sourcePlane.front = sourceZ;
    sourcePlane.back = sourceZ + 1;
    inSource.CopyOutAsDisplayed(plane, sourcePlane, plane.GetBounds(), nullptr);
    XLock planeLock(plane, kLockRead);
    XLock destLock(outDest, kLockReadWrite);
    for (SInt32 y = b.top; y < b.bottom; ++y) {
      const XARGB32Colour* from = plane.GetVoxelPtr(inDestRect.left, y, 0) - inDestRect.left;
      UInt8* to = outDest.GetVoxelPtr(0, y, z);
      runs.ForEachRun(y, z, [&](SInt32 inBegin, SInt32 inEnd) {
        for (SInt32 x = inBegin; x < inEnd; ++x) to[x] = inLevel(from[x]);
      });
    }
  }
}

}  // namespace

void XVolume::CopyOutAsAverageLuminance(XGrey8Volume& outDest, const X3DRect& inSourceRect,
                                        const X3DRect& inDestRect, const X3DRegion* inRegion) const {
  CopyOutAsLuminance(*this, outDest, inSourceRect, inDestRect, inRegion,
                     [](const XARGB32Colour& c) { return c.GetAverage(); });
}

void XVolume::CopyOutAsMaxLuminance(XGrey8Volume& outDest, const X3DRect& inSourceRect,
                                    const X3DRect& inDestRect, const X3DRegion* inRegion) const {
  CopyOutAsLuminance(*this, outDest, inSourceRect, inDestRect, inRegion,
                     [](const XARGB32Colour& c) { return c.GetIntensity(); });
}

XVolume* XVolume::Clone(const X3DRect& inRect) const {
  std::unique_ptr<XVolume> copy(CloneWithoutCopy(inRect));
  X3DRect inside = inRect;
  inside.Sect(itsBounds);
  if (inside != inRect) copy->Clear();
  copy->CopyPlaneRendererFrom(*this);
  copy->CopyIn(*this, inside, inside, nullptr);
  return copy.release();
}

XVolume* XVolume::Resize(const X3DRect& inRect, XScaleType inScaleType) const {
  if (inScaleType != kScaleCrop && inRect.IsSameSizeAs(itsBounds)) {
    std::unique_ptr<XVolume> copy(Clone());
    copy->OffsetBounds(inRect.left - itsBounds.left, inRect.top - itsBounds.top, inRect.front - itsBounds.front);
    return copy.release();
  }
  std::unique_ptr<XVolume> resized(CloneWithoutCopy(inRect));
  switch (inScaleType) {
    case kScaleStretch:
      CopyOut(*resized, itsBounds, inRect, nullptr);
      break;
    case kScaleCentre: {
      resized->Clear();
      X3DRect dest = itsBounds;
      dest.CentreOn(inRect);
      dest.Sect(inRect);
      X3DRect source = dest;
      source.CentreOn(itsBounds);
      CopyOut(*resized, source, dest, nullptr);
      break;
    }
    case kScaleCrop: {
      resized->Clear();
      X3DRect part = itsBounds;
      part.Sect(inRect);
      CopyOut(*resized, part, part, nullptr);
      break;
    }
    default:
      XAssert(inScaleType >= kScaleStretch && inScaleType <= kScaleCrop);
  }
  return resized.release();
}

// ---------------------------------------------------------------- planes

XVolume* XVolume::ScaleForAspect(XVolume* inPlain, Float64 inWidthScale, Float64 inHeightScale) const {
  std::unique_ptr<XVolume> plain(inPlain);
  UInt32 width = XTruncateTo<UInt32>(plain->GetWidth() * inWidthScale);
  UInt32 height = XTruncateTo<UInt32>(plain->GetHeight() * inHeightScale);
  std::unique_ptr<XVolume> scaled(CloneWithoutCopy(X3DRect(width, height, 1)));
  plain->CopyOut(*scaled, plain->GetBounds(), scaled->GetBounds(), nullptr);
  return scaled.release();
}

XPtrVector<XVolume> XVolume::XYPlanesToVolumeList(bool inApplyAspect) const {
  XPtrVector<XVolume> planes;
  planes.reserve(GetDepth());
  for (SInt32 p = 0; p < SInt32(GetDepth()); ++p) planes.push_back(XYPlaneToVolume(p, inApplyAspect));
  return planes;
}

XPtrVector<XVolume> XVolume::XZPlanesToVolumeList(bool inApplyAspect) const {
  XPtrVector<XVolume> planes;
  planes.reserve(GetHeight());
  for (SInt32 p = 0; p < SInt32(GetHeight()); ++p) planes.push_back(XZPlaneToVolume(p, inApplyAspect));
  return planes;
}

XPtrVector<XVolume> XVolume::YZPlanesToVolumeList(bool inApplyAspect) const {
  XPtrVector<XVolume> planes;
  planes.reserve(GetWidth());
  for (SInt32 p = 0; p < SInt32(GetWidth()); ++p) planes.push_back(YZPlaneToVolume(p, inApplyAspect));
  return planes;
}

}  // namespace mirelan
