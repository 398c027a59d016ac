// The TIFF reader on arbitrary bytes. Besides crashes and sanitizer reports,
// the target fails when a read allocates far more than its file can hold.
#include <cstdio>
#include <cstdlib>

#include "core/XMemoryHandle.h"
#include "storage/XRegisterImagingClasses.h"
#include "storage/XTIFFCodec.h"

using namespace mirelan;

namespace {

// The reader lets pages decode to 4096 times their stored bytes plus 1 MiB;
// in volumes a 1-bit sample takes a byte (eight times) and a small sample
// may become a float (four times).
constexpr UInt64 kExpansion = 8 * 4;
constexpr UInt64 kBytesPerInputByte = 4096 * kExpansion;
constexpr UInt64 kAllowance = (UInt64(1) << 20) * kExpansion + (UInt64(16) << 20);

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  XRegisterImagingClasses();
  XMemoryHandle::SetAllocationLimit(UInt64(1) << 30);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const UInt8* inData, size_t inSize) {
  const UInt64 before = XMemoryHandle::GetAllocatedBytes();
  XMemoryHandle::ResetPeakAllocatedBytes();
  try {
    XImageStack stack = XTIFFCodec::Read(inData, inSize, "fuzz.tif");
    stack.CheckComplete();
  } catch (const XException&) {
  }
  const UInt64 grown = XMemoryHandle::GetPeakAllocatedBytes() - before;
  if (grown > inSize * kBytesPerInputByte + kAllowance) {
    std::fprintf(stderr, "tiff reader: %llu bytes from %zu bytes of input\n", static_cast<unsigned long long>(grown),
                 inSize);
    std::abort();
  }
  return 0;
}
