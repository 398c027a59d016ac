// JPEG images on streams: round trips within the coder's error, the fixed
// quality, header reads, the refusals and libjpeg's errors as exceptions,
// the lossy volume form, and the real JPEG files.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>

#include <jpeglib.h>

#include "CodecTestSupport.h"
#include "core/XHandleStream.h"
#include "geometry/XRect.h"
#include "storage/XJPEGStream.h"
#include "storage/XRegisterImagingClasses.h"

using namespace mirelan;
using namespace storagetest;
using namespace codectest;

namespace {

class JPEGStream : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { XRegisterImagingClasses(); }
};

std::vector<UInt8> Encoded(const XVolume& inVolume, SInt32 inQuality = 75) {
  XMemoryStream s;
  XJPEGStream(s).WriteVolume(inVolume, inQuality);
  return s.GetBytes();
}

// A JPEG made by libjpeg itself, of one component (grey) or four (CMYK),
// which this library's coder never writes.
std::vector<UInt8> ForeignJPEG(UInt32 inWidth, UInt32 inHeight, int inComponents) {
  jpeg_compress_struct info;
  jpeg_error_mgr errors;
  info.err = jpeg_std_error(&errors);
  jpeg_create_compress(&info);
  unsigned char* buffer = nullptr;
  unsigned long bytes = 0;
  jpeg_mem_dest(&info, &buffer, &bytes);
  info.image_width = inWidth;
  info.image_height = inHeight;
  info.input_components = inComponents;
  info.in_color_space = inComponents == 1 ? JCS_GRAYSCALE : JCS_CMYK;
  jpeg_set_defaults(&info);
  jpeg_start_compress(&info, TRUE);
  std::vector<UInt8> row(inWidth * inComponents);
  for (UInt32 y = 0; y < inHeight; ++y) {
    for (UInt32 x = 0; x < row.size(); ++x) row[x] = PatternValue(SInt32(x), SInt32(y));
    JSAMPROW rows[1] = {row.data()};
    jpeg_write_scanlines(&info, rows, 1);
  }
  jpeg_finish_compress(&info);
  jpeg_destroy_compress(&info);
  std::vector<UInt8> result(buffer, buffer + bytes);
  std::free(buffer);
  return result;
}

// A plane through libjpeg alone, as a three-byte RGB program uses it at
// libjpeg's default quality: the bytes it writes and the RGB it decodes.
struct XLibjpegTrip {
  std::vector<UInt8> bytes;
  std::vector<UInt8> rgb;
};

XLibjpegTrip LibjpegRoundTrip(const XARGB32Volume& inPlane) {
  const UInt32 width = inPlane.GetWidth(), height = inPlane.GetHeight();
  XLibjpegTrip trip;
  std::vector<UInt8> row(3 * width);
  {
    jpeg_compress_struct info;
    jpeg_error_mgr errors;
    info.err = jpeg_std_error(&errors);
    jpeg_create_compress(&info);
    unsigned char* buffer = nullptr;
    unsigned long bytes = 0;
    jpeg_mem_dest(&info, &buffer, &bytes);
    info.image_width = width;
    info.image_height = height;
    info.input_components = 3;
    info.in_color_space = JCS_RGB;
    jpeg_set_defaults(&info);
    jpeg_start_compress(&info, TRUE);
    XLock lock(inPlane, kLockRead);
    const X3DRect& b = inPlane.GetBounds();
    for (UInt32 y = 0; y < height; ++y) {
      const XARGB32Colour* voxel = inPlane.GetVoxelPtr(b.left, b.top + SInt32(y), b.front);
      for (UInt32 x = 0; x < width; ++x) {
        row[3 * x] = voxel[x].red;
        row[3 * x + 1] = voxel[x].green;
        row[3 * x + 2] = voxel[x].blue;
      }
      JSAMPROW rows[1] = {row.data()};
      jpeg_write_scanlines(&info, rows, 1);
    }
    jpeg_finish_compress(&info);
    jpeg_destroy_compress(&info);
    trip.bytes.assign(buffer, buffer + bytes);
    std::free(buffer);
  }
  jpeg_decompress_struct info;
  jpeg_error_mgr errors;
  info.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&info);
  jpeg_mem_src(&info, trip.bytes.data(), trip.bytes.size());
  jpeg_read_header(&info, TRUE);
  info.out_color_space = JCS_RGB;
  jpeg_start_decompress(&info);
  trip.rgb.resize(3 * UInt64(width) * height);
  while (info.output_scanline < height) {
    JSAMPROW rows[1] = {trip.rgb.data() + 3 * UInt64(width) * info.output_scanline};
    jpeg_read_scanlines(&info, rows, 1);
  }
  jpeg_finish_decompress(&info);
  jpeg_destroy_decompress(&info);
  return trip;
}

// Largest difference of a decoded plane from libjpeg's own decoding.
int DifferenceFromLibjpeg(const XARGB32Volume& inPlane, const std::vector<UInt8>& inRGB) {
  XLock lock(inPlane, kLockRead);
  const X3DRect& b = inPlane.GetBounds();
  int largest = 0;
  for (UInt32 y = 0; y < inPlane.GetHeight(); ++y)
    for (UInt32 x = 0; x < inPlane.GetWidth(); ++x) {
      const XARGB32Colour& v = inPlane.GetVoxel(b.left + SInt32(x), b.top + SInt32(y), b.front);
      const UInt8* r = &inRGB[3 * (UInt64(y) * inPlane.GetWidth() + x)];
      largest = std::max({largest, std::abs(v.red - r[0]), std::abs(v.green - r[1]), std::abs(v.blue - r[2])});
    }
  return largest;
}

template <class V>
SInt32 ReadError(const std::vector<UInt8>& inBytes, V& ioVolume) {
  XMemoryStream s(inBytes.data(), inBytes.size());
  return ErrorOf([&] { XJPEGStream(s).ReadToVolume(ioVolume); });
}

}  // namespace

TEST_F(JPEGStream, PlanesComeBackAsLibjpegCodesThemAndQualityChangesNothing) {
  const std::unique_ptr<XGrey8Volume> grey = PatternGrey8(X3DRect(-7, 5, 3, 93, 85, 4));
  const std::unique_ptr<XARGB32Volume> colour = PatternARGB32(X3DRect(120, 70, 1));
  // The stream is the one a three-byte RGB build writes at quality 75,
  // whatever quality is asked for.
  const XLibjpegTrip colourTrip = LibjpegRoundTrip(*colour);
  const std::vector<UInt8> colourBytes = Encoded(*colour);
  EXPECT_EQ(colourBytes, colourTrip.bytes);
  EXPECT_EQ(colourBytes, Encoded(*colour, 10));
  EXPECT_EQ(colourBytes, Encoded(*colour, 90));
  XARGB32Volume colourBack(X3DRect(120, 70, 1));
  XMemoryStream c(colourBytes.data(), colourBytes.size());
  XJPEGStream(c).ReadToVolume(colourBack);
  EXPECT_EQ(DifferenceFromLibjpeg(colourBack, colourTrip.rgb), 0);
  EXPECT_LT(CompareRGB(colourBack, *colour).mean, 10);  // the coder's own loss
  // Alpha is not in the image: a cleared voxel's.
  EXPECT_EQ(VoxelAt<XARGB32Colour>(colourBack, 3, 4, 0).alpha, 0);

  // Grey is written as colour, and comes back as grey colour.
  XARGB32Volume greyAsColour(grey->GetBounds());
  grey->CopyOut(greyAsColour, grey->GetBounds(), grey->GetBounds(), nullptr);
  const XLibjpegTrip greyTrip = LibjpegRoundTrip(greyAsColour);
  const std::vector<UInt8> greyBytes = Encoded(*grey);
  EXPECT_EQ(greyBytes, greyTrip.bytes);
  XARGB32Volume greyBack(100, 80, 1);
  XMemoryStream s(greyBytes.data(), greyBytes.size());
  XJPEGStream(s).ReadToVolume(greyBack);
  EXPECT_EQ(DifferenceFromLibjpeg(greyBack, greyTrip.rgb), 0);
}

TEST_F(JPEGStream, HeaderReadsGiveSizeAndDepth) {
  const std::vector<UInt8> colour = Encoded(*PatternARGB32(X3DRect(100, 100, 1)));
  XMemoryStream s(colour.data(), colour.size());
  XRect rect;
  UInt32 depth = 0;
  XJPEGStream(s).ReadInfo(rect, depth);
  EXPECT_EQ(rect, XRect(0, 0, 100, 100));
  EXPECT_EQ(depth, 32u);
  const std::vector<UInt8> grey = ForeignJPEG(33, 17, 1);
  XMemoryStream g(grey.data(), grey.size());
  XJPEGStream(g).ReadInfo(rect, depth);
  EXPECT_EQ(rect, XRect(0, 0, 33, 17));
  EXPECT_EQ(depth, 8u);
  XGrey8Volume greyBack(33, 17, 1);
  EXPECT_EQ(ReadError(grey, greyBack), 0);
  EXPECT_EQ(VoxelAt<UInt8>(greyBack, 0, 0, 0), PatternValue(0, 0));
}

TEST_F(JPEGStream, RefusalsComeBeforeAnyRowIsDecoded) {
  const std::vector<UInt8> colour = Encoded(*PatternARGB32(X3DRect(100, 100, 1)));
  const std::vector<UInt8> grey = ForeignJPEG(100, 100, 1);
  XARGB32Volume taller(100, 101, 1);
  taller.Clear();
  EXPECT_EQ(ReadError(colour, taller), XJPEGStream::kErrJPEGSize);
  EXPECT_EQ(VoxelAt<XARGB32Colour>(taller, 50, 50, 0).GetARGB(), 0u);
  XARGB32Volume colourTarget(100, 100, 1);
  XGrey8Volume greyTarget(100, 100, 1);
  EXPECT_EQ(ReadError(grey, colourTarget), XJPEGStream::kErrJPEGVolumeClass);
  EXPECT_EQ(ReadError(colour, greyTarget), XJPEGStream::kErrJPEGVolumeClass);
  XGrey16Volume grey16(100, 100, 1);
  EXPECT_EQ(ReadError(colour, grey16), XJPEGStream::kErrJPEGVolumeClass);
  // CMYK decodes, and is refused afterwards.
  XARGB32Volume cmykTarget(16, 16, 1);
  EXPECT_EQ(ReadError(ForeignJPEG(16, 16, 4), cmykTarget), XJPEGStream::kErrJPEGCMYK);
  XARGB32Volume planes(100, 100, 2);
  EXPECT_THROW(ReadError(colour, planes), XInternalError);
  EXPECT_THROW(Encoded(planes), XInternalError);
}

TEST_F(JPEGStream, LibraryErrorsAndStreamFailuresBecomeExceptions) {
  XARGB32Volume target(100, 100, 1);
  EXPECT_EQ(ReadError({}, target), XJPEGStream::kErrJPEGLibrary);  // empty input
  EXPECT_EQ(ReadError({0xFF, 0xD8, 0xFF, 0x00, 1, 2, 3}, target), XJPEGStream::kErrJPEGLibrary);
  std::vector<UInt8> garbage(3000);
  for (size_t i = 0; i < garbage.size(); ++i) garbage[i] = UInt8(i * 37);
  EXPECT_EQ(ReadError(garbage, target), XJPEGStream::kErrJPEGLibrary);
  const std::vector<UInt8> colour = Encoded(*PatternARGB32(X3DRect(100, 100, 1)));
  XRect rect;
  UInt32 depth = 0;
  {
    XMemoryStream s;
    EXPECT_EQ(ErrorOf([&] { XJPEGStream(s).ReadInfo(rect, depth); }), XJPEGStream::kErrJPEGLibrary);
  }
  // The stream's own exception comes out, not libjpeg's: while the buffer
  // is emptied, and at the end.
  const std::unique_ptr<XARGB32Volume> picture = PatternARGB32(X3DRect(400, 300, 1));
  const UInt64 total = Encoded(*picture).size();
  ASSERT_GT(total, 3 * 4096u);
  for (UInt64 limit : {UInt64(0), UInt64(100), UInt64(5000), total - 1}) {
    XFailingStream failing(limit);
    EXPECT_EQ(ErrorOf([&] { XJPEGStream(failing).WriteVolume(*picture, 75); }), XFailingStream::kError);
  }
  XFailingStream failing(colour, 200);
  EXPECT_EQ(ErrorOf([&] { XJPEGStream(failing).ReadToVolume(target); }), XFailingStream::kError);
  // One XJPEGStream goes on working after a failure.
  XMemoryStream s(colour.data(), colour.size());
  XJPEGStream jpeg(s);
  EXPECT_EQ(ErrorOf([&] { jpeg.ReadToVolume(*PatternGrey8(X3DRect(100, 100, 1))); }), XJPEGStream::kErrJPEGVolumeClass);
  s.SeekTo(0);
  EXPECT_EQ(ErrorOf([&] { jpeg.ReadToVolume(target); }), 0);
}

TEST_F(JPEGStream, ACutOffImageDecodesWithItsLowerPartGrey) {
  const std::vector<UInt8> whole = Encoded(*PatternARGB32(X3DRect(160, 160, 1)));
  const std::vector<UInt8> cut(whole.begin(), whole.begin() + whole.size() / 2);
  XARGB32Volume full(160, 160, 1), half(160, 160, 1);
  EXPECT_EQ(ReadError(whole, full), 0);
  EXPECT_EQ(ReadError(cut, half), 0);
  const XARGB32Colour top = VoxelAt<XARGB32Colour>(half, 10, 2, 0), bottom = VoxelAt<XARGB32Colour>(half, 10, 158, 0);
  EXPECT_EQ(top.GetARGB(), VoxelAt<XARGB32Colour>(full, 10, 2, 0).GetARGB());
  EXPECT_EQ(bottom.red, 128);
  EXPECT_EQ(bottom.green, 128);
}

TEST_F(JPEGStream, LossyVolumeFormRoundTripsThroughTheInstalledCodec) {
  const std::unique_ptr<XGrey8Volume> grey = PatternGrey8(X3DRect(2, 3, 4, 70, 50, 5));
  grey->SetXCalibration(0.5);
  const std::unique_ptr<XARGB32Volume> colour = PatternARGB32(X3DRect(64, 32, 1));
  const XARGB32Volume empty(X3DRect(5, 0, 0));
  for (XByteOrder order : {kLittleEndian, kBigEndian}) {
    XMemoryStream s(order);
    grey->WriteStreamLossyCompressed(s, 75);
    colour->WriteStreamLossyCompressed(s, 75);
    const UInt64 beforeEmpty = s.GetPosition();
    empty.WriteStreamLossyCompressed(s, 75);
    // Version word, the box, the calibrations, the row length: no count, no image.
    EXPECT_EQ(s.GetPosition() - beforeEmpty, 4u + 6 * 4 + 3 * 8 + 4);
    s.SeekTo(0);
    std::unique_ptr<XGrey8Volume> greyBack = s.ReadObjectAs<XGrey8Volume>();
    std::unique_ptr<XARGB32Volume> colourBack = s.ReadObjectAs<XARGB32Volume>();
    std::unique_ptr<XARGB32Volume> emptyBack = s.ReadObjectAs<XARGB32Volume>();
    EXPECT_EQ(s.GetPosition(), s.GetExtent());
    EXPECT_EQ(greyBack->GetBounds(), grey->GetBounds());
    EXPECT_EQ(greyBack->GetXCalibration(), 0.5);
    // A grey volume takes the image's luminance: libjpeg's colour decoding,
    // grey, within a rounding.
    XARGB32Volume greyAsColour(grey->GetBounds());
    grey->CopyOut(greyAsColour, grey->GetBounds(), grey->GetBounds(), nullptr);
    const XLibjpegTrip trip = LibjpegRoundTrip(greyAsColour);
    XARGB32Volume greyBackAsColour(greyBack->GetBounds());
    greyBack->CopyOut(greyBackAsColour, greyBack->GetBounds(), greyBack->GetBounds(), nullptr);
    EXPECT_LE(DifferenceFromLibjpeg(greyBackAsColour, trip.rgb), 1);
    EXPECT_EQ(DifferenceFromLibjpeg(*colourBack, LibjpegRoundTrip(*colour).rgb), 0);
    EXPECT_TRUE(emptyBack->GetBounds().IsEmpty());
  }
}

TEST_F(JPEGStream, ALossyVolumeOfSeveralPlanesIsRefused) {
  const std::unique_ptr<XGrey8Volume> grey = PatternGrey8(X3DRect(16, 16, 1));
  XMemoryStream s;
  grey->WriteStreamLossyCompressed(s, 75);
  s.SeekTo(4 + 8);  // the depth
  s.Write32(2);
  s.SeekTo(0);
  EXPECT_EQ(ErrorOf([&] { delete s.ReadObject(); }), XJPEGStream::kErrJPEGSize);
}

// Every single-byte change of small images ends in a picture or an
// XException: a grey one libjpeg wrote, with every value at every place, and
// one of this library's colour images with a few telling values.
TEST_F(JPEGStream, EverySingleByteCorruptionEndsInAPictureOrAnException) {
  struct Sample {
    std::vector<UInt8> bytes;
    std::vector<UInt8> values;  // empty: all 256
  } samples[] = {{ForeignJPEG(8, 8, 1), {}},
                 {Encoded(*PatternARGB32(X3DRect(16, 8, 1))), {0x00, 0x01, 0x7F, 0x80, 0xC4, 0xD9, 0xDA, 0xFF}}};
  for (const Sample& sample : samples) {
    UInt64 pictures = 0, refusals = 0;
    for (size_t at = 0; at < sample.bytes.size(); ++at) {
      for (UInt32 value = 0; value < 256; ++value) {
        if (!sample.values.empty() && std::find(sample.values.begin(), sample.values.end(), value) == sample.values.end())
          continue;
        if (value == sample.bytes[at]) continue;
        std::vector<UInt8> bad = sample.bytes;
        bad[at] = UInt8(value);
        XMemoryStream s(bad.data(), bad.size());
        try {
          XRect rect;
          UInt32 depth = 0;
          XJPEGStream(s).ReadInfo(rect, depth);
          if (UInt64(rect.GetWidth()) * rect.GetHeight() > (UInt64(1) << 22)) continue;  // a host would refuse
          std::unique_ptr<XVolume> image;
          if (depth == 8)
            image.reset(new XGrey8Volume(X3DRect(rect, 0, 1)));
          else
            image.reset(new XARGB32Volume(X3DRect(rect, 0, 1)));
          s.SeekTo(0);
          XJPEGStream(s).ReadToVolume(*image);
          ++pictures;
        } catch (const XException&) {
          ++refusals;
        }
      }
    }
    EXPECT_GT(pictures, 0u);
    EXPECT_GT(refusals, 0u);
  }
}

// The real files: each is read (the cut-off one too), against ImageMagick's
// decoding where it is installed.
TEST_F(JPEGStream, RealFilesAreReadAsAnIndependentDecoderReadsThem) {
  if (!SharedDataPresent()) GTEST_SKIP() << "no shared data folder";
  const bool reference = HaveImageMagick();
  struct Case {
    const char* name;
    SInt32 width, height;
    UInt32 depth;
  } cases[] = {{"libvips_cd1.1_gray_baseline.jpg", 531, 373, 8},
               {"libvips_cd1.2_gray_baseline.jpg", 531, 373, 8},
               {"libvips_sample_rgb420_baseline.jpg", 290, 442, 32},
               {"libvips_rotation1_rgb_progressive.jpg", 308, 410, 32},
               {"libvips_truncated_rgb.jpg", 290, 442, 32}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const std::vector<UInt8> bytes = FileBytes(SharedData(c.name));
    XMemoryStream s(bytes.data(), bytes.size());
    XRect rect;
    UInt32 depth = 0;
    XJPEGStream(s).ReadInfo(rect, depth);
    EXPECT_EQ(rect, XRect(0, 0, c.width, c.height));
    EXPECT_EQ(depth, c.depth);
    std::unique_ptr<XVolume> image;
    if (depth == 8)
      image.reset(new XGrey8Volume(X3DRect(rect, 0, 1)));
    else
      image.reset(new XARGB32Volume(X3DRect(rect, 0, 1)));
    s.SeekTo(0);
    XJPEGStream(s).ReadToVolume(*image);
    if (!reference) continue;
    const XReference ref = DecodeWithImageMagick(SharedData(c.name));
    ASSERT_EQ(ref.width, UInt32(c.width));
    ASSERT_EQ(ref.height, UInt32(c.height));
    XARGB32Volume rgb(X3DRect(rect, 0, 1));
    image->CopyOut(rgb, rgb.GetBounds(), rgb.GetBounds(), nullptr);
    XLock lock(rgb, kLockRead);
    int largest = 0;
    for (UInt32 y = 0; y < ref.height; y += 7)
      for (UInt32 x = 0; x < ref.width; x += 5) {
        const XARGB32Colour& v = rgb.GetVoxel(SInt32(x), SInt32(y), 0);
        const UInt8* r = ref.At(x, y);
        largest = std::max({largest, std::abs(v.red - r[0]), std::abs(v.green - r[1]), std::abs(v.blue - r[2])});
      }
    EXPECT_LE(largest, 2);
  }
  if (!reference) GTEST_SKIP() << "sizes checked; pixels need ImageMagick's convert (Debian package imagemagick)";
}
