// Fills an ARGB32 volume from a packed buffer of 3-byte pixels in the order
// blue, green, red (the layout of 24-bit device-independent bitmaps).
#pragma once

#include "core/XExport.h"
#include "core/XTypes.h"

namespace mirelan {

class XARGB32Volume;

class MIRELAN_EXPORT XRGB24ToARGB32Tool {
 public:
  XRGB24ToARGB32Tool() = default;
  virtual ~XRGB24ToARGB32Tool();

  // inRowBytes from one buffer row to the next; the buffer holds a row for
  // every row of every plane of ioDest, planes one after the other. Each
  // voxel gets red, green and blue from the pixel and alpha 0: the 32-bit
  // word is the pixel's blue, green, red in its three high bytes.
  static void BGR24ToARGB32(const UInt8* inSource, UInt32 inRowBytes, XARGB32Volume& ioDest);
  // Rows packed without gaps: inRowBytes = width * 3.
  static void BGR24ToARGB32(const UInt8* inSource, XARGB32Volume& ioDest);
};

}  // namespace mirelan
