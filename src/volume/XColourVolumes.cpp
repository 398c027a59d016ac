#include "volume/XColourVolumes.h"

#include "core/XStream.h"
#include "volume/internal/XRegionRuns.h"
#include "volume/internal/XVolumeInterpolation.h"

namespace mirelan {

namespace {

XString ColourChannelName(UInt32 inChannel) {
  switch (inChannel) {
    case 1:
      return "Red";
    case 2:
      return "Green";
    case 3:
      return "Blue";
  }
  XAssert(false);
  return XString();
}

template <class C>
XRGBFloat32Colour InterpolateColour(const XPackedVolume<C>& inVolume, Float32 inX, Float32 inY, Float32 inZ) {
  XRGBFloat32Colour sum;
  XVisitTrilinear(inVolume, inX, inY, inZ, [&sum](const C& inVoxel, Float32 inWeight) {
    sum.red += Float32(inVoxel.red) * inWeight;
    sum.green += Float32(inVoxel.green) * inWeight;
    sum.blue += Float32(inVoxel.blue) * inWeight;
  });
  return sum;
}

}  // namespace

// ================================================================ XARGB32Volume

XARGB32Volume::XARGB32Volume() { AttachPlaneRenderer(XMakePlaneRenderer(XRendererKind::kARGB32)); }

XARGB32Volume::XARGB32Volume(UInt32 inWidth, UInt32 inHeight, UInt32 inDepth)
    : XPackedVolume<XARGB32Colour>(inWidth, inHeight, inDepth) {
  AttachPlaneRenderer(XMakePlaneRenderer(XRendererKind::kARGB32));
}

XARGB32Volume::XARGB32Volume(const X3DRect& inBounds) : XPackedVolume<XARGB32Colour>(inBounds) {
  AttachPlaneRenderer(XMakePlaneRenderer(XRendererKind::kARGB32));
}

XARGB32Volume::XARGB32Volume(XStream& inStream, bool inSkipData) : XPackedVolume<XARGB32Colour>(inStream) {
  // The lossy colour form comes here through the registry's stream
  // constructor as well as through PreReadStream.
  XStreamForm form = GetStreamForm(inStream);
  if (form == kLossyForm)
    ReadLossyBody(inStream, !inSkipData);
  else if (form == kLegacyLossyForm)
    ReadARGB32ImageStream(inStream, inSkipData);
  else
    ReadARGB32Layer(inStream, kReadAll);
  AttachPlaneRenderer(XMakePlaneRenderer(XRendererKind::kARGB32));
}

XARGB32Volume* XARGB32Volume::CloneWithoutCopy(const X3DRect& inRect) const {
  return FinishCloneWithoutCopy(new XARGB32Volume(inRect));
}

bool XARGB32Volume::IsPlaneRendererSupported(const XImageRenderer& inRenderer) const {
  return XIsPlaneRendererOfKind(inRenderer, XRendererKind::kARGB32);
}

XString XARGB32Volume::GetChannelName(UInt32 inChannel) const { return ColourChannelName(inChannel); }

void XARGB32Volume::ReadARGB32Layer(XStream& inStream, XOptions) {
  if (GetStreamForm(inStream) == kLayeredForm) CheckClassVersion(ReadClassVersion(inStream), GetClassVersion());
}

void XARGB32Volume::ReadARGB32ImageStream(XStream& inStream, bool inHeaderOnly) {
  ReadLegacyLossyImage(inStream, inHeaderOnly);
}

void XARGB32Volume::ReadStream2(XStream& inStream, XOptions inOptions) {
  ReadStream2_XARGB32Volume(inStream, inOptions);
}

void XARGB32Volume::ReadStream2_XARGB32Volume(XStream& inStream, XOptions inOptions) {
  ReadStream2_XPackedVolume(inStream, inOptions);
  if (GetStreamForm(inStream) == kLegacyLossyForm)
    ReadARGB32ImageStream(inStream, inOptions == kReadHeaderOnly);
  else
    ReadARGB32Layer(inStream, inOptions);
}

void XARGB32Volume::WriteStream2(XStream& inStream, XOptions inOptions) const {
  XPackedVolume<XARGB32Colour>::WriteStream2(inStream, inOptions);
  WriteStreamSelf(inStream);
}

void XARGB32Volume::WriteStreamSelf(XStream& inStream) const { inStream.WriteVersion(GetClassVersion()); }

bool XARGB32Volume::PreReadStream(XStream& inStream, const XVersion& inVersion, XOptions inOptions) {
  if (inVersion.GetClassID() != kLossyClassID) return true;
  ReadLossyBody(inStream, inOptions != kReadHeaderOnly);
  return false;
}

void XARGB32Volume::WriteStreamLossyCompressed(XStream& inStream, SInt32 inQuality) const {
  WriteLossyForm(inStream, kLossyClassID, inQuality);
}

void XARGB32Volume::FillAlphaChannel(UInt8 inValue, const X3DRegion* inRegion, const UInt8* inOutside) {
  XLock lock(*this, kLockReadWrite);
  const X3DRect& b = GetBounds();
  XRegionRuns runs(inRegion, b);
  const X3DRect& box = runs.GetBox();
  for (SInt32 z = b.front; z < b.back; ++z) {
    for (SInt32 y = b.top; y < b.bottom; ++y) {
      XARGB32Colour* row = GetVoxelPtr(0, y, z);
      if (inOutside)
        for (SInt32 x = b.left; x < b.right; ++x) row[x].alpha = *inOutside;
      if (runs.IsEmpty() || z < box.front || z >= box.back || y < box.top || y >= box.bottom) continue;
      runs.ForEachRun(y, z, [&](SInt32 inBegin, SInt32 inEnd) {
        for (SInt32 x = inBegin; x < inEnd; ++x) row[x].alpha = inValue;
      });
    }
  }
}

XRGBFloat32Colour XARGB32Volume::GetInterpolatedVoxel(Float32 inX, Float32 inY, Float32 inZ) const {
  return InterpolateColour(*this, inX, inY, inZ);
}

// ================================================================ XBGRA32Volume

XBGRA32Volume::XBGRA32Volume() { AttachPlaneRenderer(XMakePlaneRenderer(XRendererKind::kBGRA32)); }

XBGRA32Volume::XBGRA32Volume(UInt32 inWidth, UInt32 inHeight, UInt32 inDepth)
    : XPackedVolume<XBGRA32Colour>(inWidth, inHeight, inDepth) {
  AttachPlaneRenderer(XMakePlaneRenderer(XRendererKind::kBGRA32));
}

XBGRA32Volume::XBGRA32Volume(const X3DRect& inBounds) : XPackedVolume<XBGRA32Colour>(inBounds) {
  AttachPlaneRenderer(XMakePlaneRenderer(XRendererKind::kBGRA32));
}

XBGRA32Volume::XBGRA32Volume(XStream& inStream) : XPackedVolume<XBGRA32Colour>(inStream) {
  AttachPlaneRenderer(XMakePlaneRenderer(XRendererKind::kBGRA32));
}

XBGRA32Volume* XBGRA32Volume::CloneWithoutCopy(const X3DRect& inRect) const {
  return FinishCloneWithoutCopy(new XBGRA32Volume(inRect));
}

bool XBGRA32Volume::IsPlaneRendererSupported(const XImageRenderer& inRenderer) const {
  return XIsPlaneRendererOfKind(inRenderer, XRendererKind::kBGRA32);
}

// ================================================================ XRGB48Volume

XRGB48Volume::XRGB48Volume() { AttachPlaneRenderer(XMakePlaneRenderer(XRendererKind::kRGB48)); }

XRGB48Volume::XRGB48Volume(UInt32 inWidth, UInt32 inHeight, UInt32 inDepth)
    : XPackedVolume<XRGB48Colour>(inWidth, inHeight, inDepth) {
  AttachPlaneRenderer(XMakePlaneRenderer(XRendererKind::kRGB48));
}

XRGB48Volume::XRGB48Volume(const X3DRect& inBounds) : XPackedVolume<XRGB48Colour>(inBounds) {
  AttachPlaneRenderer(XMakePlaneRenderer(XRendererKind::kRGB48));
}

XRGB48Volume::XRGB48Volume(XStream& inStream) : XPackedVolume<XRGB48Colour>(inStream) {
  ReadRGB48Layer(inStream, kReadAll);
  AttachPlaneRenderer(XMakePlaneRenderer(XRendererKind::kRGB48));
}

XRGB48Volume* XRGB48Volume::CloneWithoutCopy(const X3DRect& inRect) const {
  return FinishCloneWithoutCopy(new XRGB48Volume(inRect));
}

bool XRGB48Volume::IsPlaneRendererSupported(const XImageRenderer& inRenderer) const {
  return XIsPlaneRendererOfKind(inRenderer, XRendererKind::kRGB48);
}

XString XRGB48Volume::GetChannelName(UInt32 inChannel) const { return ColourChannelName(inChannel); }

// No body; the packed layer has set the swap for a stream of the other byte order.
void XRGB48Volume::ReadRGB48Layer(XStream& inStream, XOptions) {
  if (GetStreamForm(inStream) == kLayeredForm) CheckClassVersion(ReadClassVersion(inStream), GetClassVersion());
}

void XRGB48Volume::ReadStream2(XStream& inStream, XOptions inOptions) {
  ReadStream2_XRGB48Volume(inStream, inOptions);
}

void XRGB48Volume::ReadStream2_XRGB48Volume(XStream& inStream, XOptions inOptions) {
  ReadStream2_XPackedVolume(inStream, inOptions);
  ReadRGB48Layer(inStream, inOptions);
}

void XRGB48Volume::WriteStream2(XStream& inStream, XOptions inOptions) const {
  XPackedVolume<XRGB48Colour>::WriteStream2(inStream, inOptions);
  WriteStreamSelf(inStream);
}

void XRGB48Volume::WriteStreamSelf(XStream& inStream) const { inStream.WriteVersion(GetClassVersion()); }

XRGBFloat32Colour XRGB48Volume::GetInterpolatedVoxel(Float32 inX, Float32 inY, Float32 inZ) const {
  return InterpolateColour(*this, inX, inY, inZ);
}

}  // namespace mirelan
