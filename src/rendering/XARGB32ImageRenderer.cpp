#include "rendering/XARGB32ImageRenderer.h"

#include "core/XStream.h"

namespace mirelan {

XARGB32ImageRenderer::XARGB32ImageRenderer(XStream& inStream) {
  ReadStream2_XARGB32ImageRenderer(inStream, kReadAll);
}

void XARGB32ImageRenderer::ReadStream2_XARGB32ImageRenderer(XStream& inStream, XOptions inOptions) {
  ReadStream2_XImageRenderer(inStream, inOptions);
  ReadConcreteWord(inStream, GetClassVersion());
}

void XARGB32ImageRenderer::ReadStream2(XStream& inStream, XOptions inOptions) {
  ReadStream2_XARGB32ImageRenderer(inStream, inOptions);
}

void XARGB32ImageRenderer::WriteStream2(XStream& inStream, XOptions inOptions) const {
  XImageRenderer::WriteStream2(inStream, inOptions);
  inStream.WriteVersion(GetClassVersion());
}

XBGRA32ImageRenderer::XBGRA32ImageRenderer(XStream& inStream) {
  ReadStream2_XBGRA32ImageRenderer(inStream, kReadAll);
}

void XBGRA32ImageRenderer::ReadStream2_XBGRA32ImageRenderer(XStream& inStream, XOptions inOptions) {
  ReadStream2_XImageRenderer(inStream, inOptions);
  ReadConcreteWord(inStream, GetClassVersion());
}

void XBGRA32ImageRenderer::ReadStream2(XStream& inStream, XOptions inOptions) {
  ReadStream2_XBGRA32ImageRenderer(inStream, inOptions);
}

void XBGRA32ImageRenderer::WriteStream2(XStream& inStream, XOptions inOptions) const {
  XImageRenderer::WriteStream2(inStream, inOptions);
  inStream.WriteVersion(GetClassVersion());
}

}  // namespace mirelan
