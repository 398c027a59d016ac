// Writing single planes as version 2 PICT pictures (without the 512-byte
// file header). 16-bit grey goes into the library's picture comments.
#pragma once

#include <vector>

#include "core/XExport.h"
#include "core/XTypes.h"

namespace mirelan {

class XStream;
class XVolume;
class XMaskVolume;
class XGrey8Volume;
class XGrey16Volume;
class XARGB32Volume;
class XIntToColourLUT;

// The stream must be big-endian. A mask, 8-bit or 16-bit grey plane is
// written twice: as a picture of its own type, then as a colour picture
// behind it for programs that know only the public format. A decoder given
// the whole length reads the first.
class MIRELAN_EXPORT XPICTEncoder {
 public:
  // A plane whose corners do not fit 16-bit coordinates, or whose packed
  // row would not fit its count, cannot be a picture: XException 1021.
  explicit XPICTEncoder(XStream& ioStream);

  // Writes the plane; returns the bytes of the last picture written.
  UInt64 WriteVolume(const XVolume& inVolume);

  // PackBits: runs of three or more equal bytes (at most 128) become a
  // count byte 1 - length and the value, other bytes literals of at most
  // 128 behind a count byte length - 1. Runs are looked for only before the
  // last two bytes, which are always literal. Returns the bytes written to
  // outPacked, which must hold inLength + inLength / 128 + 2.
  static UInt32 PackBits(const UInt8* inSource, UInt8* outPacked, UInt32 inLength);

 protected:
  void WriteHeader(const XVolume& inVolume);
  void WriteMaskRLE(const XMaskVolume& inVolume);
  void WriteGrey8RLE(const XGrey8Volume& inVolume);
  void WriteGrey16(const XGrey16Volume& inVolume);
  void WriteARGB32RLE(const XARGB32Volume& inVolume);

 private:
  struct XPixMapFields;
  void WritePixMap(const XVolume& inVolume, const XPixMapFields& inFields);
  void WriteColourTable(const XIntToColourLUT& inLUT);
  void WriteRects(const XVolume& inVolume);
  // Packs a row and writes it behind its count.
  void WritePackedRow(const UInt8* inRow, UInt32 inLength, UInt32 inRowBytes);
  void WriteDeepBlocks(UInt32 inSelector, const UInt8* inData, UInt64 inBytes, UInt16 inBitDepth);
  void WriteAlignment();
  void WriteEnd();

  XStream& itsStream;
  UInt64 itsStart = 0;
  std::vector<UInt8> itsRow;
  std::vector<UInt8> itsPacked;
};

}  // namespace mirelan
