#include "core/XZCompressor.h"

#include <zlib.h>

#include "core/XException.h"

namespace mirelan {

namespace {

constexpr UInt64 kSizeBytes = 8;
constexpr UInt64 kMaxInflateRatio = 1032;

}  // namespace

XZCompressor::XZCompressor(UInt32, SInt32 inLevel) : itsLevel(inLevel < -1 || inLevel > 9 ? -1 : inLevel) {}

XMemoryHandle XZCompressor::CompressToMemory(const XMemoryHandle& inSource) const {
  XLock lock(inSource, kLockRead);
  return CompressToMemory(inSource.GetData(), inSource.GetDataSize());
}

XMemoryHandle XZCompressor::CompressToMemory(const void* inSource, UInt64 inBytes) const {
  uLongf bound = ::compressBound(inBytes);
  XMemoryHandle result(kSizeBytes + bound);
  {
    XLock lock(result, kLockWrite);
    UInt8* out = result.GetData();
    for (UInt64 i = 0; i < kSizeBytes; ++i) out[i] = static_cast<UInt8>(inBytes >> (8 * i));
    int status = ::compress2(out + kSizeBytes, &bound, static_cast<const Bytef*>(inSource), inBytes,
                             itsLevel < 0 ? Z_DEFAULT_COMPRESSION : itsLevel);
    if (status != Z_OK) throw XException(kErrGeneral, "zlib compression failed");
  }
  result.Resize(kSizeBytes + bound);
  return result;
}

XMemoryHandle XZDecompressor::DecompressFromMemory(const XMemoryHandle& inCompressed) const {
  XLock lock(inCompressed, kLockRead);
  return DecompressFromMemory(inCompressed.GetData(), inCompressed.GetDataSize());
}

XMemoryHandle XZDecompressor::DecompressFromMemory(const void* inCompressed, UInt64 inBytes) const {
  const auto* in = static_cast<const UInt8*>(inCompressed);
  if (inBytes < kSizeBytes) throw XException(kErrBadCompressedData, "no size word");
  UInt64 size = 0;
  for (UInt64 i = 0; i < kSizeBytes; ++i) size |= static_cast<UInt64>(in[i]) << (8 * i);
  if (size > (inBytes - kSizeBytes) * kMaxInflateRatio + 64)
    throw XException(kErrBadCompressedData, "size word too large for the data");
  XMemoryHandle result(size);
  XLock lock(result, kLockWrite);
  uLongf outBytes = size;
  int status = ::uncompress(result.GetData(), &outBytes, in + kSizeBytes, inBytes - kSizeBytes);
  if (status != Z_OK || outBytes != size) throw XException(kErrBadCompressedData);
  return result;
}

}  // namespace mirelan
