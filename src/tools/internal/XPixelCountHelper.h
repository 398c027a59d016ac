// Counts the voxels of a byte volume above 127 (the mask rule), optionally
// stopping once a limit is reached.
#pragma once

#include <cstring>
#include <limits>

#include "core/XTypes.h"

namespace mirelan {

class XPixelCountHelper {
 public:
  explicit XPixelCountHelper(UInt64 inLimit = std::numeric_limits<UInt64>::max()) : itsLimit(inLimit) {}

  template <class V>
  void SetupForScan(V&) {
    itsCount = 0;
  }
  template <class V>
  void ScanPixel(const UInt8* inVoxel, V&, SInt32, SInt32, SInt32) {
    itsCount += *inVoxel > 127;
  }
  // Above 127 is the top bit: eight voxels are counted at once by summing
  // their top bits with one multiply.
  template <class V>
  void ScanRun(const UInt8* inRun, SInt32 inCount, V&, SInt32, SInt32, SInt32) {
    SInt32 i = 0;
    UInt64 count = 0;
    for (; i + 8 <= inCount; i += 8) {
      UInt64 word;
      std::memcpy(&word, inRun + i, sizeof(word));
      count += (((word >> 7) & 0x0101010101010101ull) * 0x0101010101010101ull) >> 56;
    }
    for (; i < inCount; ++i) count += inRun[i] > 127;
    itsCount += count;
  }
  template <class V>
  void FinishedScanning(V&) {}
  // Asked by the scan loop after each row: the walk ends once the limit is reached.
  bool IsScanComplete() const { return itsCount >= itsLimit; }

  UInt64 GetCount() const { return itsCount; }

 private:
  UInt64 itsLimit;
  UInt64 itsCount = 0;
};

}  // namespace mirelan
