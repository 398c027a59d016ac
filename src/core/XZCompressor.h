// zlib compression of memory blocks. The compressed form is the original
// size as 8 little-endian bytes followed by one zlib stream.
#pragma once

#include "core/XExport.h"
#include "core/XMemoryHandle.h"

namespace mirelan {

class MIRELAN_EXPORT XZCompressor {
 public:
  // inType is reserved (0); inLevel is zlib's 0..9, or -1 for its default.
  explicit XZCompressor(UInt32 inType = 0, SInt32 inLevel = -1);
  XMemoryHandle CompressToMemory(const XMemoryHandle& inSource) const;
  XMemoryHandle CompressToMemory(const void* inSource, UInt64 inBytes) const;

 private:
  SInt32 itsLevel;
};

class MIRELAN_EXPORT XZDecompressor {
 public:
  // Throws 1007 when the data is damaged or does not fit its size word.
  XMemoryHandle DecompressFromMemory(const XMemoryHandle& inCompressed) const;
  XMemoryHandle DecompressFromMemory(const void* inCompressed, UInt64 inBytes) const;
};

}  // namespace mirelan
