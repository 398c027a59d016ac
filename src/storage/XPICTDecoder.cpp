#include "storage/XPICTDecoder.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "core/XMemoryHandle.h"
#include "core/XStream.h"
#include "rendering/XGrey8ImageRenderer.h"
#include "rendering/XIntToColourLUT.h"
#include "storage/internal/XPICTFormat.h"
#include "volume/XColourVolumes.h"
#include "volume/XGrey16Volume.h"
#include "volume/XMaskVolume.h"

namespace mirelan {

using namespace pict;

namespace {

// Fixed sizes of the data behind the opcodes below 0x00B0 that have one
// (the published opcode table, with 0x001A and 0x001B as this library has
// always skipped them); -1 where SkipOpcode reads a size.
constexpr SInt32 kVariable = -1;

SInt32 FixedOpcodeBytes(UInt16 inOpcode) {
  switch (inOpcode) {
    case 0x0000: return 0;
    case 0x0002: return 8;
    case 0x0003: return 2;
    case 0x0004: return 1;
    case 0x0005: return 2;
    case 0x0006: case 0x0007: return 4;
    case 0x0008: return 2;
    case 0x0009: case 0x000A: return 8;
    case 0x000B: case 0x000C: return 4;
    case 0x000D: return 2;
    case 0x000E: case 0x000F: return 4;
    case 0x0010: return 8;
    case 0x0011: return 2;
    case 0x0015: case 0x0016: return 2;
    case 0x0017: case 0x0018: case 0x0019: return 0;
    case 0x001A: case 0x001B: return 8;
    case 0x001C: return 0;
    case 0x001D: return 6;
    case 0x001E: return 0;
    case 0x001F: return 6;
    case 0x0020: return 8;
    case 0x0021: return 4;
    case 0x0022: return 6;
    case 0x0023: return 2;
    case 0x00A0: return 2;
    default: break;
  }
  if (inOpcode >= 0x0030 && inOpcode <= 0x0037) return 8;   // rectangles
  if (inOpcode >= 0x0038 && inOpcode <= 0x003F) return 0;   // the same rectangle
  if (inOpcode >= 0x0040 && inOpcode <= 0x0047) return 8;   // rounded rectangles
  if (inOpcode >= 0x0048 && inOpcode <= 0x004F) return 0;
  if (inOpcode >= 0x0050 && inOpcode <= 0x0057) return 8;   // ovals
  if (inOpcode >= 0x0058 && inOpcode <= 0x005F) return 0;
  if (inOpcode >= 0x0060 && inOpcode <= 0x0067) return 12;  // arcs
  if (inOpcode >= 0x0068 && inOpcode <= 0x006F) return 4;
  if (inOpcode >= 0x0078 && inOpcode <= 0x007F) return 0;   // the same polygon
  if (inOpcode >= 0x0088 && inOpcode <= 0x008F) return 0;   // the same region
  if (inOpcode >= 0x00B0 && inOpcode <= 0x00CF) return 0;
  return kVariable;
}

XRect OrderedRect(XStream& ioStream) {
  const SInt16 top = SInt16(ioStream.Read16());
  const SInt16 left = SInt16(ioStream.Read16());
  const SInt16 bottom = SInt16(ioStream.Read16());
  const SInt16 right = SInt16(ioStream.Read16());
  return XRect(left, top, right, bottom);
}

// A 16-bit unit of packed or raw pixel data, in the stream's order.
inline UInt16 Unit16(const UInt8* inBytes, bool inBigEndian) {
  return inBigEndian ? UInt16((inBytes[0] << 8) | inBytes[1]) : UInt16(inBytes[0] | (inBytes[1] << 8));
}

}  // namespace

XPICTDecoder::XPICTDecoder(XStream& ioStream, UInt32 inLength) : itsStream(ioStream), itsLength(inLength) {}

XPICTDecoder::~XPICTDecoder() = default;

// ---------------------------------------------------------------- framing

XRect XPICTDecoder::ReadHeader() {
  itsStream.Seek(2);  // the size word of old pictures
  return OrderedRect(itsStream);
}

UInt16 XPICTDecoder::ReadOpcode() {
  // Opcodes of version 2 pictures start on even offsets.
  if ((itsStream.GetPosition() - itsStart) & 1) itsStream.Seek(1);
  return itsStream.Read16();
}

XPICTDecoder::XPixMap XPICTDecoder::ReadPixMap(bool inWithBase) {
  XPixMap map;
  if (inWithBase) itsStream.Seek(4);
  map.rowBytes = itsStream.Read16() & kRowBytesMask;
  map.bounds = OrderedRect(itsStream);
  itsStream.Seek(2);  // version
  map.packType = itsStream.Read16();
  itsStream.Seek(14);  // pack size, resolutions, pixel type
  map.pixelSize = itsStream.Read16();
  itsStream.Seek(16);  // components, their size, plane bytes, table, reserved
  return map;
}

UInt32 XPICTDecoder::RowBytesOf(const XPixMap& inMap) {
  const UInt64 needed = (UInt64(inMap.bounds.GetWidth()) * inMap.pixelSize + 7) / 8;
  return UInt32(std::max<UInt64>(inMap.rowBytes, needed));
}

UInt32 XPICTDecoder::ReadRowCount(bool inByteCounts) { return inByteCounts ? itsStream.Read8() : itsStream.Read16(); }

void XPICTDecoder::SkipRegion() {
  const UInt16 size = itsStream.Read16();  // counts itself
  itsStream.Seek(size > 2 ? size - 2 : 0);
}

void XPICTDecoder::SkipPackedRows(const XPixMap& inMap) {
  const UInt32 rowBytes = RowBytesOf(inMap);
  const UInt32 rows = inMap.bounds.GetHeight();
  if (rowBytes < 8) {
    itsStream.Seek(SInt64(rowBytes) * rows);
    return;
  }
  for (UInt32 y = 0; y < rows; ++y) itsStream.Seek(ReadRowCount(rowBytes < kWordCountRowBytes));
}

// A colour pattern: its type, the 8-byte pattern, and for a full pattern a
// pixel map, its colour table and its rows; for a dithered one a colour.
void XPICTDecoder::SkipPixPattern() {
  const UInt16 type = itsStream.Read16();
  itsStream.Seek(8);
  if (type == 1) {
    const XPixMap map = ReadPixMap(false);
    itsStream.Seek(6);  // seed, flags
    const UInt32 entries = UInt32(itsStream.Read16()) + 1;
    itsStream.Seek(SInt64(entries) * kColourEntryBytes);
    SkipPackedRows(map);
  } else if (type == 2) {
    itsStream.Seek(6);
  }
}

void XPICTDecoder::SkipOpcode(UInt16 inOpcode) {
  const SInt32 fixed = FixedOpcodeBytes(inOpcode);
  if (fixed != kVariable) return itsStream.Seek(fixed);
  switch (inOpcode) {
    case 0x0001:  // clip region
      return SkipRegion();
    case 0x0012: case 0x0013: case 0x0014:
      return SkipPixPattern();
    case 0x0028:  // long text: a point, a count, the text
      itsStream.Seek(4);
      return itsStream.Seek(itsStream.Read8());
    case 0x0029: case 0x002A:  // a one-byte offset, a count, the text
      itsStream.Seek(1);
      return itsStream.Seek(itsStream.Read8());
    case 0x002B:
      itsStream.Seek(2);
      return itsStream.Seek(itsStream.Read8());
    case kOpLongComment:
      itsStream.Seek(2);
      return itsStream.Seek(itsStream.Read16());
    default:
      break;
  }
  if ((inOpcode >= 0x0070 && inOpcode <= 0x0077) || (inOpcode >= 0x0080 && inOpcode <= 0x0087))
    return SkipRegion();  // polygons and regions: a size that counts itself
  if ((inOpcode >= 0x0024 && inOpcode <= 0x0027) || (inOpcode >= 0x002C && inOpcode <= 0x002F) ||
      (inOpcode >= 0x0092 && inOpcode <= 0x0097) || (inOpcode >= 0x009C && inOpcode <= 0x009F) ||
      (inOpcode >= 0x00A2 && inOpcode <= 0x00AF))
    return itsStream.Seek(itsStream.Read16());
  if ((inOpcode >= 0x00D0 && inOpcode <= 0x00FE) || inOpcode >= 0x8100) return itsStream.Seek(itsStream.Read32());
  if (inOpcode >= 0x0100 && inOpcode <= 0x7FFF) return itsStream.Seek(2 * (inOpcode >> 8));
  // 0x8000 to 0x80FF carry nothing; the pixel opcodes are never skipped.
}

// ---------------------------------------------------------------- info

void XPICTDecoder::ReadInfo(XRect& outRect, UInt32& outDepth) {
  itsStart = itsStream.GetPosition();
  outRect = ReadHeader();
  outDepth = 0;
  bool done = false;
  while (!done && itsStream.GetPosition() < GetEnd()) {
    const UInt16 opcode = ReadOpcode();
    switch (opcode) {
      case kOpVersion:
        if (itsStream.Read16() != kVersion2) throw XException(kErrPICTVersion, "not a version 2 picture");
        break;
      case kOpVersion1:
        throw XException(kErrPICTVersion, "a version 1 picture");
      case kOpBitsRect: case kOpBitsRgn: case kOpPackBitsRect: case kOpPackBitsRgn:
      case kOpDirectBitsRect: case kOpDirectBitsRgn: {
        const XPixMap map = ReadPixMap(opcode >= kOpDirectBitsRect);
        outRect = map.bounds;
        outDepth = map.pixelSize;
        done = true;
        break;
      }
      case kOpLongComment: {
        const UInt16 kind = itsStream.Read16(), size = itsStream.Read16();
        const UInt64 position = itsStream.GetPosition();
        if (kind == kDeepDataKind && itsStream.Read32() == kDeepSignature &&
            itsStream.Read32() == kDeepPixelSelector) {
          outDepth = kDeepGreyDepth;
          done = true;
        }
        itsStream.SeekTo(position + size);
        break;
      }
      case kOpEndOfPicture:
        done = true;
        break;
      default:
        SkipOpcode(opcode);
    }
  }
  itsStream.SeekTo(GetEnd());
}

// ---------------------------------------------------------------- decoding

void XPICTDecoder::ReadToVolume(XVolume& ioVolume) {
  itsImageRead = false;
  itsDeepDataPosition = 0;
  itsDeepLUTPosition = 0;
  itsDeepLUT.reset();
  itsDeepColourLUT.reset();
  itsBitDepth = 0;
  itsVolume = &ioVolume;
  itsStart = itsStream.GetPosition();
  ReadHeader();
  while (!ProcessOpcode(ReadOpcode())) {
  }
  // A picture that ends by its length without an image is refused like one
  // whose end opcode comes first: the volume would hold nothing read.
  if (!itsImageRead) throw XException(kErrPICTNoImage, "the picture ends before any image");
  if (auto* grey16 = dynamic_cast<XGrey16Volume*>(itsVolume)) FinishGrey16(*grey16);
  itsStream.SeekTo(GetEnd());
}

bool XPICTDecoder::ProcessOpcode(UInt16 inOpcode) {
  switch (inOpcode) {
    case kOpVersion:
      if (itsStream.Read16() != kVersion2) throw XException(kErrPICTVersion, "not a version 2 picture");
      break;
    case kOpVersion1:
      throw XException(kErrPICTVersion, "a version 1 picture");
    case kOpBitsRect: case kOpBitsRgn:
      ReadBits();
    case kOpPackBitsRect: case kOpPackBitsRgn:
      ReadPackBits(inOpcode == kOpPackBitsRgn);
      return true;
    case kOpDirectBitsRect: case kOpDirectBitsRgn:
      ReadDirectBits(inOpcode == kOpDirectBitsRgn);
      return true;
    case kOpLongComment:
      ReadPicComment();
      break;
    case kOpEndOfPicture:
      if (!itsImageRead) throw XException(kErrPICTNoImage, "the end of the picture comes before any image");
      return true;
    case kOpCompressedQuickTime: case kOpUncompressedQuickTime:
      throw XException(kErrPICTQuickTime, "QuickTime-compressed pictures are not read");
    default:
      SkipOpcode(inOpcode);
  }
  return itsStream.GetPosition() >= GetEnd();
}

void XPICTDecoder::ReadBits() { throw XException(kErrPICTPacking, "unpacked bit maps are not read"); }

// ---------------------------------------------------------------- packing

const UInt8* XPICTDecoder::ReadPackedRow(UInt32 inByteCount) {
  if (itsPackedRow.size() < inByteCount) itsPackedRow.resize(inByteCount);
  itsStream.ReadBuffer8(itsPackedRow.data(), inByteCount);
  return itsPackedRow.data();
}

UInt32 XPICTDecoder::UnpackBits(UInt32 inByteCount, UInt32 inCapacity, UInt8* outData) {
  const UInt8* in = ReadPackedRow(inByteCount);
  UInt32 used = 0, written = 0;
  while (used < inByteCount) {
    const SInt32 n = SInt8(in[used++]);
    if (n < 0) {
      if (used == inByteCount) break;  // a run without its value ends the row
      const UInt8 value = in[used++];
      const UInt32 copies = std::min<UInt32>(UInt32(1 - n), inCapacity - written);
      if (copies) std::memset(outData + written, value, copies);
      written += copies;
    } else {
      const UInt32 bytes = std::min<UInt32>(UInt32(n + 1), inByteCount - used);
      const UInt32 copies = std::min(bytes, inCapacity - written);
      if (copies) std::memcpy(outData + written, in + used, copies);
      written += copies;
      used += bytes;
    }
  }
  return written;
}

UInt32 XPICTDecoder::UnpackBits16(UInt32 inByteCount, UInt32 inCapacity, UInt16* outData) {
  const UInt8* in = ReadPackedRow(inByteCount);
  const bool bigEndian = itsStream.GetByteOrder() == kBigEndian;
  UInt32 used = 0, written = 0;
  while (used < inByteCount) {
    const SInt32 n = SInt8(in[used++]);
    if (n < 0) {
      if (inByteCount - used < 2) break;
      const UInt16 value = Unit16(in + used, bigEndian);
      used += 2;
      const UInt32 copies = std::min<UInt32>(UInt32(1 - n), inCapacity - written);
      std::fill_n(outData + written, copies, value);
      written += copies;
    } else {
      const UInt32 units = std::min<UInt32>(UInt32(n + 1), (inByteCount - used) / 2);
      const UInt32 copies = std::min(units, inCapacity - written);
      for (UInt32 i = 0; i < copies; ++i) outData[written + i] = Unit16(in + used + 2 * i, bigEndian);
      written += copies;
      used += std::min<UInt32>(2 * UInt32(n + 1), inByteCount - used);
    }
  }
  return written;
}

// ---------------------------------------------------------------- indexed maps

void XPICTDecoder::ReadColourTable(XIntToColourLUT& ioLUT) {
  itsStream.Seek(6);  // seed, flags
  const UInt32 entries = UInt32(itsStream.Read16()) + 1;
  if (entries != 256) {
    itsStream.Seek(SInt64(entries) * kColourEntryBytes);
    return;
  }
  XLock lock(ioLUT, kLockReadWrite);
  for (UInt32 i = 0; i < entries; ++i) {
    itsStream.Seek(2);  // the entry's index
    const UInt8 red = UInt8(itsStream.Read16() >> 8);
    const UInt8 green = UInt8(itsStream.Read16() >> 8);
    const UInt8 blue = UInt8(itsStream.Read16() >> 8);
    // The picture runs from the table's last entry to its first.
    ioLUT.SetValue(255 - i, XARGB32Colour(255, red, green, blue));
  }
  ioLUT.LUTChanged();
}

void XPICTDecoder::ReadPackBits(bool inHasRegion) {
  const XPixMap map = ReadPixMap(false);
  auto* mask = dynamic_cast<XMaskVolume*>(itsVolume);
  auto* grey = dynamic_cast<XGrey8Volume*>(itsVolume);
  if (map.pixelSize == 1 ? !mask : !grey)
    throw XException(kErrPICTVolumeClass, map.pixelSize == 1 ? "a 1-bit picture needs a mask volume"
                                                            : "an indexed picture needs an 8-bit grey volume");
  XIntToColourLUT table(256);
  table.MakeDefaultLUT();
  ReadColourTable(table);
  if (!mask) grey->SetPlaneRenderer(XGrey8ImageRenderer(table));
  itsStream.Seek(18);  // source and destination rectangles, transfer mode
  if (inHasRegion) SkipRegion();
  const bool byteCounts = RowBytesOf(map) < kWordCountRowBytes;
  if (map.pixelSize == 8)
    ReadPacked8(map, byteCounts);
  else if (map.pixelSize == 1)
    ReadPacked1(map, byteCounts);
  else
    throw XException(kErrPICTPixelSize, "packed maps of " + std::to_string(map.pixelSize) + " bits are not read");
  itsImageRead = true;
}

void XPICTDecoder::ReadPacked8(const XPixMap& inMap, bool inByteCounts) {
  auto& volume = dynamic_cast<XGrey8Volume&>(*itsVolume);
  const UInt32 rowBytes = RowBytesOf(inMap);
  const UInt32 width = std::min(inMap.bounds.GetWidth(), volume.GetWidth());
  const UInt32 rows = std::min(inMap.bounds.GetHeight(), volume.GetHeight());
  const X3DRect& b = volume.GetBounds();
  itsRow.resize(rowBytes);
  XLock lock(volume, kLockReadWrite);
  for (UInt32 y = 0; y < rows; ++y) {
    const UInt32 unpacked = UnpackBits(ReadRowCount(inByteCounts), rowBytes, itsRow.data());
    std::fill(itsRow.begin() + unpacked, itsRow.begin() + rowBytes, 0);
    if (width) std::memcpy(volume.GetVoxelPtr(b.left, b.top + SInt32(y), b.front), itsRow.data(), width);
  }
}

void XPICTDecoder::ReadPacked1(const XPixMap& inMap, bool inByteCounts) {
  auto& volume = dynamic_cast<XMaskVolume&>(*itsVolume);
  const UInt32 rowBytes = RowBytesOf(inMap);
  const UInt32 width = std::min(inMap.bounds.GetWidth(), volume.GetWidth());
  const UInt32 rows = std::min(inMap.bounds.GetHeight(), volume.GetHeight());
  const X3DRect& b = volume.GetBounds();
  itsRow.resize(rowBytes);
  XLock lock(volume, kLockReadWrite);
  for (UInt32 y = 0; y < rows; ++y) {
    const UInt32 unpacked = UnpackBits(ReadRowCount(inByteCounts), rowBytes, itsRow.data());
    std::fill(itsRow.begin() + unpacked, itsRow.begin() + rowBytes, 0);
    UInt8* out = volume.GetVoxelPtr(b.left, b.top + SInt32(y), b.front);
    for (UInt32 x = 0; x < width; ++x) out[x] = (itsRow[x >> 3] >> (7 - (x & 7))) & 1 ? 255 : 0;
  }
}

// ---------------------------------------------------------------- direct maps

void XPICTDecoder::Decode16To32(UInt16 inPixel, XARGB32Colour& outColour) {
  // Five bits a channel, widened by a shift: the low three bits stay zero.
  outColour = XARGB32Colour(0, UInt8(((inPixel >> 10) & 31) * 8), UInt8(((inPixel >> 5) & 31) * 8),
                            UInt8((inPixel & 31) * 8));
}

void XPICTDecoder::ReadDirectBits(bool inHasRegion) {
  const XPixMap map = ReadPixMap(true);
  itsStream.Seek(18);
  if (inHasRegion) SkipRegion();
  if (map.packType < kPackNone || map.packType > kPackRLE32)
    throw XException(kErrPICTPacking, "pack type " + std::to_string(map.packType) + " is not read");
  // Decoded into an ARGB image of the picture's size (as far as the volume
  // reaches) at the volume's origin, then copied out, so that any volume
  // class takes it; an ARGB volume takes the rows at once.
  const X3DRect& b = itsVolume->GetBounds();
  const X3DRect part(b.left, b.top, b.front, b.left + SInt32(std::min(map.bounds.GetWidth(), b.GetWidth())),
                     b.top + SInt32(std::min(map.bounds.GetHeight(), b.GetHeight())), b.front + 1);
  std::unique_ptr<XARGB32Volume> temporary;
  auto* image = dynamic_cast<XARGB32Volume*>(itsVolume);
  if (!image || itsVolume->GetVersion() != XARGB32Volume::GetClassVersion()) {
    temporary.reset(new XARGB32Volume(part));
    image = temporary.get();
  }
  {
    XLock lock(*image, kLockReadWrite);
    switch (map.packType) {
      case kPackNone:
        if (map.pixelSize == 16)
          ReadDirect16NoPack(map, *image);
        else
          ReadDirect32NoPack(map, *image);
        break;
      case kPackPadRemoved:
        ReadDirect32PadRemoved(map, *image);
        break;
      case kPackRLE16:
        ReadDirect16RLE(map, *image);
        break;
      case kPackRLE32:
        ReadDirect32RLE(map, *image);
        break;
    }
  }
  if (temporary) temporary->CopyOut(*itsVolume, part, part, nullptr);
  itsImageRead = true;
}

namespace {

// The rows and columns of a direct map that reach the image.
struct XDirectRows {
  XDirectRows(const XRect& inMap, XARGB32Volume& ioImage)
      : itsImage(ioImage),
        width(std::min(inMap.GetWidth(), ioImage.GetWidth())),
        rows(std::min(inMap.GetHeight(), ioImage.GetHeight())) {}
  XARGB32Colour* Row(UInt32 inY) const {
    const X3DRect& b = itsImage.GetBounds();
    return itsImage.GetVoxelPtr(b.left, b.top + SInt32(inY), b.front);
  }
  XARGB32Volume& itsImage;
  const UInt32 width;
  const UInt32 rows;
};

}  // namespace

void XPICTDecoder::ReadDirect16NoPack(const XPixMap& inMap, XARGB32Volume& ioImage) {
  const XDirectRows out(inMap.bounds, ioImage);
  const UInt32 rowBytes = RowBytesOf(inMap);
  const bool bigEndian = itsStream.GetByteOrder() == kBigEndian;
  itsRow.resize(rowBytes);
  for (UInt32 y = 0; y < out.rows; ++y) {
    itsStream.ReadBuffer8(itsRow.data(), rowBytes);
    XARGB32Colour* row = out.Row(y);
    for (UInt32 x = 0; x < out.width; ++x) Decode16To32(Unit16(&itsRow[2 * x], bigEndian), row[x]);
  }
}

void XPICTDecoder::ReadDirect32NoPack(const XPixMap& inMap, XARGB32Volume& ioImage) {
  const XDirectRows out(inMap.bounds, ioImage);
  const UInt32 rowBytes = std::max<UInt32>(RowBytesOf(inMap), 4 * inMap.bounds.GetWidth());
  itsRow.resize(rowBytes);
  for (UInt32 y = 0; y < out.rows; ++y) {
    itsStream.ReadBuffer8(itsRow.data(), rowBytes);
    XARGB32Colour* row = out.Row(y);
    for (UInt32 x = 0; x < out.width; ++x)
      row[x] = XARGB32Colour(itsRow[4 * x], itsRow[4 * x + 1], itsRow[4 * x + 2], itsRow[4 * x + 3]);
  }
}

void XPICTDecoder::ReadDirect32PadRemoved(const XPixMap& inMap, XARGB32Volume& ioImage) {
  const XDirectRows out(inMap.bounds, ioImage);
  const UInt32 rowBytes = 3 * inMap.bounds.GetWidth();
  itsRow.resize(rowBytes);
  for (UInt32 y = 0; y < out.rows; ++y) {
    itsStream.ReadBuffer8(itsRow.data(), rowBytes);
    XARGB32Colour* row = out.Row(y);
    for (UInt32 x = 0; x < out.width; ++x)
      row[x] = XARGB32Colour(0, itsRow[3 * x], itsRow[3 * x + 1], itsRow[3 * x + 2]);
  }
}

void XPICTDecoder::ReadDirect16RLE(const XPixMap& inMap, XARGB32Volume& ioImage) {
  const XDirectRows out(inMap.bounds, ioImage);
  const UInt32 width = inMap.bounds.GetWidth();
  const bool byteCounts = RowBytesOf(inMap) < kWordCountRowBytes;
  std::vector<UInt16> units(width);
  for (UInt32 y = 0; y < out.rows; ++y) {
    const UInt32 unpacked = UnpackBits16(ReadRowCount(byteCounts), width, units.data());
    std::fill(units.begin() + unpacked, units.end(), 0);
    XARGB32Colour* row = out.Row(y);
    for (UInt32 x = 0; x < out.width; ++x) Decode16To32(units[x], row[x]);
  }
}

void XPICTDecoder::ReadDirect32RLE(const XPixMap& inMap, XARGB32Volume& ioImage) {
  const XDirectRows out(inMap.bounds, ioImage);
  const UInt32 width = inMap.bounds.GetWidth();
  const bool byteCounts = RowBytesOf(inMap) < kWordCountRowBytes;
  itsRow.resize(4 * UInt64(width));
  for (UInt32 y = 0; y < out.rows; ++y) {
    const UInt32 unpacked = UnpackBits(ReadRowCount(byteCounts), 4 * width, itsRow.data());
    std::fill(itsRow.begin() + unpacked, itsRow.end(), 0);
    // A row of four planes has alpha first; a row of three has none, and
    // alpha is that of a cleared voxel.
    const bool withAlpha = unpacked == 4 * width;
    const UInt8* alpha = itsRow.data();
    const UInt8* red = itsRow.data() + (withAlpha ? width : 0);
    const UInt8* green = red + width;
    const UInt8* blue = green + width;
    XARGB32Colour* row = out.Row(y);
    for (UInt32 x = 0; x < out.width; ++x)
      row[x] = XARGB32Colour(withAlpha ? alpha[x] : 0, red[x], green[x], blue[x]);
  }
}

// ---------------------------------------------------------------- 16-bit grey

void XPICTDecoder::ReadPicComment() {
  const UInt16 kind = itsStream.Read16(), size = itsStream.Read16();
  const UInt64 position = itsStream.GetPosition();
  if (kind == kDeepColourTableKind) {
    ReadDeepColourLUT();
  } else if (kind == kDeepDataKind) {
    const UInt32 signature = itsStream.Read32(), selector = itsStream.Read32();
    itsStream.Seek(16);  // block index and count, two size words
    const UInt32 length = itsStream.Read32();
    const UInt16 bitDepth = itsStream.Read16();
    itsStream.Seek(2);
    // Comments of other programs end here quietly.
    bool ours = signature == kDeepSignature;
    if (ours && length != 0) {
      if (selector == kDeepPixelSelector)
        ReadDeepData(length);
      else if (selector == kDeepTableSelector)
        ReadDeepLUT(length);
      else
        ours = false;
    }
    if (ours && !itsDeepLUT) {
      if (bitDepth > kMaxDeepDepth)
        throw XException(kErrPICTDamaged, "a deep table of " + std::to_string(bitDepth) + " bits");
      itsBitDepth = bitDepth;
      itsDeepLUT.reset(new XMemoryHandle(UInt64(1) << bitDepth));
    }
  }
  // The comment's size word is what counts.
  itsStream.SeekTo(position + size);
}

void XPICTDecoder::ReadDeepColourLUT() {
  // A picture has one such table; a second one is damage.
  if (itsDeepColourLUT) throw XException(kErrPICTDamaged, "a second deep colour table");
  itsDeepColourLUT.reset(new XIntToColourLUT(256));
  itsDeepColourLUT->MakeDefaultLUT();
  ReadColourTable(*itsDeepColourLUT);
}

void XPICTDecoder::ReadDeepData(UInt32 inLength) {
  auto* volume = dynamic_cast<XGrey16Volume*>(itsVolume);
  if (!volume) throw XException(kErrPICTVolumeClass, "16-bit grey data needs a 16-bit grey volume");
  const UInt64 total = std::min<UInt64>(UInt64(volume->GetWidth()) * volume->GetHeight() * 2, volume->GetVolumeBytes());
  const UInt64 bytes = std::min<UInt64>(inLength, total - std::min(total, itsDeepDataPosition));
  {
    XLock lock(*volume, kLockReadWrite);
    itsStream.ReadBuffer8(volume->GetBasePtr() + itsDeepDataPosition, bytes);
  }
  itsStream.Seek(SInt64(inLength - bytes));
  itsDeepDataPosition += bytes;
  itsImageRead = true;
}

void XPICTDecoder::ReadDeepLUT(UInt32 inLength) {
  if (!itsDeepLUT) throw XException(kErrPICTNoDeepTable, "a deep table block comes before any deep data");
  const UInt64 size = itsDeepLUT->GetDataSize();
  const UInt64 bytes = std::min<UInt64>(inLength, size - std::min(size, itsDeepLUTPosition));
  {
    XLock lock(*itsDeepLUT, kLockReadWrite);
    itsStream.ReadBuffer8(itsDeepLUT->GetData() + itsDeepLUTPosition, bytes);
  }
  itsStream.Seek(SInt64(inLength - bytes));
  itsDeepLUTPosition += bytes;
}

void XPICTDecoder::FinishGrey16(XGrey16Volume& ioVolume) {
  {
    XLock lock(ioVolume, kLockReadWrite);
    // The voxels came in the picture's order (big-endian).
    if (itsStream.GetByteOrder() != GetByteOrderFromPlatform())
      SwapBuffer16(ioVolume.GetBasePtr(), UInt64(ioVolume.GetWidth()) * ioVolume.GetHeight());
  }
  if (!itsDeepLUT || !itsDeepColourLUT || itsDeepLUTPosition == 0) return;
  const UInt64 read = itsDeepLUTPosition;
  XImageRenderer& renderer = ioVolume.GetPlaneRenderer();
  renderer.SetWhite(Float64(read - 1));
  XARGB32Colour white;
  itsDeepColourLUT->IndexToValue(255 - itsDeepLUT->GetByte(read - 1), white);
  renderer.SetWhiteColour(white);
}

}  // namespace mirelan
