#include "storage/XTIFFCodec.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

#include "core/XMemoryHandle.h"
#include "core/XProgress.h"
#include "storage/internal/XContiguousTIFFWriter.h"
#include "storage/internal/XStackLayout.h"
#include "storage/internal/XTIFFHandle.h"
#include "storage/internal/XTemporaryOutput.h"
#include "volume/XMaskVolume.h"
#include "volume/XColourVolumes.h"
#include "volume/XFPVolume.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey32Volume.h"
#include "volume/XGrey8Volume.h"

namespace mirelan {

namespace {

// The volume class a page becomes.
enum class XTarget { kGrey8, kGrey16, kGrey32, kFloat, kARGB32, kRGB48 };

// The sample type of a page, as it sits in a decoded buffer.
enum class XSample { kBit, kU8, kS8, kU16, kS16, kU32, kS32, kF32, kF64 };

// What the pages of a stack share; the first page sets it.
struct XPageFormat {
  UInt32 itsWidth = 0, itsHeight = 0;
  UInt16 itsBits = 1, itsSamples = 1, itsSampleFormat = SAMPLEFORMAT_UINT;
  UInt16 itsPhotometric = PHOTOMETRIC_MINISBLACK, itsPlanar = PLANARCONFIG_CONTIG, itsCompression = COMPRESSION_NONE;
  bool itsColour = false;  // RGB pages: one colour volume per page
  XSample itsSample = XSample::kU8;
  XTarget itsTarget = XTarget::kGrey8;

  bool SameLayout(const XPageFormat& o) const {
    return itsWidth == o.itsWidth && itsHeight == o.itsHeight && itsBits == o.itsBits && itsSamples == o.itsSamples &&
           itsSampleFormat == o.itsSampleFormat && itsColour == o.itsColour;
  }
  // Channels one page holds.
  UInt32 SampleChannels() const { return itsColour ? 1 : itsSamples; }
  UInt64 SampleBytes() const { return itsBits >= 8 ? itsBits / 8 : 1; }
  UInt64 PixelBytes() const { return SampleBytes() * itsSamples; }
  UInt64 PlaneBytes() const { return UInt64(itsWidth) * itsHeight * PixelBytes(); }
  // Bytes a plane takes in the file before any compression (rows of 1-bit
  // pages are packed).
  UInt64 EncodedPlaneBytes() const { return (UInt64(itsWidth) * itsSamples * itsBits + 7) / 8 * itsHeight; }
};

// Decoded data may be this many times larger than the bytes a compressed
// page holds (a generous bound on every codec's ratio); uncompressed data
// cannot be larger than the file.
constexpr UInt64 kMaxCompressionRatio = 4096;
constexpr UInt64 kDecodedAllowance = UInt64(1) << 20;

template <class T>
T Field(TIFF* inTIFF, ttag_t inTag, T inDefault) {
  T value = inDefault;
  TIFFGetFieldDefaulted(inTIFF, inTag, &value);
  return value;
}

XSample SampleOf(const XTIFFHandle& inFile, UInt16 inBits, UInt16 inFormat) {
  const bool isSigned = inFormat == SAMPLEFORMAT_INT, isFloat = inFormat == SAMPLEFORMAT_IEEEFP;
  if (!isFloat && inBits == 1) return XSample::kBit;
  if (!isFloat && inBits == 8) return isSigned ? XSample::kS8 : XSample::kU8;
  if (!isFloat && inBits == 16) return isSigned ? XSample::kS16 : XSample::kU16;
  if (!isFloat && inBits == 32) return isSigned ? XSample::kS32 : XSample::kU32;
  if (isFloat && inBits == 32) return XSample::kF32;
  if (isFloat && inBits == 64) return XSample::kF64;
  inFile.Fail(kErrUnsupportedImage, std::to_string(inBits) + "-bit samples of format " + std::to_string(inFormat) +
                                        " are not supported");
}

XTarget TargetOf(const XTIFFHandle& inFile, const XPageFormat& inFormat) {
  if (inFormat.itsColour) {
    if (inFormat.itsSample == XSample::kU8) return XTarget::kARGB32;
    if (inFormat.itsSample == XSample::kU16) return XTarget::kRGB48;
    inFile.Fail(kErrUnsupportedImage, "RGB pages of " + std::to_string(inFormat.itsBits) + "-bit samples are not supported");
  }
  switch (inFormat.itsSample) {
    case XSample::kBit:
    case XSample::kU8:
      return XTarget::kGrey8;
    case XSample::kU16:
      return XTarget::kGrey16;
    case XSample::kU32:
      return XTarget::kGrey32;
    default:
      return XTarget::kFloat;  // signed integers and doubles keep their values as float
  }
}

XPageFormat ReadPageFormat(const XTIFFHandle& inFile) {
  TIFF* tif = inFile.Get();
  XPageFormat f;
  if (!TIFFGetField(tif, TIFFTAG_IMAGEWIDTH, &f.itsWidth) || !TIFFGetField(tif, TIFFTAG_IMAGELENGTH, &f.itsHeight))
    inFile.Fail(kErrBadImageFile, "a page has no size");
  f.itsBits = Field<UInt16>(tif, TIFFTAG_BITSPERSAMPLE, 1);
  f.itsSamples = Field<UInt16>(tif, TIFFTAG_SAMPLESPERPIXEL, 1);
  f.itsSampleFormat = Field<UInt16>(tif, TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT);
  f.itsPlanar = Field<UInt16>(tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
  f.itsCompression = Field<UInt16>(tif, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
  if (!TIFFGetField(tif, TIFFTAG_PHOTOMETRIC, &f.itsPhotometric))
    f.itsPhotometric = f.itsSamples >= 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
  if (f.itsPhotometric == PHOTOMETRIC_YCBCR && f.itsCompression == COMPRESSION_JPEG) {
    // libtiff's JPEG codec hands YCbCr pages out as RGB.
    TIFFSetField(tif, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
    f.itsPhotometric = PHOTOMETRIC_RGB;
  }
  if (f.itsWidth == 0 || f.itsHeight == 0 || f.itsSamples == 0) inFile.Fail(kErrBadImageFile, "a page is empty");
  if (f.itsWidth > 0x7FFFFFFF || f.itsHeight > 0x7FFFFFFF) inFile.Fail(kErrBadImageFile, "a page is too large");
  switch (f.itsPhotometric) {
    case PHOTOMETRIC_RGB:
      if (f.itsSamples < 3) inFile.Fail(kErrBadImageFile, "an RGB page has fewer than three samples");
      f.itsColour = true;
      break;
    case PHOTOMETRIC_MINISBLACK:
    case PHOTOMETRIC_MINISWHITE:
    case PHOTOMETRIC_PALETTE:  // the index values are the data
      break;
    default:
      inFile.Fail(kErrUnsupportedImage, "photometric interpretation " + std::to_string(f.itsPhotometric) +
                                            " is not supported");
  }
  f.itsSample = SampleOf(inFile, f.itsBits, f.itsSampleFormat);
  if (f.itsSample == XSample::kBit && f.itsSamples != 1) inFile.Fail(kErrUnsupportedImage, "1-bit pages of several samples");
  f.itsTarget = TargetOf(inFile, f);
  return f;
}

// Bytes of the encoded strips or tiles of the current page.
UInt64 StoredBytes(TIFF* inTIFF) {
  const bool tiled = TIFFIsTiled(inTIFF);
  const uint32_t count = tiled ? TIFFNumberOfTiles(inTIFF) : TIFFNumberOfStrips(inTIFF);
  UInt64 total = 0;
  for (uint32_t i = 0; i < count; ++i) total += tiled ? TIFFGetStrileByteCount(inTIFF, i) : TIFFGetStrileByteCount(inTIFF, i);
  return total;
}

// ---------------------------------------------------------------- decoding a page

// The page's samples, decoded, pixel by pixel (samples of a pixel together),
// rows packed. 1-bit pages come as one byte a pixel, 0 or 255.
class XPageDecoder {
 public:
  XPageDecoder(const XTIFFHandle& inFile, const XPageFormat& inFormat) : itsFile(inFile), itsFormat(inFormat) {}

  const std::vector<UInt8>& Decode() {
    TIFF* tif = itsFile.Get();
    itsPixels.assign(itsFormat.itsBits == 1 ? UInt64(itsFormat.itsWidth) * itsFormat.itsHeight
                                            : itsFormat.PlaneBytes(),
                     0);
    const UInt32 planes = itsFormat.itsPlanar == PLANARCONFIG_SEPARATE ? itsFormat.itsSamples : 1;
    for (UInt32 sample = 0; sample < planes; ++sample) {
      if (TIFFIsTiled(tif))
        DecodeTiles(sample);
      else
        DecodeStrips(sample);
    }
    return itsPixels;
  }

 private:
  // Samples per pixel in one decoded chunk: all of them, or one of a separate plane.
  UInt32 ChunkSamples() const { return itsFormat.itsPlanar == PLANARCONFIG_SEPARATE ? 1 : itsFormat.itsSamples; }
  UInt64 ChunkRowBytes(UInt32 inWidth) const {
    return itsFormat.itsBits == 1 ? (UInt64(inWidth) + 7) / 8 : UInt64(inWidth) * ChunkSamples() * itsFormat.SampleBytes();
  }

  // Places inRows rows of a decoded chunk, inWidth wide, at (inX, inY).
  void Place(const UInt8* inChunk, UInt64 inChunkRowBytes, UInt32 inX, UInt32 inY, UInt32 inWidth, UInt32 inRows,
             UInt32 inSample) {
    const UInt64 pixelBytes = itsFormat.itsBits == 1 ? 1 : itsFormat.PixelBytes();
    const UInt64 sampleBytes = itsFormat.SampleBytes();
    const bool separate = itsFormat.itsPlanar == PLANARCONFIG_SEPARATE;
    for (UInt32 r = 0; r < inRows; ++r) {
      const UInt8* from = inChunk + r * inChunkRowBytes;
      UInt8* to = itsPixels.data() + (UInt64(inY + r) * itsFormat.itsWidth + inX) * pixelBytes;
      if (itsFormat.itsBits == 1) {
        for (UInt32 x = 0; x < inWidth; ++x) to[x] = (from[x >> 3] >> (7 - (x & 7))) & 1 ? 255 : 0;
      } else if (!separate) {
        std::memcpy(to, from, inWidth * pixelBytes);
      } else {
        for (UInt32 x = 0; x < inWidth; ++x)
          std::memcpy(to + x * pixelBytes + inSample * sampleBytes, from + x * sampleBytes, sampleBytes);
      }
    }
  }

  void DecodeStrips(UInt32 inSample) {
    TIFF* tif = itsFile.Get();
    const UInt32 rowsPerStrip = std::min(Field<UInt32>(tif, TIFFTAG_ROWSPERSTRIP, itsFormat.itsHeight), itsFormat.itsHeight);
    if (rowsPerStrip == 0) itsFile.Fail(kErrBadImageFile, "strips of no rows");
    const UInt32 stripsPerPlane = (itsFormat.itsHeight + rowsPerStrip - 1) / rowsPerStrip;
    const UInt64 rowBytes = ChunkRowBytes(itsFormat.itsWidth);
    itsChunk.resize(rowBytes * rowsPerStrip);
    for (UInt32 s = 0; s < stripsPerPlane; ++s) {
      const UInt32 y = s * rowsPerStrip, rows = std::min(rowsPerStrip, itsFormat.itsHeight - y);
      const tstrip_t strip = TIFFComputeStrip(tif, y, UInt16(inSample));
      if (TIFFReadEncodedStrip(tif, strip, itsChunk.data(), tmsize_t(rowBytes * rows)) < 0)
        itsFile.Fail(kErrBadImageFile, "a strip cannot be decoded");
      Place(itsChunk.data(), rowBytes, 0, y, itsFormat.itsWidth, rows, inSample);
    }
  }

  void DecodeTiles(UInt32 inSample) {
    TIFF* tif = itsFile.Get();
    const UInt32 tileWidth = Field<UInt32>(tif, TIFFTAG_TILEWIDTH, 0), tileHeight = Field<UInt32>(tif, TIFFTAG_TILELENGTH, 0);
    if (tileWidth == 0 || tileHeight == 0) itsFile.Fail(kErrBadImageFile, "tiles of no size");
    const UInt64 rowBytes = ChunkRowBytes(tileWidth);
    if (rowBytes * tileHeight > (UInt64(1) << 30)) itsFile.Fail(kErrBadImageFile, "tiles too large");
    itsChunk.resize(rowBytes * tileHeight);
    for (UInt32 y = 0; y < itsFormat.itsHeight; y += tileHeight) {
      for (UInt32 x = 0; x < itsFormat.itsWidth; x += tileWidth) {
        const ttile_t tile = TIFFComputeTile(tif, x, y, 0, UInt16(inSample));
        if (TIFFReadEncodedTile(tif, tile, itsChunk.data(), tmsize_t(itsChunk.size())) < 0)
          itsFile.Fail(kErrBadImageFile, "a tile cannot be decoded");
        Place(itsChunk.data(), rowBytes, x, y, std::min(tileWidth, itsFormat.itsWidth - x),
              std::min(tileHeight, itsFormat.itsHeight - y), inSample);
      }
    }
  }

  const XTIFFHandle& itsFile;
  const XPageFormat& itsFormat;
  std::vector<UInt8> itsPixels;
  std::vector<UInt8> itsChunk;
};

// ---------------------------------------------------------------- placing samples in volumes

template <class S>
S LoadSample(const UInt8* inAt) {
  S value;
  std::memcpy(&value, inAt, sizeof(S));
  return value;
}

// One sample of every pixel into a grey plane of voxel type V.
template <class S, class V>
void CopySampleChannel(const UInt8* inPixels, UInt64 inPixelBytes, UInt64 inCount, V* outPlane) {
  for (UInt64 i = 0; i < inCount; ++i) outPlane[i] = static_cast<V>(LoadSample<S>(inPixels + i * inPixelBytes));
}

template <class V>
void CopyGreyChannel(XSample inSample, const UInt8* inPixels, UInt64 inPixelBytes, UInt64 inCount, V* outPlane) {
  switch (inSample) {
    case XSample::kBit:
    case XSample::kU8: return CopySampleChannel<UInt8>(inPixels, inPixelBytes, inCount, outPlane);
    case XSample::kS8: return CopySampleChannel<SInt8>(inPixels, inPixelBytes, inCount, outPlane);
    case XSample::kU16: return CopySampleChannel<UInt16>(inPixels, inPixelBytes, inCount, outPlane);
    case XSample::kS16: return CopySampleChannel<SInt16>(inPixels, inPixelBytes, inCount, outPlane);
    case XSample::kU32: return CopySampleChannel<UInt32>(inPixels, inPixelBytes, inCount, outPlane);
    case XSample::kS32: return CopySampleChannel<SInt32>(inPixels, inPixelBytes, inCount, outPlane);
    case XSample::kF32: return CopySampleChannel<Float32>(inPixels, inPixelBytes, inCount, outPlane);
    case XSample::kF64: return CopySampleChannel<Float64>(inPixels, inPixelBytes, inCount, outPlane);
  }
}

template <class V>
V* PlaneOf(XVolume& ioVolume, UInt32 inSlice) {
  auto& packed = dynamic_cast<XPackedVolume<V>&>(ioVolume);
  return packed.GetVoxelPtr(packed.GetBounds().left, packed.GetBounds().top, packed.GetBounds().front + SInt32(inSlice));
}

void PlaceGrey(const XPageFormat& inFormat, const std::vector<UInt8>& inPixels, UInt32 inSample, XVolume& ioVolume,
               UInt32 inSlice) {
  const UInt64 count = UInt64(inFormat.itsWidth) * inFormat.itsHeight;
  const UInt64 pixelBytes = inFormat.itsBits == 1 ? 1 : inFormat.PixelBytes();
  const UInt8* first = inPixels.data() + inSample * inFormat.SampleBytes();
  XLock lock(ioVolume, kLockReadWrite);
  switch (inFormat.itsTarget) {
    case XTarget::kGrey8: return CopyGreyChannel(inFormat.itsSample, first, pixelBytes, count, PlaneOf<UInt8>(ioVolume, inSlice));
    case XTarget::kGrey16: return CopyGreyChannel(inFormat.itsSample, first, pixelBytes, count, PlaneOf<UInt16>(ioVolume, inSlice));
    case XTarget::kGrey32: return CopyGreyChannel(inFormat.itsSample, first, pixelBytes, count, PlaneOf<UInt32>(ioVolume, inSlice));
    case XTarget::kFloat: return CopyGreyChannel(inFormat.itsSample, first, pixelBytes, count, PlaneOf<Float32>(ioVolume, inSlice));
    default: XAssert(false);
  }
}

void PlaceColour(const XPageFormat& inFormat, const std::vector<UInt8>& inPixels, XVolume& ioVolume, UInt32 inSlice) {
  const UInt64 count = UInt64(inFormat.itsWidth) * inFormat.itsHeight;
  const UInt64 pixelBytes = inFormat.PixelBytes();
  XLock lock(ioVolume, kLockReadWrite);
  if (inFormat.itsTarget == XTarget::kARGB32) {
    XARGB32Colour* to = PlaneOf<XARGB32Colour>(ioVolume, inSlice);
    const bool alpha = inFormat.itsSamples >= 4;
    for (UInt64 i = 0; i < count; ++i) {
      const UInt8* p = inPixels.data() + i * pixelBytes;
      to[i] = XARGB32Colour(alpha ? p[3] : 255, p[0], p[1], p[2]);
    }
  } else {
    XRGB48Colour* to = PlaneOf<XRGB48Colour>(ioVolume, inSlice);
    for (UInt64 i = 0; i < count; ++i) {
      const UInt8* p = inPixels.data() + i * pixelBytes;
      to[i] = XRGB48Colour(LoadSample<UInt16>(p), LoadSample<UInt16>(p + 2), LoadSample<UInt16>(p + 4));
    }
  }
}

std::unique_ptr<XVolume> NewVolume(XTarget inTarget, UInt32 inWidth, UInt32 inHeight, UInt32 inDepth) {
  switch (inTarget) {
    case XTarget::kGrey8: return std::make_unique<XGrey8Volume>(inWidth, inHeight, inDepth);
    case XTarget::kGrey16: return std::make_unique<XGrey16Volume>(inWidth, inHeight, inDepth);
    case XTarget::kGrey32: return std::make_unique<XGrey32Volume>(inWidth, inHeight, inDepth);
    case XTarget::kFloat: return std::make_unique<XFPVolume>(inWidth, inHeight, inDepth);
    case XTarget::kARGB32: return std::make_unique<XARGB32Volume>(inWidth, inHeight, inDepth);
    case XTarget::kRGB48: return std::make_unique<XRGB48Volume>(inWidth, inHeight, inDepth);
  }
  return nullptr;
}

UInt64 VoxelBytes(XTarget inTarget) {
  switch (inTarget) {
    case XTarget::kGrey8: return 1;
    case XTarget::kGrey16: return 2;
    case XTarget::kRGB48: return 6;
    default: return 4;
  }
}

// ---------------------------------------------------------------- reading a file

class XStackReader {
 public:
  explicit XStackReader(XTIFFHandle& inFile) : itsFile(inFile) {}

  XImageStack Read() {
    TIFF* tif = itsFile.Get();
    itsFormat = ReadPageFormat(itsFile);
    char* description = nullptr;
    XString text;
    if (TIFFGetField(tif, TIFFTAG_IMAGEDESCRIPTION, &description) && description) text = description;
    ReadCalibrationTags();
    FindPages();
    itsLayout = LayoutOf(text);
    CheckSizes();
    XImageStack stack = MakeStack();
    ReadPlanes(stack);
    return stack;
  }

 private:
  // Every full-resolution page of the first page's layout; reduced images
  // (previews) are passed over.
  void FindPages() {
    TIFF* tif = itsFile.Get();
    do {
      if (Field<UInt32>(tif, TIFFTAG_SUBFILETYPE, 0) & FILETYPE_REDUCEDIMAGE) continue;
      if (!itsPages.empty() && !ReadPageFormat(itsFile).SameLayout(itsFormat))
        itsFile.Fail(kErrUnsupportedImage, "its pages differ in size or pixel type");
      if (itsPages.size() >= 0x7FFFFFFF) itsFile.Fail(kErrBadImageFile, "too many pages");
      itsPages.push_back(TIFFCurrentDirectory(tif));
      itsStoredBytes += StoredBytes(tif);
    } while (TIFFReadDirectory(tif));
    if (itsPages.empty()) itsFile.Fail(kErrBadImageFile, "no full-resolution page");
  }

  XStackLayout LayoutOf(const XString& inDescription) {
    const UInt32 pages = UInt32(itsPages.size()), channels = itsFormat.SampleChannels();
    XStackLayout layout;
    if (XParseOMEXML(inDescription, pages, itsFormat.itsSamples, channels, itsFile.GetName(), layout)) return layout;
    // ImageJ keeps large stacks as one page followed by the other planes.
    const UInt64 maxPlanes =
        std::max<UInt64>(pages, itsFile.GetFileSize() / std::max<UInt64>(1, itsFormat.EncodedPlaneBytes()));
    if (XParseImageJDescription(inDescription, pages, maxPlanes, channels, layout)) {
      if (layout.itsPlanes.size() > pages && !CanReadPlanesBehindFirstPage())
        layout = XPlainStackLayout(pages, channels);
      return layout;
    }
    return XPlainStackLayout(pages, channels);
  }

  bool CanReadPlanesBehindFirstPage() {
    TIFF* tif = itsFile.Get();
    if (!TIFFSetDirectory(tif, itsPages.front())) return false;
    if (itsFormat.itsCompression != COMPRESSION_NONE || TIFFIsTiled(tif) || TIFFNumberOfStrips(tif) == 0 ||
        itsFormat.itsPlanar != PLANARCONFIG_CONTIG || itsFormat.itsBits == 1)
      return false;
    itsFirstDataOffset = TIFFGetStrileOffset(tif, 0);
    // The first page's strips must be one run of bytes.
    UInt64 next = itsFirstDataOffset;
    for (uint32_t s = 0; s < TIFFNumberOfStrips(tif); ++s) {
      if (TIFFGetStrileOffset(tif, s) != next) return false;
      next += TIFFGetStrileByteCount(tif, s);
    }
    return next - itsFirstDataOffset == itsFormat.PlaneBytes();
  }

  void ReadCalibrationTags() {
    TIFF* tif = itsFile.Get();
    float xres = 0, yres = 0;
    const UInt16 unit = Field<UInt16>(tif, TIFFTAG_RESOLUTIONUNIT, RESUNIT_NONE);
    if (TIFFGetField(tif, TIFFTAG_XRESOLUTION, &xres) && xres > 0) itsX = 1.0 / xres;
    if (TIFFGetField(tif, TIFFTAG_YRESOLUTION, &yres) && yres > 0) itsY = 1.0 / yres;
    itsResolutionUnit = unit == RESUNIT_CENTIMETER ? "cm" : unit == RESUNIT_INCH ? "inch" : "";
  }

  void CheckSizes() {
    const UInt64 voxelsPerPlane = UInt64(itsFormat.itsWidth) * itsFormat.itsHeight;
    const UInt64 planes = UInt64(itsLayout.itsTimepoints) * itsLayout.itsSlices * itsLayout.itsChannels;
    const UInt64 decoded = itsFormat.EncodedPlaneBytes() * itsLayout.itsPlanes.size();
    const UInt64 ratio = itsFormat.itsCompression == COMPRESSION_NONE ? 1 : kMaxCompressionRatio;
    // libtiff estimates the byte counts a page leaves out; none can exceed the file.
    const UInt64 stored = itsLayout.itsPlanes.size() > itsPages.size() ? itsFile.GetFileSize()
                                                                       : std::min(itsStoredBytes, itsFile.GetFileSize());
    if (decoded > stored * ratio + kDecodedAllowance)
      itsFile.Fail(kErrBadImageFile, "its pages hold less data than they claim");
    const UInt64 needed = voxelsPerPlane * planes * VoxelBytes(itsFormat.itsTarget);
    if (needed > XMemoryHandle::GetAllocationLimit())
      itsFile.Fail(kErrOutOfMemory, "the image needs " + std::to_string(needed) + " bytes, more than this machine allows");
    if (itsLayout.itsSlices > 0x7FFFFFFF) itsFile.Fail(kErrBadImageFile, "too many planes");
  }

  XImageStack MakeStack() {
    XImageStack stack(itsLayout.itsTimepoints, itsLayout.itsChannels);
    // Planes that the file does not hold stay black; when it holds them all,
    // every voxel is written by the reading and clearing would cost a pass.
    const UInt64 planesNeeded = UInt64(itsLayout.itsTimepoints) * itsLayout.itsSlices *
                                (itsLayout.itsChannels / itsFormat.SampleChannels());
    const bool clear = itsLayout.itsPlanes.size() < planesNeeded || !EveryPlaneOnce();
    for (UInt32 t = 1; t <= itsLayout.itsTimepoints; ++t)
      for (UInt32 c = 1; c <= itsLayout.itsChannels; ++c) {
        auto volume = NewVolume(itsFormat.itsTarget, itsFormat.itsWidth, itsFormat.itsHeight, itsLayout.itsSlices);
        if (clear) volume->Clear();
        stack.SetVolume(t, c, std::move(volume));
      }
    SetCalibration(stack);
    for (UInt32 c = 0; c < itsLayout.itsChannelNames.size() && c < itsLayout.itsChannels; ++c)
      stack.SetChannelName(c + 1, itsLayout.itsChannelNames[c]);
    stack.SetTimeInterval(itsLayout.itsTimeInterval);
    return stack;
  }

  // Whether the planes name every (timepoint, slice, channel) exactly once.
  bool EveryPlaneOnce() const {
    const UInt32 step = itsFormat.SampleChannels();
    std::vector<bool> seen(UInt64(itsLayout.itsTimepoints) * itsLayout.itsSlices * itsLayout.itsChannels, false);
    for (const XPlaneIndex& p : itsLayout.itsPlanes) {
      if (p.itsTimepoint >= itsLayout.itsTimepoints || p.itsSlice >= itsLayout.itsSlices ||
          p.itsChannel % step || p.itsChannel >= itsLayout.itsChannels)
        return false;
      const UInt64 at = (UInt64(p.itsTimepoint) * itsLayout.itsSlices + p.itsSlice) * itsLayout.itsChannels + p.itsChannel;
      if (seen[at]) return false;
      seen[at] = true;
    }
    return true;
  }

  void SetCalibration(XImageStack& ioStack) const {
    Float64 x = itsLayout.itsX > 0 ? itsLayout.itsX : itsX, y = itsLayout.itsY > 0 ? itsLayout.itsY : itsY;
    XString unit = itsLayout.itsUnit;
    if (!itsLayout.itsFromOME && !itsLayout.itsFromImageJ && !itsResolutionUnit.empty()) {
      // Resolution tags in centimetres or inches: the voxel size in µm.
      const Float64 scale = XMicrometresPerUnit(itsResolutionUnit);
      x *= scale;
      y *= scale;
      unit = "\xC2\xB5m";
    }
    if (x <= 0) x = 1.0;
    if (y <= 0) y = x;
    const Float64 z = itsLayout.itsZ > 0 ? itsLayout.itsZ : 1.0;
    ioStack.SetCalibration(x, y, z);
    ioStack.SetUnit(unit.empty() ? XString("pixel") : unit);
  }

  void ReadPlanes(XImageStack& ioStack) {
    TIFF* tif = itsFile.Get();
    const size_t planes = itsLayout.itsPlanes.size();
    XProgress progress(planes, ("reading " + itsFile.GetName()).c_str(), kProgressStandard, 500, false);
    XPageDecoder decoder(itsFile, itsFormat);
    std::vector<UInt8> raw;
    for (size_t i = 0; i < planes; ++i) {
      const std::vector<UInt8>* pixels;
      if (i < itsPages.size()) {
        GoToPage(itsPages[i]);
        if (itsFormat.itsPhotometric == PHOTOMETRIC_RGB && itsFormat.itsCompression == COMPRESSION_JPEG)
          TIFFSetField(tif, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
        if (ReadStripsInPlace(itsLayout.itsPlanes[i], ioStack)) {
          progress.Increment();
          continue;
        }
        pixels = &decoder.Decode();
      } else {
        raw.resize(itsFormat.PlaneBytes());
        itsFile.ReadRaw(itsFirstDataOffset + i * itsFormat.PlaneBytes(), raw.data(), raw.size());
        if (TIFFIsByteSwapped(tif)) SwapSamples(raw.data(), raw.size());
        pixels = &raw;
      }
      Place(*pixels, itsLayout.itsPlanes[i], ioStack);
      progress.Increment();
    }
  }

  // A grey page whose samples are the volume's voxels, in strips: libtiff
  // decodes each strip straight into the plane, with no copy between.
  bool ReadStripsInPlace(const XPlaneIndex& inWhere, XImageStack& ioStack) {
    TIFF* tif = itsFile.Get();
    const XSample s = itsFormat.itsSample;
    const bool sameType = (s == XSample::kU8 && itsFormat.itsTarget == XTarget::kGrey8) ||
                          (s == XSample::kU16 && itsFormat.itsTarget == XTarget::kGrey16) ||
                          (s == XSample::kU32 && itsFormat.itsTarget == XTarget::kGrey32) ||
                          (s == XSample::kF32 && itsFormat.itsTarget == XTarget::kFloat);
    if (!sameType || itsFormat.itsSamples != 1 || TIFFIsTiled(tif)) return false;
    if (inWhere.itsTimepoint >= itsLayout.itsTimepoints || inWhere.itsSlice >= itsLayout.itsSlices ||
        inWhere.itsChannel >= itsLayout.itsChannels)
      return true;  // a plane outside the stack: nothing to place
    XVolume& volume = ioStack.GetVolume(inWhere.itsTimepoint + 1, inWhere.itsChannel + 1);
    auto& packed = dynamic_cast<XBasePackedVolume&>(volume);
    XLock lock(packed, kLockReadWrite);
    UInt8* plane = packed.GetPlanePtr(packed.GetBounds().front + SInt32(inWhere.itsSlice));
    const UInt32 rowsPerStrip = std::min(Field<UInt32>(tif, TIFFTAG_ROWSPERSTRIP, itsFormat.itsHeight), itsFormat.itsHeight);
    if (rowsPerStrip == 0) itsFile.Fail(kErrBadImageFile, "strips of no rows");
    const UInt64 rowBytes = UInt64(itsFormat.itsWidth) * itsFormat.SampleBytes();
    if (itsFormat.itsCompression == COMPRESSION_NONE) {
      ReadRawStrips(plane, rowsPerStrip, rowBytes);
      return true;
    }
    for (UInt32 y = 0; y < itsFormat.itsHeight; y += rowsPerStrip) {
      const UInt32 rows = std::min(rowsPerStrip, itsFormat.itsHeight - y);
      if (TIFFReadEncodedStrip(tif, TIFFComputeStrip(tif, y, 0), plane + y * rowBytes, tmsize_t(rowBytes * rows)) < 0)
        itsFile.Fail(kErrBadImageFile, "a strip cannot be decoded");
    }
    return true;
  }

  // Uncompressed strips go from the file straight into the plane, and strips
  // that follow each other in the file go in one read: libtiff's own reading
  // costs a seek and a read per strip, and a strip is often a few rows.
  void ReadRawStrips(UInt8* outPlane, UInt32 inRowsPerStrip, UInt64 inRowBytes) {
    TIFF* tif = itsFile.Get();
    UInt64 runOffset = 0, runBytes = 0;
    UInt8* runTo = outPlane;
    const auto readRun = [&] {
      if (runBytes == 0) return;
      itsFile.ReadRaw(runOffset, runTo, runBytes);
      if (TIFFIsByteSwapped(tif)) SwapSamples(runTo, runBytes);
    };
    for (UInt32 y = 0; y < itsFormat.itsHeight; y += inRowsPerStrip) {
      const UInt32 rows = std::min(inRowsPerStrip, itsFormat.itsHeight - y);
      const tstrip_t strip = TIFFComputeStrip(tif, y, 0);
      const UInt64 bytes = inRowBytes * rows;
      if (TIFFGetStrileByteCount(tif, strip) < bytes) itsFile.Fail(kErrBadImageFile, "a strip is short");
      const UInt64 offset = TIFFGetStrileOffset(tif, strip);
      if (runBytes != 0 && offset == runOffset + runBytes) {
        runBytes += bytes;  // the plane's rows follow on too
        continue;
      }
      readRun();
      runOffset = offset;
      runBytes = bytes;
      runTo = outPlane + y * inRowBytes;
    }
    readRun();
  }

  // Pages are read in file order: the next directory is one step on, where
  // setting it by number would walk the chain from the start every time.
  void GoToPage(tdir_t inDirectory) {
    TIFF* tif = itsFile.Get();
    const bool next = TIFFCurrentDirectory(tif) + 1 == inDirectory;
    if (TIFFCurrentDirectory(tif) == inDirectory) return;
    if (!(next ? TIFFReadDirectory(tif) : TIFFSetDirectory(tif, inDirectory)))
      itsFile.Fail(kErrBadImageFile, "a page cannot be read");
  }

  void SwapSamples(UInt8* ioRaw, UInt64 inBytes) const {
    const UInt64 bytes = itsFormat.SampleBytes();
    if (bytes == 2) SwapBuffer16(ioRaw, inBytes / 2);
    if (bytes == 4) SwapBuffer32(ioRaw, inBytes / 4);
    if (bytes == 8)
      for (UInt64 i = 0; i + 8 <= inBytes; i += 8) std::reverse(ioRaw + i, ioRaw + i + 8);
  }

  void Place(const std::vector<UInt8>& inPixels, const XPlaneIndex& inWhere, XImageStack& ioStack) const {
    if (inWhere.itsTimepoint >= itsLayout.itsTimepoints || inWhere.itsSlice >= itsLayout.itsSlices) return;
    if (itsFormat.itsColour) {
      if (inWhere.itsChannel < itsLayout.itsChannels)
        PlaceColour(itsFormat, inPixels, ioStack.GetVolume(inWhere.itsTimepoint + 1, inWhere.itsChannel + 1),
                    inWhere.itsSlice);
      return;
    }
    for (UInt32 s = 0; s < itsFormat.itsSamples && inWhere.itsChannel + s < itsLayout.itsChannels; ++s)
      PlaceGrey(itsFormat, inPixels, s, ioStack.GetVolume(inWhere.itsTimepoint + 1, inWhere.itsChannel + s + 1),
                inWhere.itsSlice);
  }

  XTIFFHandle& itsFile;
  XPageFormat itsFormat;
  std::vector<tdir_t> itsPages;
  UInt64 itsStoredBytes = 0;
  UInt64 itsFirstDataOffset = 0;
  XStackLayout itsLayout;
  Float64 itsX = 0, itsY = 0;
  XString itsResolutionUnit;
};

// ---------------------------------------------------------------- writing

struct XWriteFormat {
  UInt16 itsBits, itsSamples, itsSampleFormat, itsPhotometric;
};

XWriteFormat WriteFormatOf(const XVolume& inVolume) {
  switch (XPixelTypeOf(inVolume)) {
    case XPixelType::kGrey8:
    case XPixelType::kMask: return {8, 1, SAMPLEFORMAT_UINT, PHOTOMETRIC_MINISBLACK};
    case XPixelType::kGrey16: return {16, 1, SAMPLEFORMAT_UINT, PHOTOMETRIC_MINISBLACK};
    case XPixelType::kGrey32: return {32, 1, SAMPLEFORMAT_UINT, PHOTOMETRIC_MINISBLACK};
    case XPixelType::kFloat: return {32, 1, SAMPLEFORMAT_IEEEFP, PHOTOMETRIC_MINISBLACK};
    case XPixelType::kARGB32:
    case XPixelType::kBGRA32: return {8, 3, SAMPLEFORMAT_UINT, PHOTOMETRIC_RGB};
    case XPixelType::kRGB48: return {16, 3, SAMPLEFORMAT_UINT, PHOTOMETRIC_RGB};
  }
  return {8, 1, SAMPLEFORMAT_UINT, PHOTOMETRIC_MINISBLACK};
}

// The row of a volume as the page stores it.
void RowSamples(const XVolume& inVolume, SInt32 inY, SInt32 inZ, std::vector<UInt8>& outRow) {
  const X3DRect& b = inVolume.GetBounds();
  const UInt32 width = inVolume.GetWidth();
  auto copy = [&](const auto& inTyped) {
    std::memcpy(outRow.data(), inTyped.GetVoxelPtr(b.left, inY, inZ), width * sizeof(*inTyped.GetVoxelPtr(b.left, inY, inZ)));
  };
  if (auto* v = dynamic_cast<const XPackedVolume<UInt8>*>(&inVolume)) return copy(*v);
  if (auto* v = dynamic_cast<const XPackedVolume<UInt16>*>(&inVolume)) return copy(*v);
  if (auto* v = dynamic_cast<const XPackedVolume<UInt32>*>(&inVolume)) return copy(*v);
  if (auto* v = dynamic_cast<const XPackedVolume<Float32>*>(&inVolume)) return copy(*v);
  if (auto* v = dynamic_cast<const XPackedVolume<XARGB32Colour>*>(&inVolume)) {
    const XARGB32Colour* p = v->GetVoxelPtr(b.left, inY, inZ);
    for (UInt32 x = 0; x < width; ++x) {
      outRow[3 * x] = p[x].red;
      outRow[3 * x + 1] = p[x].green;
      outRow[3 * x + 2] = p[x].blue;
    }
    return;
  }
  if (auto* v = dynamic_cast<const XPackedVolume<XBGRA32Colour>*>(&inVolume)) {
    const XBGRA32Colour* p = v->GetVoxelPtr(b.left, inY, inZ);
    for (UInt32 x = 0; x < width; ++x) {
      outRow[3 * x] = p[x].red;
      outRow[3 * x + 1] = p[x].green;
      outRow[3 * x + 2] = p[x].blue;
    }
    return;
  }
  if (auto* v = dynamic_cast<const XPackedVolume<XRGB48Colour>*>(&inVolume)) {
    const XRGB48Colour* p = v->GetVoxelPtr(b.left, inY, inZ);
    auto* out = reinterpret_cast<UInt16*>(outRow.data());
    for (UInt32 x = 0; x < width; ++x) {
      out[3 * x] = p[x].red;
      out[3 * x + 1] = p[x].green;
      out[3 * x + 2] = p[x].blue;
    }
  }
}

UInt16 CompressionTag(XTIFFCompression inCompression) {
  switch (inCompression) {
    case kTIFFDeflate: return COMPRESSION_ADOBE_DEFLATE;
    case kTIFFLZW: return COMPRESSION_LZW;
    case kTIFFZstd: return COMPRESSION_ZSTD;
    default: return COMPRESSION_NONE;
  }
}

class XStackWriter {
 public:
  XStackWriter(const XImageStack& inStack, XTIFFHandle& ioFile, const XTIFFWriteOptions& inOptions)
      : itsStack(inStack), itsFile(ioFile), itsOptions(inOptions),
        itsFormat(WriteFormatOf(inStack.GetFirstVolume())) {}

  void Write() {
    const XVolume& first = itsStack.GetFirstVolume();
    const UInt32 depth = first.GetDepth();
    itsDescription = XFormatImageJDescription(itsStack.GetTimepointCount(), depth, itsStack.GetChannelCount(),
                                              itsStack.GetUnit(), first.GetZCalibration(), itsStack.GetTimeInterval());
    XProgress progress(UInt64(itsStack.GetTimepointCount()) * depth * itsStack.GetChannelCount(),
                       ("writing " + itsFile.GetName()).c_str(), kProgressStandard, 500, false);
    bool firstPage = true;
    for (UInt32 t = 1; t <= itsStack.GetTimepointCount(); ++t)
      for (UInt32 z = 0; z < depth; ++z)
        for (UInt32 c = 1; c <= itsStack.GetChannelCount(); ++c) {
          WritePage(itsStack.GetVolume(t, c), z, firstPage);
          firstPage = false;
          progress.Increment();
        }
  }

 private:
  void WritePage(const XVolume& inVolume, UInt32 inSlice, bool inFirst) {
    TIFF* tif = itsFile.Get();
    SetPageTags(inVolume, inFirst);
    XLock lock(inVolume, kLockRead);
    std::vector<UInt8> row(UInt64(inVolume.GetWidth()) * itsFormat.itsSamples * itsFormat.itsBits / 8);
    const X3DRect& b = inVolume.GetBounds();
    for (UInt32 y = 0; y < inVolume.GetHeight(); ++y) {
      RowSamples(inVolume, b.top + SInt32(y), b.front + SInt32(inSlice), row);
      itsFile.Check(TIFFWriteScanline(tif, row.data(), y, 0), "a row cannot be written");
    }
    itsFile.Check(TIFFWriteDirectory(tif), "a page cannot be written");
  }

  void SetPageTags(const XVolume& inVolume, bool inFirst) {
    TIFF* tif = itsFile.Get();
    TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, UInt32(inVolume.GetWidth()));
    TIFFSetField(tif, TIFFTAG_IMAGELENGTH, UInt32(inVolume.GetHeight()));
    TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, itsFormat.itsBits);
    TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, itsFormat.itsSamples);
    TIFFSetField(tif, TIFFTAG_SAMPLEFORMAT, itsFormat.itsSampleFormat);
    TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, itsFormat.itsPhotometric);
    TIFFSetField(tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tif, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    const UInt16 compression = CompressionTag(itsOptions.itsCompression);
    if (!TIFFIsCODECConfigured(compression))
      itsFile.Fail(kErrUnsupportedImage, "this libtiff has no codec for the chosen compression");
    TIFFSetField(tif, TIFFTAG_COMPRESSION, compression);
    if (compression != COMPRESSION_NONE)
      TIFFSetField(tif, TIFFTAG_PREDICTOR,
                   itsFormat.itsSampleFormat == SAMPLEFORMAT_IEEEFP ? PREDICTOR_FLOATINGPOINT : PREDICTOR_HORIZONTAL);
    TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(tif, 0));
    // ImageJ keeps the unit in its description and the pixels per unit here.
    TIFFSetField(tif, TIFFTAG_RESOLUTIONUNIT, RESUNIT_NONE);
    TIFFSetField(tif, TIFFTAG_XRESOLUTION, float(1.0 / inVolume.GetXCalibration()));
    TIFFSetField(tif, TIFFTAG_YRESOLUTION, float(1.0 / inVolume.GetYCalibration()));
    TIFFSetField(tif, TIFFTAG_SOFTWARE, "MirelanImaging");
    if (inFirst) TIFFSetField(tif, TIFFTAG_IMAGEDESCRIPTION, itsDescription.c_str());
  }

  const XImageStack& itsStack;
  XTIFFHandle& itsFile;
  const XTIFFWriteOptions& itsOptions;
  XWriteFormat itsFormat;
  XString itsDescription;
};

}  // namespace

XImageStack XTIFFCodec::Read(const XFileSpec& inFile) {
  XTIFFHandle file(inFile, "r");
  return XStackReader(file).Read();
}

XImageStack XTIFFCodec::Read(const void* inData, UInt64 inBytes, const XString& inName) {
  XTIFFHandle file(inData, inBytes, inName);
  return XStackReader(file).Read();
}

namespace {

// Pages in channel, slice, timepoint order: the volume and plane of page i.
struct XPageOrder {
  const XImageStack& itsStack;
  UInt32 itsDepth;
  const XVolume& VolumeOf(UInt32 inPage) const {
    const UInt32 channels = itsStack.GetChannelCount();
    return itsStack.GetVolume(inPage / (channels * itsDepth) + 1, inPage % channels + 1);
  }
  UInt32 SliceOf(UInt32 inPage) const { return (inPage / itsStack.GetChannelCount()) % itsDepth; }
};

// Uncompressed stacks keep their data in one run, as ImageJ writes them.
void WriteContiguous(const XImageStack& inStack, const XFileSpec& inTemporary, bool inBig) {
  const XVolume& first = inStack.GetFirstVolume();
  const XWriteFormat format = WriteFormatOf(first);
  XTIFFPageLayout layout;
  layout.itsWidth = first.GetWidth();
  layout.itsHeight = first.GetHeight();
  layout.itsBits = format.itsBits;
  layout.itsSamples = format.itsSamples;
  layout.itsSampleFormat = format.itsSampleFormat;
  layout.itsPhotometric = format.itsPhotometric;
  layout.itsXResolution = 1.0 / first.GetXCalibration();
  layout.itsYResolution = 1.0 / first.GetYCalibration();
  const XPageOrder order{inStack, first.GetDepth()};
  const UInt32 pages = inStack.GetTimepointCount() * inStack.GetChannelCount() * first.GetDepth();
  const XString description = XFormatImageJDescription(inStack.GetTimepointCount(), first.GetDepth(),
                                                       inStack.GetChannelCount(), inStack.GetUnit(),
                                                       first.GetZCalibration(), inStack.GetTimeInterval());
  std::vector<UInt8> row(UInt64(layout.itsWidth) * layout.itsSamples * layout.itsBits / 8);
  XWriteContiguousTIFF(inTemporary, layout, pages, description, inBig, [&](UInt32 inPage, UInt32 inRow, UInt8* outRow) {
    const XVolume& volume = order.VolumeOf(inPage);
    XLock lock(volume, kLockRead);
    RowSamples(volume, volume.GetBounds().top + SInt32(inRow), volume.GetBounds().front + SInt32(order.SliceOf(inPage)), row);
    std::memcpy(outRow, row.data(), row.size());
  });
}

}  // namespace

void XTIFFCodec::Write(const XImageStack& inStack, const XFileSpec& inFile, const XTIFFWriteOptions& inOptions) {
  inStack.CheckComplete();
  const XVolume& first = inStack.GetFirstVolume();
  const XWriteFormat format = WriteFormatOf(first);
  const UInt64 bytes = first.GetBounds().GetVolume() * inStack.GetTimepointCount() * inStack.GetChannelCount() *
                       format.itsBits / 8 * format.itsSamples;
  if (UInt64(inStack.GetTimepointCount()) * inStack.GetChannelCount() * first.GetDepth() > 0xFFFFFFFF)
    throw XException(kErrUnsupportedImage, inFile.GetPath() + ": too many planes for one TIFF file");
  // Classic TIFF addresses 4 GiB; leave room for the directories.
  const bool big = inOptions.itsBigTIFF || bytes > (UInt64(4000) << 20);
  XTemporaryOutput output(inFile);
  if (inOptions.itsCompression == kTIFFUncompressed) {
    WriteContiguous(inStack, output.GetTemporary(), big);
  } else {
    XTIFFHandle file(output.GetTemporary(), big ? "w8" : "w", inFile.GetPath());
    XStackWriter(inStack, file, inOptions).Write();
  }
  output.Commit();
}

}  // namespace mirelan
