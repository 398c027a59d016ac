// Image files by kind: a TIFF stack, the library's own stream file of a stack
// (extension "mis"), or a PNG picture. Reading tells the kind by the first
// bytes of the file, writing by the name's extension.
#pragma once

#include "core/XExport.h"
#include "core/XFile.h"
#include "storage/XImageStack.h"
#include "storage/XTIFFCodec.h"

namespace mirelan {

class XStream;

enum class XStackFileKind : UInt8 { kTIFF, kStream, kPNG, kUnknown };

class MIRELAN_EXPORT XStackFile {
 public:
  static constexpr const char* kStreamExtension = "mis";

  // By content. Throws XException 1003, 1020 or 1021 naming the file; a file
  // of no kind known here is 1021.
  static XImageStack Read(const XFileSpec& inFile);
  static XStackFileKind KindOfContent(const XFileSpec& inFile);
  // By extension: "tif", "tiff" (also "ome.tif"), "mis" or "png"; kUnknown otherwise.
  static XStackFileKind KindOfName(const XFileSpec& inFile);

  // A TIFF or stream file, chosen by the extension; the file appears only
  // when complete. PNG holds renderings only: write those with XPNGCodec.
  static void Write(const XImageStack& inStack, const XFileSpec& inFile,
                    const XTIFFWriteOptions& inTIFFOptions = XTIFFWriteOptions());

  // The stream form of a stack, behind a stream header: timepoints and
  // channels (Write32), the unit (WriteString), the time step in seconds
  // (WriteFloat64S), the channel names (WriteString each), then the volumes
  // as objects, timepoint by timepoint.
  static void WriteStream(const XImageStack& inStack, XStream& ioStream);
  static XImageStack ReadStream(XStream& ioStream);
};

}  // namespace mirelan
