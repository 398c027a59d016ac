// JPEG images on an XStream, through libjpeg: the coder of the lossy volume
// form (class ids 12100 and 12101).
#pragma once

#include <memory>

#include "core/XExport.h"
#include "core/XTypes.h"

// libjpeg's objects, known here by name only so that this header does not
// need jpeglib.h.
struct jpeg_common_struct;
struct jpeg_compress_struct;
struct jpeg_decompress_struct;

namespace mirelan {

class XRect;
class XStream;
class XVolume;

class MIRELAN_EXPORT XJPEGStream {
 public:
  // Error numbers.
  static constexpr SInt32 kErrJPEGLibrary = 1100;     // any error libjpeg reports
  static constexpr SInt32 kErrJPEGVolumeClass = 1101; // the volume's class does not fit the components
  static constexpr SInt32 kErrJPEGSize = 1102;        // the image's size is not the volume's
  static constexpr SInt32 kErrJPEGCMYK = 1103;        // the image decodes to CMYK

  explicit XJPEGStream(XStream& ioStream);
  ~XJPEGStream();
  XJPEGStream(const XJPEGStream&) = delete;
  XJPEGStream& operator=(const XJPEGStream&) = delete;

  // Writes the plane as a complete baseline JPEG file at the stream's
  // position: always three colour components, and always at libjpeg's
  // quality 75 (see the source for why the quality is ignored).
  void WriteVolume(const XVolume& inVolume, SInt32 inQuality);
  // Decodes the JPEG at the stream's position into a plane of its size: an
  // XGrey8Volume for a grey image, an XARGB32Volume (alpha 0) for colour.
  void ReadToVolume(XVolume& ioVolume);
  // The image's rectangle (at the origin) and depth: 8 for grey, else 32.
  void ReadInfo(XRect& outRect, UInt32& outDepthBits);

  // Makes this class the coder of the lossy volume form. The host's
  // XRegisterImagingClasses calls it.
  static void InstallLossyVolumeCodec();

 protected:
  void CreateDest();
  void CreateSource();
  void ReadInfoSelf(XRect& outRect, UInt32& outDepthBits);

  static void InitDest(jpeg_compress_struct* ioInfo);
  static int EmptyOutputBuffer(jpeg_compress_struct* ioInfo);
  static void TermDest(jpeg_compress_struct* ioInfo);
  static void InitSource(jpeg_decompress_struct* ioInfo);
  static int FillInputBuffer(jpeg_decompress_struct* ioInfo);
  static void SkipInputData(jpeg_decompress_struct* ioInfo, long inBytes);
  static void TermSource(jpeg_decompress_struct* ioInfo);
  [[noreturn]] static void HandleError(jpeg_common_struct* ioInfo);
  static void HandleWarning(jpeg_common_struct* ioInfo);

 private:
  struct XErrorManager;
  enum class XGreyFromColour : bool { kRefuse, kTakeLuminance };

  // Decodes; with kTakeLuminance a colour image goes into a grey volume as
  // its luminance and a grey image into a colour volume as grey.
  void ReadToVolumeSelf(XVolume& ioVolume, XGreyFromColour inMixing);
  // Runs the libjpeg calls of inBody; a libjpeg error or an exception of the
  // stream inside a callback comes out as an exception once libjpeg's
  // object is destroyed.
  template <class Body>
  void Guarded(jpeg_common_struct* ioInfo, Body&& inBody);
  // Runs a call of the stream inside a libjpeg callback: an exception
  // cannot cross libjpeg's C frames, so it is kept and libjpeg is left
  // through its error exit, and Guarded throws it again.
  template <class Call>
  void CallStream(jpeg_common_struct* ioInfo, Call&& inCall);
  void Destroy(jpeg_common_struct* ioInfo);
  static XJPEGStream& StreamOf(jpeg_common_struct* ioInfo);

  XStream& itsStream;
  std::unique_ptr<jpeg_compress_struct> itsCompress;
  std::unique_ptr<jpeg_decompress_struct> itsDecompress;
  std::unique_ptr<XErrorManager> itsError;
};

}  // namespace mirelan
