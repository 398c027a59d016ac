// The image coder of the lossy volume form. The framing of that form belongs
// to the volumes; the coding itself lives in the storage layer, which installs
// it here so that the volume classes do not depend on it.
#pragma once

#include "core/XTypes.h"

namespace mirelan {

class XStream;
class XVolume;

// Writes the volume's voxels as one coded image at the stream's position.
using XLossyVolumeEncoder = void (*)(XStream& ioStream, const XVolume& inVolume, SInt32 inQuality);
// Decodes the image at the stream's position into the allocated volume.
using XLossyVolumeDecoder = void (*)(XStream& ioStream, XVolume& ioVolume);

void XSetLossyVolumeCodec(XLossyVolumeEncoder inEncoder, XLossyVolumeDecoder inDecoder);
// Both throw XException 1006 when no coder is installed.
void XEncodeLossyVolume(XStream& ioStream, const XVolume& inVolume, SInt32 inQuality);
void XDecodeLossyVolume(XStream& ioStream, XVolume& ioVolume);

}  // namespace mirelan
