#include "volume/internal/XLossyVolumeCodec.h"

#include <atomic>

#include "core/XException.h"

namespace mirelan {

namespace {

std::atomic<XLossyVolumeEncoder> sEncoder{nullptr};
std::atomic<XLossyVolumeDecoder> sDecoder{nullptr};

}  // namespace

void XSetLossyVolumeCodec(XLossyVolumeEncoder inEncoder, XLossyVolumeDecoder inDecoder) {
  sEncoder = inEncoder;
  sDecoder = inDecoder;
}

void XEncodeLossyVolume(XStream& ioStream, const XVolume& inVolume, SInt32 inQuality) {
  XLossyVolumeEncoder encoder = sEncoder;
  if (!encoder) throw XException(kErrGeneral, "no lossy volume coder is installed");
  encoder(ioStream, inVolume, inQuality);
}

void XDecodeLossyVolume(XStream& ioStream, XVolume& ioVolume) {
  XLossyVolumeDecoder decoder = sDecoder;
  if (!decoder) throw XException(kErrGeneral, "no lossy volume decoder is installed");
  decoder(ioStream, ioVolume);
}

}  // namespace mirelan
