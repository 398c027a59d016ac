#include "storage/XPICTEncoder.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>

#include "core/XStream.h"
#include "rendering/XImageRenderer.h"
#include "rendering/XIntToColourLUT.h"
#include "storage/internal/XPICTFormat.h"
#include "volume/XColourVolumes.h"
#include "volume/XGrey16Volume.h"
#include "volume/XMaskVolume.h"

namespace mirelan {

using namespace pict;

static_assert(kDeepBlockBytes % 2 == 0, "blocks of 16-bit voxels hold whole voxels");

struct XPICTEncoder::XPixMapFields {
  UInt16 opcode;
  bool withBase;
  UInt32 rowBytes;
  UInt16 packType;
  UInt16 pixelType;
  UInt16 pixelSize;
  UInt16 components;
  UInt16 componentSize;
};

namespace {

constexpr UInt32 kBaseAddress = 255;
constexpr UInt32 kResolution = 0x480000;  // 72 dpi, fixed point
constexpr UInt16 kRGBDirectPixelType = 16;
constexpr UInt16 kCommentColourTableBytes = 2056;
constexpr SInt32 kErrUnsupportedPlane = kErrUnsupportedImage;

void WriteRect(XStream& ioStream, const X3DRect& inBounds) {
  ioStream.Write16(UInt16(inBounds.top));
  ioStream.Write16(UInt16(inBounds.left));
  ioStream.Write16(UInt16(inBounds.bottom));
  ioStream.Write16(UInt16(inBounds.right));
}

// A 16-bit colour channel from an 8-bit one, both bytes alike.
UInt16 Wide(UInt8 inChannel) { return UInt16((inChannel << 8) | inChannel); }

}  // namespace

XPICTEncoder::XPICTEncoder(XStream& ioStream) : itsStream(ioStream) {}

// ---------------------------------------------------------------- pictures

UInt64 XPICTEncoder::WriteVolume(const XVolume& inVolume) {
  XAssert(inVolume.IsXYPlane());
  const X3DRect& b = inVolume.GetBounds();
  if (b.left < kMinCoordinate || b.top < kMinCoordinate || b.right > kMaxCoordinate || b.bottom > kMaxCoordinate)
    throw XException(kErrUnsupportedPlane, "a picture's corners are 16-bit coordinates");
  itsStart = itsStream.GetPosition();
  if (const auto* mask = dynamic_cast<const XMaskVolume*>(&inVolume)) {
    WriteHeader(inVolume);
    WriteMaskRLE(*mask);
    WriteAlignment();
    WriteEnd();
  } else if (const auto* grey8 = dynamic_cast<const XGrey8Volume*>(&inVolume)) {
    WriteHeader(inVolume);
    WriteGrey8RLE(*grey8);
    WriteAlignment();
    WriteEnd();
  } else if (const auto* grey16 = dynamic_cast<const XGrey16Volume*>(&inVolume)) {
    WriteHeader(inVolume);
    WriteGrey16(*grey16);
    WriteAlignment();
    WriteEnd();
  }
  if (const auto* colour = dynamic_cast<const XARGB32Volume*>(&inVolume)) {
    WriteHeader(inVolume);
    WriteARGB32RLE(*colour);
    WriteAlignment();
    WriteEnd();
    return itsStream.GetPosition() - itsStart;
  }
  // Every other plane, and the grey ones once more, as colour.
  XARGB32Volume colour(b);
  colour.CopyIn(inVolume, b, b, nullptr);
  return WriteVolume(colour);
}

void XPICTEncoder::WriteHeader(const XVolume& inVolume) {
  const X3DRect& b = inVolume.GetBounds();
  itsStream.Write16(0);  // the size word of old pictures
  WriteRect(itsStream, b);
  itsStream.Write16(kOpVersion);
  itsStream.Write16(kVersion2);
  itsStream.Write16(kOpHeader);
  itsStream.Write16(0xFFFF);
  itsStream.Write16(0xFFFF);
  for (SInt32 v : {b.top, b.left, b.bottom, b.right}) {
    itsStream.Write16(0);
    itsStream.Write16(UInt16(v));
  }
  itsStream.Write32(0);
  itsStream.Write16(kOpDefHilite);
  itsStream.Write16(kOpClip);
  itsStream.Write16(10);
  WriteRect(itsStream, b);
}

void XPICTEncoder::WriteAlignment() {
  if ((itsStream.GetPosition() - itsStart) & 1) itsStream.Write8(0);
}

void XPICTEncoder::WriteEnd() { itsStream.Write16(kOpEndOfPicture); }

// ---------------------------------------------------------------- pixel maps

void XPICTEncoder::WritePixMap(const XVolume& inVolume, const XPixMapFields& inFields) {
  itsStream.Write16(inFields.opcode);
  if (inFields.withBase) itsStream.Write32(kBaseAddress);
  // Row bytes beyond the field's 14 bits keep their low bits; readers take
  // at least what the width needs.
  itsStream.Write16(UInt16((inFields.rowBytes & kRowBytesMask) | kPixMapFlag));
  WriteRect(itsStream, inVolume.GetBounds());
  itsStream.Write16(0);  // version
  itsStream.Write16(inFields.packType);
  itsStream.Write32(0);  // pack size
  itsStream.Write32(kResolution);
  itsStream.Write32(kResolution);
  itsStream.Write16(inFields.pixelType);
  itsStream.Write16(inFields.pixelSize);
  itsStream.Write16(inFields.components);
  itsStream.Write16(inFields.componentSize);
  itsStream.Write32(0);  // plane bytes
  itsStream.Write32(0);  // table
  itsStream.Write32(0);  // reserved
}

void XPICTEncoder::WriteRects(const XVolume& inVolume) {
  WriteRect(itsStream, inVolume.GetBounds());
  WriteRect(itsStream, inVolume.GetBounds());
  itsStream.Write16(0);  // transfer mode: copy
}

void XPICTEncoder::WriteColourTable(const XIntToColourLUT& inLUT) {
  const UInt32 entries = inLUT.GetSize();
  itsStream.Write32(kColourTableSeed);
  itsStream.Write16(0);
  itsStream.Write16(UInt16(entries - 1));
  XLock lock(inLUT, kLockRead);
  // The picture runs from the table's last entry to its first.
  for (UInt32 i = 0; i < entries; ++i) {
    const XARGB32Colour& c = inLUT.IndexToValue(entries - 1 - i);
    itsStream.Write16(0);
    itsStream.Write16(Wide(c.red));
    itsStream.Write16(Wide(c.green));
    itsStream.Write16(Wide(c.blue));
  }
}

void XPICTEncoder::WritePackedRow(const UInt8* inRow, UInt32 inLength, UInt32 inRowBytes) {
  itsPacked.resize(inLength + inLength / 128 + 2);
  const UInt32 packed = PackBits(inRow, itsPacked.data(), inLength);
  if (inRowBytes < kWordCountRowBytes) {
    itsStream.Write8(UInt8(packed));
  } else {
    if (packed > 0xFFFF) throw XException(kErrUnsupportedPlane, "a packed row is too long for a picture");
    itsStream.Write16(UInt16(packed));
  }
  itsStream.WriteBuffer8(itsPacked.data(), packed);
}

UInt32 XPICTEncoder::PackBits(const UInt8* inSource, UInt8* outPacked, UInt32 inLength) {
  UInt8* out = outPacked;
  UInt32 literal = 0;  // first byte not yet written
  const auto flushLiterals = [&](UInt32 inEnd) {
    while (literal < inEnd) {
      const UInt32 count = std::min<UInt32>(128, inEnd - literal);
      *out++ = UInt8(count - 1);
      std::memcpy(out, inSource + literal, count);
      out += count;
      literal += count;
    }
  };
  const UInt32 runEnd = inLength > 2 ? inLength - 2 : 0;
  UInt32 i = 0;
  while (i < runEnd) {
    UInt32 j = i + 1;
    while (j < runEnd && j - i < 128 && inSource[j] == inSource[i]) ++j;
    if (j - i >= 3) {
      flushLiterals(i);
      *out++ = UInt8(1 - SInt32(j - i));
      *out++ = inSource[i];
      literal = i = j;
    } else {
      ++i;
    }
  }
  flushLiterals(inLength);
  return UInt32(out - outPacked);
}

void XPICTEncoder::WriteMaskRLE(const XMaskVolume& inVolume) {
  const UInt32 width = inVolume.GetWidth();
  const UInt32 rowBytes = (width + 7) / 8;
  WritePixMap(inVolume, {kOpPackBitsRect, false, rowBytes, kPackNone, 0, 1, 1, 1});
  XIntToColourLUT table(2);
  table.MakeDefaultLUT();
  WriteColourTable(table);
  WriteRects(inVolume);
  const X3DRect& b = inVolume.GetBounds();
  itsRow.resize(rowBytes);
  XLock lock(inVolume, kLockRead);
  for (SInt32 y = b.top; y < b.bottom; ++y) {
    const UInt8* voxel = inVolume.GetVoxelPtr(b.left, y, b.front);
    std::fill(itsRow.begin(), itsRow.end(), 0);
    for (UInt32 x = 0; x < width; ++x)
      if (voxel[x] > 127) itsRow[x >> 3] |= UInt8(0x80 >> (x & 7));
    WritePackedRow(itsRow.data(), rowBytes, rowBytes);
  }
}

void XPICTEncoder::WriteGrey8RLE(const XGrey8Volume& inVolume) {
  const UInt32 width = inVolume.GetWidth();
  WritePixMap(inVolume, {kOpPackBitsRect, false, width, kPackNone, 0, 8, 1, 8});
  XIntToColourLUT table(256);
  if (inVolume.HasPlaneRenderer()) {
    std::unique_ptr<XIntToColourLUT> own(inVolume.GetPlaneRenderer().GetLUT());
    table = *own;  // resampled to 256 entries if it has another size
  } else {
    table = XIntToColourLUT::GetStandardLUT(8);
  }
  WriteColourTable(table);
  WriteRects(inVolume);
  const X3DRect& b = inVolume.GetBounds();
  XLock lock(inVolume, kLockRead);
  for (SInt32 y = b.top; y < b.bottom; ++y) WritePackedRow(inVolume.GetVoxelPtr(b.left, y, b.front), width, width);
}

void XPICTEncoder::WriteARGB32RLE(const XARGB32Volume& inVolume) {
  const UInt32 width = inVolume.GetWidth();
  const UInt32 rowBytes = 4 * width;
  WritePixMap(inVolume, {kOpDirectBitsRect, true, rowBytes, kPackRLE32, kRGBDirectPixelType, 32, 3, 8});
  WriteRects(inVolume);
  const X3DRect& b = inVolume.GetBounds();
  itsRow.resize(3 * UInt64(width));
  UInt8* red = itsRow.data();
  UInt8* green = red + width;
  UInt8* blue = green + width;
  XLock lock(inVolume, kLockRead);
  for (SInt32 y = b.top; y < b.bottom; ++y) {
    const XARGB32Colour* voxel = inVolume.GetVoxelPtr(b.left, y, b.front);
    for (UInt32 x = 0; x < width; ++x) {
      red[x] = voxel[x].red;
      green[x] = voxel[x].green;
      blue[x] = voxel[x].blue;
    }
    WritePackedRow(itsRow.data(), 3 * width, rowBytes);
  }
}

// ---------------------------------------------------------------- 16-bit grey

void XPICTEncoder::WriteDeepBlocks(UInt32 inSelector, const UInt8* inData, UInt64 inBytes, UInt16 inBitDepth) {
  const UInt32 count = UInt32((inBytes + kDeepBlockBytes - 1) / kDeepBlockBytes);
  UInt64 offset = 0;
  for (UInt32 index = 0; offset < inBytes; ++index) {
    const UInt32 bytes = UInt32(std::min<UInt64>(kDeepBlockBytes, inBytes - offset));
    itsStream.Write16(kOpLongComment);
    itsStream.Write16(kDeepDataKind);
    itsStream.Write16(UInt16(bytes + kDeepBlockHeadBytes));
    itsStream.Write32(kDeepSignature);
    itsStream.Write32(inSelector);
    itsStream.Write32(index);
    itsStream.Write32(count);
    itsStream.Write32(UInt32(inBytes));
    itsStream.Write32(UInt32(inBytes));
    itsStream.Write32(bytes);
    itsStream.Write16(inBitDepth);
    itsStream.Write16(0);
    // Voxels take the stream's order; table bytes are bytes.
    if (inSelector == kDeepPixelSelector)
      itsStream.WriteBuffer16(reinterpret_cast<const UInt16*>(inData + offset), bytes / 2);
    else
      itsStream.WriteBuffer8(inData + offset, bytes);
    offset += bytes;
  }
}

void XPICTEncoder::WriteGrey16(const XGrey16Volume& inVolume) {
  XLock lock(inVolume, kLockRead);
  std::unique_ptr<XIntToColourLUT> source(inVolume.GetPlaneRenderer().GetLUT());
  UInt32 depth = source->GetTrueDepth();
  if (depth == 15) depth = 16;
  depth = std::clamp<UInt32>(depth, 1, kMaxDeepDepth);
  const UInt32 last = (UInt32(1) << depth) - 1;
  WriteDeepBlocks(kDeepPixelSelector, inVolume.GetBasePtr(), inVolume.GetDataSize(), UInt16(depth));
  // The display in 256 colours, and a table from voxel to colour index.
  XIntToColourLUT colours(256);
  {
    XLock sourceLock(*source, kLockRead);
    XLock coloursLock(colours, kLockReadWrite);
    for (UInt32 i = 0; i < 256; ++i)
      colours.SetValue(i, source->IndexToValue(std::min(i * last / 256, source->GetLastEntry())));
  }
  std::vector<UInt8> deep(UInt64(last) + 1);
  for (UInt32 i = 0; i <= last; ++i) deep[i] = UInt8(~((i * 255) / last));
  WriteDeepBlocks(kDeepTableSelector, deep.data(), deep.size(), 0);
  itsStream.Write16(kOpLongComment);
  itsStream.Write16(kDeepColourTableKind);
  itsStream.Write16(kCommentColourTableBytes);
  WriteColourTable(colours);
}

}  // namespace mirelan
