#include "rendering/XGrey16ImageRenderer.h"

#include "core/XStream.h"

namespace mirelan {

XGrey16ImageRenderer::XGrey16ImageRenderer(const XIntToColourLUT& inLUT) {
  itsWhite = 65535.0;
  ApplyLUT(inLUT);
}

XGrey16ImageRenderer::XGrey16ImageRenderer(XStream& inStream) {
  itsWhite = 65535.0;
  ReadStream2_XGrey16ImageRenderer(inStream, kReadAll);
}

void XGrey16ImageRenderer::ReadStream2_XGrey16ImageRenderer(XStream& inStream, XOptions inOptions) {
  ReadStream2_XGreyImageRenderer(inStream, inOptions);
  ReadConcreteWord(inStream, GetClassVersion());
}

void XGrey16ImageRenderer::ReadStream2(XStream& inStream, XOptions inOptions) {
  ReadStream2_XGrey16ImageRenderer(inStream, inOptions);
}

void XGrey16ImageRenderer::WriteStream2(XStream& inStream, XOptions inOptions) const {
  XGreyImageRenderer<UInt16>::WriteStream2(inStream, inOptions);
  inStream.WriteVersion(GetClassVersion());
}

}  // namespace mirelan
