// Reading single planes from version 2 PICT pictures (without the 512-byte
// file header), pixel maps only, and the library's 16-bit grey comments.
#pragma once

#include <memory>
#include <vector>

#include "core/XExport.h"
#include "core/XTypes.h"
#include "geometry/XRect.h"

namespace mirelan {

class XStream;
class XVolume;
class XGrey16Volume;
class XARGB32Volume;
class XMemoryHandle;
class XIntToColourLUT;
class XARGB32Colour;

// The host first calls ReadInfo, makes a volume for the depth and rectangle
// (1: XMaskVolume, 8: XGrey8Volume, kDeepGreyDepth: XGrey16Volume, any
// other: XARGB32Volume) and then calls ReadToVolume. The stream must be
// big-endian; both calls leave it at the picture's start plus its length.
class MIRELAN_EXPORT XPICTDecoder {
 public:
  // Error numbers.
  static constexpr SInt32 kErrPICTDamaged = 1050;         // damage no other number names
  static constexpr SInt32 kErrPICTVersion = 1051;         // version word not 0x02FF
  static constexpr SInt32 kErrPICTPacking = 1052;         // unpacked bits, or an unknown pack type
  static constexpr SInt32 kErrPICTNoDeepTable = 1053;     // a table block before any table
  static constexpr SInt32 kErrPICTPixelSize = 1054;       // a packed map of other than 1 or 8 bits
  static constexpr SInt32 kErrPICTNoImage = 1055;         // the picture ended before any image
  static constexpr SInt32 kErrPICTQuickTime = 1056;       // QuickTime-compressed data
  static constexpr SInt32 kErrPICTVolumeClass = 1057;     // the target volume is of the wrong class
  // The depth ReadInfo gives for the library's 16-bit grey pictures: a
  // convention, no pixel size.
  static constexpr UInt32 kDeepGreyDepth = 144;

  XPICTDecoder(XStream& ioStream, UInt32 inLength);
  ~XPICTDecoder();
  XPICTDecoder(const XPICTDecoder&) = delete;
  XPICTDecoder& operator=(const XPICTDecoder&) = delete;

  // The image's rectangle and depth, read from the current position.
  void ReadInfo(XRect& outRect, UInt32& outDepth);
  // Decodes the picture at the current position into ioVolume.
  void ReadToVolume(XVolume& ioVolume);

 protected:
  // The fields of a pixel map that reading needs.
  struct XPixMap {
    XRect bounds;
    UInt32 rowBytes = 0;
    UInt16 packType = 0;
    UInt16 pixelSize = 0;
  };

  XRect ReadHeader();
  UInt16 ReadOpcode();
  XPixMap ReadPixMap(bool inWithBase);
  void SkipOpcode(UInt16 inOpcode);
  // True when reading ends.
  bool ProcessOpcode(UInt16 inOpcode);

  [[noreturn]] void ReadBits();
  void ReadPackBits(bool inHasRegion);
  void ReadPacked8(const XPixMap& inMap, bool inByteCounts);
  void ReadPacked1(const XPixMap& inMap, bool inByteCounts);
  void ReadColourTable(XIntToColourLUT& ioLUT);
  void ReadDirectBits(bool inHasRegion);
  void ReadDirect16NoPack(const XPixMap& inMap, XARGB32Volume& ioImage);
  void ReadDirect32NoPack(const XPixMap& inMap, XARGB32Volume& ioImage);
  void ReadDirect32PadRemoved(const XPixMap& inMap, XARGB32Volume& ioImage);
  void ReadDirect16RLE(const XPixMap& inMap, XARGB32Volume& ioImage);
  void ReadDirect32RLE(const XPixMap& inMap, XARGB32Volume& ioImage);
  static void Decode16To32(UInt16 inPixel, XARGB32Colour& outColour);

  // Reads inByteCount packed bytes and unpacks at most inCapacity bytes (or
  // 16-bit units) into outData; the surplus is dropped. Returns the count
  // unpacked.
  UInt32 UnpackBits(UInt32 inByteCount, UInt32 inCapacity, UInt8* outData);
  UInt32 UnpackBits16(UInt32 inByteCount, UInt32 inCapacity, UInt16* outData);

  void ReadPicComment();
  void ReadDeepColourLUT();
  void ReadDeepData(UInt32 inLength);
  void ReadDeepLUT(UInt32 inLength);
  void FinishGrey16(XGrey16Volume& ioVolume);

 private:
  UInt64 GetEnd() const { return itsStart + itsLength; }
  // The count before a packed row.
  UInt32 ReadRowCount(bool inByteCounts);
  // Row bytes as at least the width needs: pictures wider than the 14 bits
  // of the field allow are written with its low bits.
  static UInt32 RowBytesOf(const XPixMap& inMap);
  void SkipRegion();
  void SkipPixPattern();
  void SkipPackedRows(const XPixMap& inMap);
  // Reads packed bytes into itsPackedRow.
  const UInt8* ReadPackedRow(UInt32 inByteCount);

  XStream& itsStream;
  UInt32 itsLength;
  UInt64 itsStart = 0;
  bool itsImageRead = false;
  XVolume* itsVolume = nullptr;
  UInt64 itsDeepDataPosition = 0;
  UInt64 itsDeepLUTPosition = 0;
  std::unique_ptr<XMemoryHandle> itsDeepLUT;
  std::unique_ptr<XIntToColourLUT> itsDeepColourLUT;
  UInt32 itsBitDepth = 0;
  // Scratch of the row readers.
  std::vector<UInt8> itsPackedRow;
  std::vector<UInt8> itsRow;
};

}  // namespace mirelan
