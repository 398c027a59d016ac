// TIFF stacks in and out through libtiff: multi-page files of 8-, 16- and
// 32-bit grey, 32-bit float and RGB pages, in strips or tiles, of either byte
// order, classic or BigTIFF, compressed by any of libtiff's codecs. Planes are
// placed by the ImageJ description or the OME-XML of the file; the voxel size
// comes from there or from the resolution tags.
#pragma once

#include "core/XExport.h"
#include "core/XFile.h"
#include "storage/XImageStack.h"

namespace mirelan {

enum XTIFFCompression : UInt8 { kTIFFUncompressed = 0, kTIFFDeflate = 1, kTIFFLZW = 2, kTIFFZstd = 3 };

struct MIRELAN_EXPORT XTIFFWriteOptions {
  XTIFFCompression itsCompression = kTIFFUncompressed;
  // BigTIFF is chosen by itself for stacks beyond 4 GB; this forces it.
  bool itsBigTIFF = false;
};

class MIRELAN_EXPORT XTIFFCodec {
 public:
  // Pixel types: 1-bit (read as 0 and 255), 8-bit and 16-bit grey, 32-bit
  // unsigned grey, and 32- or 64-bit float or signed integers (read as float)
  // give one volume per channel; 8-bit RGB(A) gives ARGB32 and 16-bit RGB
  // gives RGB48 volumes. Palette pages are read as their index values. A grey
  // page with several samples holds that many channels. Throws XException
  // 1003 (the system refused the file), 1020 (damaged or no TIFF) or 1021
  // (a layout this reader does not follow), each naming the file.
  static XImageStack Read(const XFileSpec& inFile);
  // The same from a TIFF file in memory; inName names it in messages.
  static XImageStack Read(const void* inData, UInt64 inBytes, const XString& inName);

  // Pages in channel, slice, timepoint order under an ImageJ description,
  // with the voxel size in the resolution tags and the description. Masks and
  // Grey8 are written as 8-bit, ARGB32 and BGRA32 as 8-bit RGB (alpha is not
  // kept), RGB48 as 16-bit RGB. The file appears only when it is complete.
  static void Write(const XImageStack& inStack, const XFileSpec& inFile,
                    const XTIFFWriteOptions& inOptions = XTIFFWriteOptions());
};

}  // namespace mirelan
