// The PICT reader on arbitrary bytes: ReadInfo, a volume of the class and
// size it gives, ReadToVolume, as a host does. Besides crashes and sanitizer
// reports, the target fails when decoding allocates far more than the
// volume it fills, or leaves the stream anywhere but at the picture's end.
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "core/XMemoryHandle.h"
#include "core/XStream.h"
#include "geometry/XRect.h"
#include "storage/XPICTDecoder.h"
#include "storage/XRegisterImagingClasses.h"
#include "volume/XColourVolumes.h"
#include "volume/XGrey16Volume.h"
#include "volume/XMaskVolume.h"

using namespace mirelan;

namespace {

// PackBits makes at most 128 bytes of two; a host would not make a plane
// much larger than its picture can fill.
constexpr UInt64 kPixelsPerInputByte = 512;
constexpr UInt64 kPixelAllowance = UInt64(1) << 20;
// Scratch rows and the deep table besides the volume.
constexpr UInt64 kDecoderAllowance = UInt64(1) << 20;

std::unique_ptr<XVolume> VolumeForDepth(UInt32 inDepth, const XRect& inRect) {
  const X3DRect box(inRect, 0, 1);
  switch (inDepth) {
    case 1: return std::unique_ptr<XVolume>(new XMaskVolume(box));
    case 8: return std::unique_ptr<XVolume>(new XGrey8Volume(box));
    case XPICTDecoder::kDeepGreyDepth: return std::unique_ptr<XVolume>(new XGrey16Volume(box));
    default: return std::unique_ptr<XVolume>(new XARGB32Volume(box));
  }
}

void Fail(const char* inWhat, UInt64 inValue) {
  std::fprintf(stderr, "pict reader: %s (%llu)\n", inWhat, static_cast<unsigned long long>(inValue));
  std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  XRegisterImagingClasses();
  XMemoryHandle::SetAllocationLimit(UInt64(1) << 30);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const UInt8* inData, size_t inSize) {
  XMemoryStream stream(inData, inSize, kBigEndian);
  XPICTDecoder decoder(stream, UInt32(inSize));
  try {
    XRect rect;
    UInt32 depth = 0;
    decoder.ReadInfo(rect, depth);
    if (stream.GetPosition() != inSize) Fail("ReadInfo ends elsewhere", stream.GetPosition());
    const UInt64 pixels = UInt64(rect.GetWidth()) * rect.GetHeight();
    if (pixels > inSize * kPixelsPerInputByte + kPixelAllowance) return 0;
    std::unique_ptr<XVolume> volume = VolumeForDepth(depth, rect);
    const UInt64 before = XMemoryHandle::GetAllocatedBytes();
    XMemoryHandle::ResetPeakAllocatedBytes();
    stream.SeekTo(0);
    decoder.ReadToVolume(*volume);
    if (stream.GetPosition() != inSize) Fail("ReadToVolume ends elsewhere", stream.GetPosition());
    const UInt64 grown = XMemoryHandle::GetPeakAllocatedBytes() - before;
    if (grown > 2 * pixels * 4 + kDecoderAllowance) Fail("decoding allocated", grown);
  } catch (const XException&) {
  }
  return 0;
}
