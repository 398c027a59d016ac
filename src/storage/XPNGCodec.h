// PNG pictures: renderings out (8-bit grey, RGB or RGBA), and single planes
// in (8- or 16-bit grey and colour), through libpng.
#pragma once

#include "core/XExport.h"
#include "core/XFile.h"
#include "storage/XImageStack.h"

namespace mirelan {

class XARGB32Volume;

class MIRELAN_EXPORT XPNGCodec {
 public:
  // One plane as a timepoint of one channel of depth 1: grey files give
  // Grey8 or Grey16 volumes, colour files ARGB32 or RGB48 (alpha kept in
  // ARGB32, opaque where the file has none). Palette files are expanded to
  // colour. Throws XException 1003, 1020 or 1021 naming the file.
  static XImageStack Read(const XFileSpec& inFile);

  // Plane inZ of a colour volume: RGB, or RGBA when inKeepAlpha.
  static void Write(const XARGB32Volume& inVolume, SInt32 inZ, const XFileSpec& inFile, bool inKeepAlpha = false);
  // Plane inZ of a Grey8 or Grey16 volume (masks as Grey8).
  static void WriteGrey(const XVolume& inVolume, SInt32 inZ, const XFileSpec& inFile);
};

}  // namespace mirelan
