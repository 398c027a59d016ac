#include "volume/XFPVolume.h"

#include "core/XStream.h"

namespace mirelan {

XFPVolume::XFPVolume() { AttachPlaneRenderer(XMakePlaneRenderer(XRendererKind::kFP)); }

XFPVolume::XFPVolume(UInt32 inWidth, UInt32 inHeight, UInt32 inDepth)
    : XNumberVolume<Float32>(inWidth, inHeight, inDepth) {
  AttachPlaneRenderer(XMakePlaneRenderer(XRendererKind::kFP));
}

XFPVolume::XFPVolume(const X3DRect& inBounds) : XNumberVolume<Float32>(inBounds) {
  AttachPlaneRenderer(XMakePlaneRenderer(XRendererKind::kFP));
}

XFPVolume::XFPVolume(XStream& inStream) : XNumberVolume<Float32>(inStream) {
  ReadFPLayer(inStream, kReadAll);
  AttachPlaneRenderer(XMakePlaneRenderer(XRendererKind::kFP));
}

XFPVolume* XFPVolume::CloneWithoutCopy(const X3DRect& inRect) const {
  return FinishCloneWithoutCopy(new XFPVolume(inRect));
}

bool XFPVolume::IsPlaneRendererSupported(const XImageRenderer& inRenderer) const {
  return XIsPlaneRendererOfKind(inRenderer, XRendererKind::kFP);
}

// No body; the packed layer has set the swap for a stream of the other byte order.
void XFPVolume::ReadFPLayer(XStream& inStream, XOptions) {
  if (GetStreamForm(inStream) == kLayeredForm) CheckClassVersion(ReadClassVersion(inStream), GetClassVersion());
}

void XFPVolume::ReadStream2(XStream& inStream, XOptions inOptions) { ReadStream2_XFPVolume(inStream, inOptions); }

void XFPVolume::ReadStream2_XFPVolume(XStream& inStream, XOptions inOptions) {
  ReadStream2_XNumberVolume(inStream, inOptions);
  ReadFPLayer(inStream, inOptions);
}

void XFPVolume::WriteStream2(XStream& inStream, XOptions inOptions) const {
  XNumberVolume<Float32>::WriteStream2(inStream, inOptions);
  WriteStreamSelf(inStream);
}

void XFPVolume::WriteStreamSelf(XStream& inStream) const { inStream.WriteVersion(GetClassVersion()); }

}  // namespace mirelan
