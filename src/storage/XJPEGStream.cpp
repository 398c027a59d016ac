#include "storage/XJPEGStream.h"

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <exception>
#include <string>
#include <vector>

#include <jpeglib.h>
#include <jerror.h>

#include "core/XStream.h"
#include "geometry/XRect.h"
#include "volume/XColourVolumes.h"
#include "volume/XGrey8Volume.h"
#include "volume/internal/XLossyVolumeCodec.h"

// Files of this form have always been written through the libjpeg 6b interface.
static_assert(JPEG_LIB_VERSION == 62, "the libjpeg 6b interface (libjpeg62-turbo) is needed");

namespace mirelan {

// The error manager both libjpeg objects share: libjpeg's own first, then
// where a failure goes back to, and an exception that the stream raised
// inside a callback, kept until libjpeg has been left.
struct XJPEGStream::XErrorManager {
  jpeg_error_mgr itsManager;
  std::jmp_buf itsJump;
  std::exception_ptr itsPending;
};

namespace {

// The buffers between libjpeg and the stream.
constexpr UInt64 kBufferBytes = 4096;
// Rows handed to libjpeg in one call.
constexpr JDIMENSION kRowsPerCall = 16;

struct XDestination {
  jpeg_destination_mgr itsManager;
  JOCTET* itsBuffer;
};

struct XSource {
  jpeg_source_mgr itsManager;
  JOCTET* itsBuffer;
  bool itsStartOfFile;
};

jpeg_common_struct* Common(jpeg_compress_struct* inInfo) { return reinterpret_cast<jpeg_common_struct*>(inInfo); }
jpeg_common_struct* Common(jpeg_decompress_struct* inInfo) { return reinterpret_cast<jpeg_common_struct*>(inInfo); }

// Colour spaces that libjpeg turns into red, green and blue, and into grey.
bool DecodesToRGB(J_COLOR_SPACE inSpace) {
  return inSpace == JCS_YCbCr || inSpace == JCS_RGB || inSpace == JCS_GRAYSCALE;
}

// Rows of a plane for libjpeg, from row inFirst on.
JDIMENSION RowPointers(UInt8* inBase, UInt64 inRowBytes, JDIMENSION inFirst, JDIMENSION inEnd,
                       JSAMPROW (&outRows)[kRowsPerCall]) {
  const JDIMENSION count = std::min<JDIMENSION>(kRowsPerCall, inEnd - inFirst);
  for (JDIMENSION i = 0; i < count; ++i) outRows[i] = inBase + (inFirst + i) * inRowBytes;
  return count;
}

// The per-pixel loops live outside the functions that call setjmp, where
// the compiler keeps variables out of registers.

// Grey rows as XRGB words (bytes 0, v, v, v) in outWords; the row pointers
// then point there.
__attribute__((noinline)) void WidenGreyRows(JSAMPROW* ioRows, JDIMENSION inCount, UInt32 inWidth, UInt32* outWords) {
  // A word whose bytes in memory are 0, 1, 1, 1: times a grey value it is
  // the XRGB word of that grey.
  const UInt8 spreadBytes[4] = {0, 1, 1, 1};
  UInt32 spread = 0;
  std::memcpy(&spread, spreadBytes, 4);
  for (JDIMENSION i = 0; i < inCount; ++i) {
    UInt32* out = outWords + UInt64(inWidth) * i;
    const UInt8* in = ioRows[i];
    for (UInt32 x = 0; x < inWidth; ++x) out[x] = in[x] * spread;
    ioRows[i] = reinterpret_cast<JSAMPROW>(out);
  }
}

// libjpeg-turbo fills the X byte of XRGB; the volume's alpha is a cleared
// voxel's.
__attribute__((noinline)) void ClearAlpha(JSAMPROW* inRows, JDIMENSION inCount, UInt32 inWidth) {
  for (JDIMENSION i = 0; i < inCount; ++i)
    for (UInt32 x = 0; x < inWidth; ++x) inRows[i][4 * x] = 0;
}

}  // namespace

// ---------------------------------------------------------------- setup

XJPEGStream::XJPEGStream(XStream& ioStream)
    : itsStream(ioStream),
      itsCompress(new jpeg_compress_struct()),
      itsDecompress(new jpeg_decompress_struct()),
      itsError(new XErrorManager()) {
  jpeg_std_error(&itsError->itsManager);
  itsError->itsManager.error_exit = HandleError;
  itsError->itsManager.output_message = HandleWarning;
  itsCompress->err = &itsError->itsManager;
  itsCompress->client_data = this;
  itsDecompress->err = &itsError->itsManager;
  itsDecompress->client_data = this;
}

// An object that a failure left created is destroyed here; destroying one
// that is not is harmless.
XJPEGStream::~XJPEGStream() {
  jpeg_destroy(Common(itsCompress.get()));
  jpeg_destroy(Common(itsDecompress.get()));
}

XJPEGStream& XJPEGStream::StreamOf(jpeg_common_struct* ioInfo) {
  return *static_cast<XJPEGStream*>(ioInfo->client_data);
}

void XJPEGStream::Destroy(jpeg_common_struct* ioInfo) { jpeg_destroy(ioInfo); }

template <class Body>
void XJPEGStream::Guarded(jpeg_common_struct* ioInfo, Body&& inBody) {
  // libjpeg leaves a failing call through HandleError, which comes back here
  // with longjmp. Nothing between this point and libjpeg has a destructor.
  if (setjmp(itsError->itsJump) != 0) {
    char message[JMSG_LENGTH_MAX] = "";
    (*ioInfo->err->format_message)(ioInfo, message);
    std::exception_ptr pending = itsError->itsPending;
    itsError->itsPending = nullptr;
    Destroy(ioInfo);
    if (pending) std::rethrow_exception(pending);
    throw XException(kErrJPEGLibrary, message);
  }
  inBody();
}

template <class Call>
void XJPEGStream::CallStream(jpeg_common_struct* ioInfo, Call&& inCall) {
  bool failed = false;
  try {
    inCall(itsStream);
  } catch (...) {
    itsError->itsPending = std::current_exception();
    failed = true;
  }
  // Out of the handler before libjpeg is left.
  if (failed) ERREXIT(ioInfo, JERR_FILE_READ);
}

void XJPEGStream::HandleError(jpeg_common_struct* ioInfo) {
  std::longjmp(reinterpret_cast<XErrorManager*>(ioInfo->err)->itsJump, 1);
}

// Warnings (damaged or cut-off data among them) are counted by libjpeg and
// otherwise left alone: such an image still decodes.
void XJPEGStream::HandleWarning(jpeg_common_struct*) {}

// ---------------------------------------------------------------- destination

void XJPEGStream::CreateDest() {
  jpeg_compress_struct* info = itsCompress.get();
  if (!info->dest)
    info->dest = static_cast<jpeg_destination_mgr*>(
        (*info->mem->alloc_small)(Common(info), JPOOL_PERMANENT, sizeof(XDestination)));
  info->dest->init_destination = InitDest;
  info->dest->empty_output_buffer = EmptyOutputBuffer;
  info->dest->term_destination = TermDest;
}

void XJPEGStream::InitDest(jpeg_compress_struct* ioInfo) {
  auto* destination = reinterpret_cast<XDestination*>(ioInfo->dest);
  destination->itsBuffer =
      static_cast<JOCTET*>((*ioInfo->mem->alloc_small)(Common(ioInfo), JPOOL_IMAGE, kBufferBytes));
  destination->itsManager.next_output_byte = destination->itsBuffer;
  destination->itsManager.free_in_buffer = kBufferBytes;
}

int XJPEGStream::EmptyOutputBuffer(jpeg_compress_struct* ioInfo) {
  auto* destination = reinterpret_cast<XDestination*>(ioInfo->dest);
  StreamOf(Common(ioInfo)).CallStream(Common(ioInfo), [destination](XStream& ioStream) {
    ioStream.WriteBuffer8(destination->itsBuffer, kBufferBytes);
  });
  destination->itsManager.next_output_byte = destination->itsBuffer;
  destination->itsManager.free_in_buffer = kBufferBytes;
  return TRUE;
}

void XJPEGStream::TermDest(jpeg_compress_struct* ioInfo) {
  auto* destination = reinterpret_cast<XDestination*>(ioInfo->dest);
  const UInt64 bytes = kBufferBytes - destination->itsManager.free_in_buffer;
  if (bytes == 0) return;
  StreamOf(Common(ioInfo)).CallStream(Common(ioInfo), [destination, bytes](XStream& ioStream) {
    ioStream.WriteBuffer8(destination->itsBuffer, bytes);
  });
}

// ---------------------------------------------------------------- source

void XJPEGStream::CreateSource() {
  jpeg_decompress_struct* info = itsDecompress.get();
  if (!info->src) {
    auto* source = static_cast<XSource*>(
        (*info->mem->alloc_small)(Common(info), JPOOL_PERMANENT, sizeof(XSource)));
    source->itsBuffer =
        static_cast<JOCTET*>((*info->mem->alloc_small)(Common(info), JPOOL_PERMANENT, kBufferBytes));
    info->src = &source->itsManager;
  }
  info->src->init_source = InitSource;
  info->src->fill_input_buffer = FillInputBuffer;
  info->src->skip_input_data = SkipInputData;
  info->src->resync_to_restart = jpeg_resync_to_restart;
  info->src->term_source = TermSource;
  info->src->bytes_in_buffer = 0;
  info->src->next_input_byte = nullptr;
}

void XJPEGStream::InitSource(jpeg_decompress_struct* ioInfo) {
  reinterpret_cast<XSource*>(ioInfo->src)->itsStartOfFile = true;
}

int XJPEGStream::FillInputBuffer(jpeg_decompress_struct* ioInfo) {
  auto* source = reinterpret_cast<XSource*>(ioInfo->src);
  UInt64 count = 0;
  StreamOf(Common(ioInfo)).CallStream(Common(ioInfo), [source, &count](XStream& ioStream) {
    const UInt64 position = ioStream.GetPosition(), extent = ioStream.GetExtent();
    count = position < extent ? std::min(kBufferBytes, extent - position) : 0;
    if (count) ioStream.ReadBuffer8(source->itsBuffer, count);
  });
  if (count == 0) {
    // Nothing at all is an error; the end of a cut-off image is a warning,
    // and an end-of-image marker lets libjpeg finish it.
    if (source->itsStartOfFile) ERREXIT(ioInfo, JERR_INPUT_EMPTY);
    WARNMS(ioInfo, JWRN_JPEG_EOF);
    source->itsBuffer[0] = 0xFF;
    source->itsBuffer[1] = JPEG_EOI;
    count = 2;
  }
  source->itsManager.next_input_byte = source->itsBuffer;
  source->itsManager.bytes_in_buffer = count;
  source->itsStartOfFile = false;
  return TRUE;
}

void XJPEGStream::SkipInputData(jpeg_decompress_struct* ioInfo, long inBytes) {
  if (inBytes <= 0) return;
  jpeg_source_mgr* source = ioInfo->src;
  UInt64 bytes = static_cast<UInt64>(inBytes);
  while (bytes > source->bytes_in_buffer) {
    bytes -= source->bytes_in_buffer;
    (*source->fill_input_buffer)(ioInfo);
  }
  source->next_input_byte += bytes;
  source->bytes_in_buffer -= bytes;
}

// Gives back what was read ahead, counted from the stream's end: right when
// the image ends the stream, and the readers of the lossy volume form seek
// to the image's stored end afterwards anyway.
void XJPEGStream::TermSource(jpeg_decompress_struct* ioInfo) {
  const UInt64 unread = ioInfo->src->bytes_in_buffer;
  if (unread == 0) return;
  StreamOf(Common(ioInfo)).CallStream(Common(ioInfo), [unread](XStream& ioStream) {
    const UInt64 extent = ioStream.GetExtent();
    ioStream.SeekTo(extent > unread ? extent - unread : 0);
  });
}

// ---------------------------------------------------------------- writing

void XJPEGStream::WriteVolume(const XVolume& inVolume, SInt32 inQuality) {
  XAssert(inVolume.IsXYPlane());
  const X3DRect& bounds = inVolume.GetBounds();
  const UInt32 width = bounds.GetWidth();
  // The coder takes red, green and blue, for grey as for colour: grey rows
  // are widened a few at a time, colour words go as they are (alpha, red,
  // green, blue: libjpeg-turbo's XRGB), and any other plane goes through an
  // ARGB copy. All three give the stream a three-byte RGB build writes.
  const auto* grey = dynamic_cast<const XGrey8Volume*>(&inVolume);
  std::unique_ptr<XARGB32Volume> copy;
  const XBasePackedVolume* pixels = grey;
  if (!grey) {
    pixels = dynamic_cast<const XARGB32Volume*>(&inVolume);
    if (!pixels || inVolume.GetVersion() != XARGB32Volume::GetClassVersion()) {
      copy.reset(new XARGB32Volume(bounds));
      inVolume.CopyOut(*copy, bounds, bounds, nullptr);
      pixels = copy.get();
    }
  }
  XLock lock(*pixels, kLockRead);
  UInt8* const base = const_cast<UInt8*>(pixels->GetBasePtr());  // libjpeg's rows are not const
  const UInt64 rowBytes = pixels->GetRowBytes();
  std::vector<UInt32> widened(grey ? UInt64(width) * kRowsPerCall : 0);
  jpeg_compress_struct* const info = itsCompress.get();
  Guarded(Common(info), [&] {
    Destroy(Common(info));
    jpeg_CreateCompress(info, JPEG_LIB_VERSION, sizeof(jpeg_compress_struct));
    // jpeg_set_defaults below sets libjpeg's own quality 75 again, with
    // baseline tables, so the caller's quality never reaches the file. Files
    // have always been written in this order, and stay so.
    jpeg_set_quality(info, inQuality, FALSE);
    CreateDest();
    info->image_width = width;
    info->image_height = bounds.GetHeight();
    info->input_components = 4;
    info->in_color_space = JCS_EXT_XRGB;
    jpeg_set_defaults(info);
    jpeg_start_compress(info, TRUE);
    JSAMPROW rows[kRowsPerCall];
    while (info->next_scanline < info->image_height) {
      const JDIMENSION count = RowPointers(base, rowBytes, info->next_scanline, info->image_height, rows);
      if (grey) {
        WidenGreyRows(rows, count, width, widened.data());
      }
      jpeg_write_scanlines(info, rows, count);
    }
    jpeg_finish_compress(info);
    jpeg_destroy(Common(info));
  });
}

// ---------------------------------------------------------------- reading

void XJPEGStream::ReadInfoSelf(XRect& outRect, UInt32& outDepthBits) {
  jpeg_decompress_struct* info = itsDecompress.get();
  jpeg_read_header(info, TRUE);
  jpeg_calc_output_dimensions(info);
  outRect = XRect(0, 0, SInt32(info->output_width), SInt32(info->output_height));
  outDepthBits = info->output_components == 1 ? 8 : 32;
}

void XJPEGStream::ReadInfo(XRect& outRect, UInt32& outDepthBits) {
  jpeg_decompress_struct* const info = itsDecompress.get();
  Guarded(Common(info), [&] {
    Destroy(Common(info));  // one that an earlier refusal left created
    jpeg_CreateDecompress(info, JPEG_LIB_VERSION, sizeof(jpeg_decompress_struct));
    CreateSource();
    ReadInfoSelf(outRect, outDepthBits);
    jpeg_destroy(Common(info));
  });
}

void XJPEGStream::ReadToVolume(XVolume& ioVolume) { ReadToVolumeSelf(ioVolume, XGreyFromColour::kRefuse); }

void XJPEGStream::ReadToVolumeSelf(XVolume& ioVolume, XGreyFromColour inMixing) {
  XAssert(ioVolume.IsXYPlane());
  jpeg_decompress_struct* const info = itsDecompress.get();
  XRect rect;
  UInt32 depthBits = 0;
  Guarded(Common(info), [&] {
    Destroy(Common(info));  // one that an earlier refusal left created
    jpeg_CreateDecompress(info, JPEG_LIB_VERSION, sizeof(jpeg_decompress_struct));
    CreateSource();
    ReadInfoSelf(rect, depthBits);
  });
  if (rect.GetWidth() != ioVolume.GetWidth() || rect.GetHeight() != ioVolume.GetHeight())
    throw XException(kErrJPEGSize, "a JPEG image of " + std::to_string(rect.GetWidth()) + " x " +
                                       std::to_string(rect.GetHeight()) + " for a volume of " +
                                       std::to_string(ioVolume.GetWidth()) + " x " +
                                       std::to_string(ioVolume.GetHeight()));
  auto* grey = dynamic_cast<XGrey8Volume*>(&ioVolume);
  auto* colour = dynamic_cast<XARGB32Volume*>(&ioVolume);
  const bool mix = inMixing == XGreyFromColour::kTakeLuminance && DecodesToRGB(info->jpeg_color_space);
  if (depthBits == 8 ? !(grey || (mix && colour)) : !(colour || (mix && grey)))
    throw XException(kErrJPEGVolumeClass, depthBits == 8 ? "a grey JPEG image needs an 8-bit grey volume"
                                                          : "a colour JPEG image needs an ARGB volume");
  auto& packed = dynamic_cast<XBasePackedVolume&>(ioVolume);
  XLock lock(packed, kLockWrite);
  // Alpha is not in the image: it keeps the value of a cleared voxel.
  if (colour) packed.Clear();
  UInt8* const base = packed.GetBasePtr();
  const UInt64 rowBytes = packed.GetRowBytes();
  const UInt32 width = ioVolume.GetWidth();
  bool cmyk = false;
  Guarded(Common(info), [&] {
    // A colour target takes the words as libjpeg-turbo writes them for
    // XRGB; CMYK is decoded as it is and refused below.
    if (colour && DecodesToRGB(info->jpeg_color_space)) info->out_color_space = JCS_EXT_XRGB;
    if (grey) info->out_color_space = JCS_GRAYSCALE;
    jpeg_calc_output_dimensions(info);
    if (info->output_components != (colour ? 4 : 1))
      throw XException(kErrJPEGVolumeClass, std::to_string(info->output_components) + " components do not fit the volume");
    jpeg_start_decompress(info);
    JSAMPROW rows[kRowsPerCall];
    while (info->output_scanline < info->output_height) {
      const JDIMENSION first = info->output_scanline;
      const JDIMENSION count = RowPointers(base, rowBytes, first, info->output_height, rows);
      const JDIMENSION done = jpeg_read_scanlines(info, rows, count);
      if (colour && info->out_color_space == JCS_EXT_XRGB) ClearAlpha(rows, done, width);
    }
    jpeg_finish_decompress(info);
    cmyk = info->out_color_space == JCS_CMYK;
    if (!cmyk) jpeg_destroy(Common(info));
  });
  if (cmyk) throw XException(kErrJPEGCMYK, "the JPEG image is in CMYK");
}

// ---------------------------------------------------------------- volumes

void XJPEGStream::InstallLossyVolumeCodec() {
  XSetLossyVolumeCodec(
      [](XStream& ioStream, const XVolume& inVolume, SInt32 inQuality) {
        XJPEGStream(ioStream).WriteVolume(inVolume, inQuality);
      },
      [](XStream& ioStream, XVolume& ioVolume) {
        // The coded image of a stored volume is one plane. A grey volume's
        // image is colour (every plane is written so), and its grey is the
        // image's luminance.
        if (!ioVolume.IsXYPlane())
          throw XException(kErrJPEGSize, "a stored JPEG image is one plane; the volume has " +
                                             std::to_string(ioVolume.GetDepth()));
        XJPEGStream(ioStream).ReadToVolumeSelf(ioVolume, XGreyFromColour::kTakeLuminance);
      });
}

}  // namespace mirelan
