#include "rendering/XGrey8ImageRenderer.h"

#include "core/XStream.h"

namespace mirelan {

XGrey8ImageRenderer::XGrey8ImageRenderer(const XIntToColourLUT& inLUT) { ApplyLUT(inLUT); }

XGrey8ImageRenderer::XGrey8ImageRenderer(XStream& inStream) {
  ReadStream2_XGrey8ImageRenderer(inStream, kReadAll);
}

void XGrey8ImageRenderer::ReadStream2_XGrey8ImageRenderer(XStream& inStream, XOptions inOptions) {
  ReadStream2_XGreyImageRenderer(inStream, inOptions);
  ReadConcreteWord(inStream, GetClassVersion());
}

void XGrey8ImageRenderer::ReadStream2(XStream& inStream, XOptions inOptions) {
  ReadStream2_XGrey8ImageRenderer(inStream, inOptions);
}

void XGrey8ImageRenderer::WriteStream2(XStream& inStream, XOptions inOptions) const {
  XGreyImageRenderer<UInt8>::WriteStream2(inStream, inOptions);
  inStream.WriteVersion(GetClassVersion());
}

}  // namespace mirelan
