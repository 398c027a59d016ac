#include "volume/XGrey32Volume.h"

#include "core/XStream.h"

namespace mirelan {

XGrey32Volume::XGrey32Volume() = default;

XGrey32Volume::XGrey32Volume(UInt32 inWidth, UInt32 inHeight, UInt32 inDepth)
    : XIntegerVolume<UInt32>(inWidth, inHeight, inDepth) {}

XGrey32Volume::XGrey32Volume(const X3DRect& inBounds) : XIntegerVolume<UInt32>(inBounds) {}

XGrey32Volume::XGrey32Volume(XStream& inStream) : XIntegerVolume<UInt32>(inStream) {
  ReadGrey32Layer(inStream, kReadAll);
  // No renderer shows 32-bit grey: a stored table has nothing to become.
  AdoptLegacyLUT(TakeLegacyLUT(), XRendererKind::kNone);
}

XGrey32Volume* XGrey32Volume::CloneWithoutCopy(const X3DRect& inRect) const {
  return FinishCloneWithoutCopy(new XGrey32Volume(inRect));
}

void XGrey32Volume::ReadGrey32Layer(XStream& inStream, XOptions) {
  if (GetStreamForm(inStream) == kLayeredForm) CheckClassVersion(ReadClassVersion(inStream), GetClassVersion());
}

void XGrey32Volume::ReadStream2(XStream& inStream, XOptions inOptions) {
  ReadStream2_XGrey32Volume(inStream, inOptions);
}

void XGrey32Volume::ReadStream2_XGrey32Volume(XStream& inStream, XOptions inOptions) {
  ReadStream2_XIntegerVolume(inStream, inOptions);
  ReadGrey32Layer(inStream, inOptions);
  AdoptLegacyLUT(TakeLegacyLUT(), XRendererKind::kNone);
}

void XGrey32Volume::WriteStream2(XStream& inStream, XOptions inOptions) const {
  XIntegerVolume<UInt32>::WriteStream2(inStream, inOptions);
  WriteStreamSelf(inStream);
}

void XGrey32Volume::WriteStreamSelf(XStream& inStream) const { inStream.WriteVersion(GetClassVersion()); }

}  // namespace mirelan
