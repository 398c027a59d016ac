#include "volume/XGrey16Volume.h"

#include "core/XStream.h"

namespace mirelan {

XGrey16Volume::XGrey16Volume() { AttachPlaneRenderer(XMakePlaneRenderer(XRendererKind::kGrey16)); }

XGrey16Volume::XGrey16Volume(UInt32 inWidth, UInt32 inHeight, UInt32 inDepth)
    : XIntegerVolume<UInt16>(inWidth, inHeight, inDepth) {
  AttachPlaneRenderer(XMakePlaneRenderer(XRendererKind::kGrey16));
}

XGrey16Volume::XGrey16Volume(const X3DRect& inBounds) : XIntegerVolume<UInt16>(inBounds) {
  AttachPlaneRenderer(XMakePlaneRenderer(XRendererKind::kGrey16));
}

XGrey16Volume::XGrey16Volume(XStream& inStream) : XIntegerVolume<UInt16>(inStream) {
  ReadGrey16Layer(inStream, kReadAll);
  AttachPlaneRenderer(XMakePlaneRenderer(XRendererKind::kGrey16));
  AdoptLegacyLUT(TakeLegacyLUT(), XRendererKind::kGrey16);
}

XGrey16Volume* XGrey16Volume::CloneWithoutCopy(const X3DRect& inRect) const {
  return FinishCloneWithoutCopy(new XGrey16Volume(inRect));
}

bool XGrey16Volume::IsPlaneRendererSupported(const XImageRenderer& inRenderer) const {
  return XIsPlaneRendererOfKind(inRenderer, XRendererKind::kGrey16);
}

// The layer has no body; the packed layer has already set the swap for a
// stream of the other byte order.
void XGrey16Volume::ReadGrey16Layer(XStream& inStream, XOptions) {
  if (GetStreamForm(inStream) == kLayeredForm) CheckClassVersion(ReadClassVersion(inStream), GetClassVersion());
}

void XGrey16Volume::ReadStream2(XStream& inStream, XOptions inOptions) {
  ReadStream2_XGrey16Volume(inStream, inOptions);
}

void XGrey16Volume::ReadStream2_XGrey16Volume(XStream& inStream, XOptions inOptions) {
  ReadStream2_XIntegerVolume(inStream, inOptions);
  ReadGrey16Layer(inStream, inOptions);
  AdoptLegacyLUT(TakeLegacyLUT(), XRendererKind::kGrey16);
}

void XGrey16Volume::WriteStream2(XStream& inStream, XOptions inOptions) const {
  XIntegerVolume<UInt16>::WriteStream2(inStream, inOptions);
  WriteStreamSelf(inStream);
}

void XGrey16Volume::WriteStreamSelf(XStream& inStream) const { inStream.WriteVersion(GetClassVersion()); }

}  // namespace mirelan
