// The JPEG reader on arbitrary bytes: the header, then the image decoded into
// a plane of the size and kind the header gives, as a host does. Besides
// crashes and sanitizer reports, the target fails when a read allocates far
// more than the plane it fills.
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "core/XMemoryHandle.h"
#include "core/XStream.h"
#include "geometry/XRect.h"
#include "storage/XJPEGStream.h"
#include "storage/XRegisterImagingClasses.h"
#include "volume/XColourVolumes.h"
#include "volume/XGrey8Volume.h"

using namespace mirelan;

namespace {

// A host would not make a plane this large for so few bytes: a JPEG costs at
// least some bits for each 8 x 8 block.
constexpr UInt64 kPixelsPerInputByte = 4096;
constexpr UInt64 kPixelAllowance = UInt64(1) << 20;
constexpr UInt64 kMaxPixels = UInt64(16) << 20;

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  XRegisterImagingClasses();
  XMemoryHandle::SetAllocationLimit(UInt64(1) << 30);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const UInt8* inData, size_t inSize) {
  try {
    XMemoryStream stream(inData, inSize);
    XRect rect;
    UInt32 depth = 0;
    XJPEGStream(stream).ReadInfo(rect, depth);
    const UInt64 pixels = UInt64(rect.GetWidth()) * rect.GetHeight();
    if (pixels > inSize * kPixelsPerInputByte + kPixelAllowance || pixels > kMaxPixels) return 0;
    std::unique_ptr<XVolume> plane;
    if (depth == 8)
      plane.reset(new XGrey8Volume(X3DRect(rect, 0, 1)));
    else
      plane.reset(new XARGB32Volume(X3DRect(rect, 0, 1)));
    const UInt64 before = XMemoryHandle::GetAllocatedBytes();
    XMemoryHandle::ResetPeakAllocatedBytes();
    stream.SeekTo(0);
    XJPEGStream(stream).ReadToVolume(*plane);
    const UInt64 grown = XMemoryHandle::GetPeakAllocatedBytes() - before;
    if (grown > (UInt64(1) << 20)) {
      std::fprintf(stderr, "jpeg reader: %llu bytes for a plane of %llu pixels\n",
                   static_cast<unsigned long long>(grown), static_cast<unsigned long long>(pixels));
      std::abort();
    }
  } catch (const XException&) {
  }
  return 0;
}
