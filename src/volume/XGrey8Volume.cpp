#include "volume/XGrey8Volume.h"

#include "core/XStream.h"
#include "volume/XColourVolumes.h"

namespace mirelan {

XGrey8Volume::XGrey8Volume() { AttachPlaneRenderer(XMakePlaneRenderer(XRendererKind::kGrey8)); }

XGrey8Volume::XGrey8Volume(UInt32 inWidth, UInt32 inHeight, UInt32 inDepth)
    : XIntegerVolume<UInt8>(inWidth, inHeight, inDepth) {
  AttachPlaneRenderer(XMakePlaneRenderer(XRendererKind::kGrey8));
}

XGrey8Volume::XGrey8Volume(const X3DRect& inBounds) : XIntegerVolume<UInt8>(inBounds) {
  AttachPlaneRenderer(XMakePlaneRenderer(XRendererKind::kGrey8));
}

XGrey8Volume::XGrey8Volume(XStream& inStream, bool inSkipData) : XIntegerVolume<UInt8>(inStream) {
  // The class now being created names the lossy form. Peeking for a tag
  // instead could take a width that happens to equal a grey class id.
  if (GetStreamForm(inStream) == kLossyForm)
    ReadLossyBody(inStream, !inSkipData);
  else
    ReadGrey8Layer(inStream, kReadAll);
  AttachPlaneRenderer(XMakePlaneRenderer(XRendererKind::kGrey8));
  AdoptLegacyLUT(TakeLegacyLUT(), XRendererKind::kGrey8);
}

XGrey8Volume* XGrey8Volume::CloneWithoutCopy(const X3DRect& inRect) const {
  return FinishCloneWithoutCopy(new XGrey8Volume(inRect));
}

bool XGrey8Volume::IsPlaneRendererSupported(const XImageRenderer& inRenderer) const {
  return XIsPlaneRendererOfKind(inRenderer, XRendererKind::kGrey8);
}

void XGrey8Volume::ReadGrey8Layer(XStream& inStream, XOptions) {
  if (GetStreamForm(inStream) == kLayeredForm) CheckClassVersion(ReadClassVersion(inStream), GetClassVersion());
}

void XGrey8Volume::ReadStream2(XStream& inStream, XOptions inOptions) {
  ReadStream2_XGrey8Volume(inStream, inOptions);
}

void XGrey8Volume::ReadStream2_XGrey8Volume(XStream& inStream, XOptions inOptions) {
  // Only the stream constructor knows the lossy grey form; to the layer
  // readers its body holds no tags, which is a stream of another class.
  if (GetStreamForm(inStream) == kLossyForm)
    throw XException(kErrWrongClass, "the lossy grey form is read by the stream constructor");
  ReadStream2_XIntegerVolume(inStream, inOptions);
  ReadGrey8Layer(inStream, inOptions);
  AdoptLegacyLUT(TakeLegacyLUT(), XRendererKind::kGrey8);
}

void XGrey8Volume::WriteStream2(XStream& inStream, XOptions inOptions) const {
  XIntegerVolume<UInt8>::WriteStream2(inStream, inOptions);
  WriteStreamSelf(inStream);
}

void XGrey8Volume::WriteStreamSelf(XStream& inStream) const { inStream.WriteVersion(GetClassVersion()); }

bool XGrey8Volume::PreReadStream(XStream& inStream, const XVersion& inVersion, XOptions inOptions) {
  if (inVersion.GetClassID() != XARGB32Volume::kLossyClassID) return true;
  ReadLossyBody(inStream, inOptions != kReadHeaderOnly);
  return false;
}

void XGrey8Volume::WriteStreamLossyCompressed(XStream& inStream, SInt32 inQuality) const {
  WriteLossyForm(inStream, kLossyClassID, inQuality);
}

}  // namespace mirelan
