#include "storage/XPNGCodec.h"

#include <png.h>

#include <cerrno>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include "core/XException.h"
#include "storage/internal/XTemporaryOutput.h"
#include "volume/XColourVolumes.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey8Volume.h"

namespace mirelan {

namespace {

// libpng reports errors by longjmp; the reading keeps every object that
// outlives a jump in this plain structure, made before the jump point.
struct XPNGRead {
  std::FILE* itsFile = nullptr;
  png_structp itsPNG = nullptr;
  png_infop itsInfo = nullptr;
  char itsError[256] = {0};
  ~XPNGRead() {
    if (itsPNG) png_destroy_read_struct(&itsPNG, itsInfo ? &itsInfo : nullptr, nullptr);
    if (itsFile) std::fclose(itsFile);
  }
};

void KeepError(png_structp inPNG, png_const_charp inMessage) {
  auto* read = static_cast<XPNGRead*>(png_get_error_ptr(inPNG));
  std::snprintf(read->itsError, sizeof(read->itsError), "%s", inMessage);
  png_longjmp(inPNG, 1);
}

void IgnoreWarning(png_structp, png_const_charp) {}

// The decoded rows; false when libpng jumped out with an error.
bool DecodeRows(XPNGRead& ioRead, UInt32& outWidth, UInt32& outHeight, int& outChannels, int& outBits,
                std::vector<UInt8>& outPixels) {
  if (setjmp(png_jmpbuf(ioRead.itsPNG))) return false;
  png_init_io(ioRead.itsPNG, ioRead.itsFile);
  // No image may claim more rows or columns than this; libpng checks the
  // product against its own limits too.
  png_set_user_limits(ioRead.itsPNG, 65536, 65536);
  png_read_info(ioRead.itsPNG, ioRead.itsInfo);
  const int colourType = png_get_color_type(ioRead.itsPNG, ioRead.itsInfo);
  if (colourType == PNG_COLOR_TYPE_PALETTE) png_set_palette_to_rgb(ioRead.itsPNG);
  if (png_get_bit_depth(ioRead.itsPNG, ioRead.itsInfo) < 8) png_set_expand(ioRead.itsPNG);
  if (png_get_valid(ioRead.itsPNG, ioRead.itsInfo, PNG_INFO_tRNS)) png_set_tRNS_to_alpha(ioRead.itsPNG);
  if (png_get_bit_depth(ioRead.itsPNG, ioRead.itsInfo) == 16) png_set_swap(ioRead.itsPNG);  // host order
  png_read_update_info(ioRead.itsPNG, ioRead.itsInfo);
  outWidth = png_get_image_width(ioRead.itsPNG, ioRead.itsInfo);
  outHeight = png_get_image_height(ioRead.itsPNG, ioRead.itsInfo);
  outChannels = png_get_channels(ioRead.itsPNG, ioRead.itsInfo);
  outBits = png_get_bit_depth(ioRead.itsPNG, ioRead.itsInfo);
  const size_t rowBytes = png_get_rowbytes(ioRead.itsPNG, ioRead.itsInfo);
  outPixels.resize(rowBytes * outHeight);
  std::vector<png_bytep> rows(outHeight);
  for (UInt32 y = 0; y < outHeight; ++y) rows[y] = outPixels.data() + y * rowBytes;
  png_read_image(ioRead.itsPNG, rows.data());
  png_read_end(ioRead.itsPNG, nullptr);
  return true;
}

template <class V, class Fn>
std::unique_ptr<V> PlaneFrom(UInt32 inWidth, UInt32 inHeight, Fn inVoxelAt) {
  auto volume = std::make_unique<V>(inWidth, inHeight, 1);
  XLock lock(*volume, kLockWrite);
  typename V::Voxel* voxel = volume->GetBaseVoxelPtr();
  for (UInt64 i = 0; i < UInt64(inWidth) * inHeight; ++i) voxel[i] = inVoxelAt(i);
  return volume;
}

std::unique_ptr<XVolume> VolumeFrom(UInt32 inWidth, UInt32 inHeight, int inChannels, int inBits,
                                    const std::vector<UInt8>& inPixels) {
  const UInt8* p = inPixels.data();
  const auto* w = reinterpret_cast<const UInt16*>(p);  // rows of 16-bit samples stay aligned
  const bool grey = inChannels <= 2, alpha = inChannels == 2 || inChannels == 4;
  if (inBits == 8 && grey) return PlaneFrom<XGrey8Volume>(inWidth, inHeight, [&](UInt64 i) { return p[i * inChannels]; });
  if (inBits == 16 && grey) return PlaneFrom<XGrey16Volume>(inWidth, inHeight, [&](UInt64 i) { return w[i * inChannels]; });
  if (inBits == 8)
    return PlaneFrom<XARGB32Volume>(inWidth, inHeight, [&](UInt64 i) {
      const UInt8* q = p + i * inChannels;
      return XARGB32Colour(alpha ? q[3] : 255, q[0], q[1], q[2]);
    });
  return PlaneFrom<XRGB48Volume>(inWidth, inHeight, [&](UInt64 i) {
    const UInt16* q = w + i * inChannels;
    return XRGB48Colour(q[0], q[1], q[2]);
  });
}

// Writes the rows through libpng's simplified interface, under a temporary name.
void WriteImage(png_image& ioImage, const void* inPixels, const XFileSpec& inFile) {
  XTemporaryOutput output(inFile);
  if (!png_image_write_to_file(&ioImage, output.GetTemporary().GetPath().c_str(), 0, inPixels, 0, nullptr)) {
    XString message = ioImage.message;
    png_image_free(&ioImage);
    throw XException(kErrFile, inFile.GetPath() + ": cannot be written: " + message);
  }
  output.Commit();
}

}  // namespace

XImageStack XPNGCodec::Read(const XFileSpec& inFile) {
  XPNGRead read;
  read.itsFile = std::fopen(inFile.GetPath().c_str(), "rb");
  if (!read.itsFile) throw XException(kErrFile, inFile.GetPath() + ": " + std::strerror(errno));
  png_byte signature[8] = {0};
  if (std::fread(signature, 1, 8, read.itsFile) != 8 || png_sig_cmp(signature, 0, 8))
    throw XException(kErrBadImageFile, inFile.GetPath() + ": not a PNG file");
  read.itsPNG = png_create_read_struct(PNG_LIBPNG_VER_STRING, &read, &KeepError, &IgnoreWarning);
  if (read.itsPNG) read.itsInfo = png_create_info_struct(read.itsPNG);
  if (!read.itsPNG || !read.itsInfo) throw XException(kErrOutOfMemory, inFile.GetPath());
  png_set_sig_bytes(read.itsPNG, 8);
  UInt32 width = 0, height = 0;
  int channels = 0, bits = 0;
  std::vector<UInt8> pixels;
  if (!DecodeRows(read, width, height, channels, bits, pixels))
    throw XException(kErrBadImageFile, inFile.GetPath() + ": " + read.itsError);
  XImageStack stack(1, 1);
  stack.SetVolume(1, 1, VolumeFrom(width, height, channels, bits, pixels));
  return stack;
}

void XPNGCodec::Write(const XARGB32Volume& inVolume, SInt32 inZ, const XFileSpec& inFile, bool inKeepAlpha) {
  XAssert(inVolume.GetBounds().Contains(inVolume.GetBounds().left, inVolume.GetBounds().top, inZ));
  const UInt32 width = inVolume.GetWidth(), height = inVolume.GetHeight(), channels = inKeepAlpha ? 4 : 3;
  std::vector<UInt8> pixels(UInt64(width) * height * channels);
  {
    XLock lock(inVolume, kLockRead);
    const X3DRect& b = inVolume.GetBounds();
    UInt8* to = pixels.data();
    for (UInt32 y = 0; y < height; ++y) {
      const XARGB32Colour* from = inVolume.GetVoxelPtr(b.left, b.top + SInt32(y), inZ);
      for (UInt32 x = 0; x < width; ++x, to += channels) {
        to[0] = from[x].red;
        to[1] = from[x].green;
        to[2] = from[x].blue;
        if (inKeepAlpha) to[3] = from[x].alpha;
      }
    }
  }
  png_image image;
  std::memset(&image, 0, sizeof(image));
  image.version = PNG_IMAGE_VERSION;
  image.width = width;
  image.height = height;
  image.format = inKeepAlpha ? PNG_FORMAT_RGBA : PNG_FORMAT_RGB;
  WriteImage(image, pixels.data(), inFile);
}

void XPNGCodec::WriteGrey(const XVolume& inVolume, SInt32 inZ, const XFileSpec& inFile) {
  const X3DRect& b = inVolume.GetBounds();
  XAssert(b.Contains(b.left, b.top, inZ));
  const UInt32 width = inVolume.GetWidth(), height = inVolume.GetHeight();
  png_image image;
  std::memset(&image, 0, sizeof(image));
  image.version = PNG_IMAGE_VERSION;
  image.width = width;
  image.height = height;
  XLock lock(inVolume, kLockRead);
  if (const auto* grey8 = dynamic_cast<const XGrey8Volume*>(&inVolume)) {
    std::vector<UInt8> pixels(UInt64(width) * height);
    for (UInt32 y = 0; y < height; ++y)
      std::memcpy(&pixels[UInt64(y) * width], grey8->GetVoxelPtr(b.left, b.top + SInt32(y), inZ), width);
    image.format = PNG_FORMAT_GRAY;
    return WriteImage(image, pixels.data(), inFile);
  }
  if (const auto* grey16 = dynamic_cast<const XGrey16Volume*>(&inVolume)) {
    std::vector<UInt16> pixels(UInt64(width) * height);
    for (UInt32 y = 0; y < height; ++y)
      std::memcpy(&pixels[UInt64(y) * width], grey16->GetVoxelPtr(b.left, b.top + SInt32(y), inZ), width * 2);
    // Sixteen-bit data is stored as it is, with a gamma of 1.
    image.format = PNG_FORMAT_LINEAR_Y;
    return WriteImage(image, pixels.data(), inFile);
  }
  throw XException(kErrUnsupportedImage, inFile.GetPath() + ": only 8- and 16-bit grey planes are written as grey PNG");
}

}  // namespace mirelan
