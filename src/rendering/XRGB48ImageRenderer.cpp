#include "rendering/XRGB48ImageRenderer.h"

#include "core/XStream.h"

namespace mirelan {

XRGB48ImageRenderer::XRGB48ImageRenderer(XStream& inStream) {
  itsWhite = 65535.0;
  ReadStream2_XRGB48ImageRenderer(inStream, kReadAll);
}

void XRGB48ImageRenderer::ReadStream2_XRGB48ImageRenderer(XStream& inStream, XOptions inOptions) {
  ReadStream2_XImageRenderer(inStream, inOptions);
  ReadConcreteWord(inStream, GetClassVersion());
}

void XRGB48ImageRenderer::ReadStream2(XStream& inStream, XOptions inOptions) {
  ReadStream2_XRGB48ImageRenderer(inStream, inOptions);
}

void XRGB48ImageRenderer::WriteStream2(XStream& inStream, XOptions inOptions) const {
  XImageRenderer::WriteStream2(inStream, inOptions);
  inStream.WriteVersion(GetClassVersion());
}

}  // namespace mirelan
