// A square matrix of floats of at most 8 rows that needs no allocation: the
// matrix that bulk transforms of several vectors take by value.
#pragma once

#include "core/XException.h"
#include "core/XExport.h"
#include "core/XTypes.h"

namespace mirelan {

class MIRELAN_EXPORT XMiniSquareMatrix {
 public:
  static constexpr UInt32 kMaxSize = 8;

  // A zero matrix of theSize rows; precondition theSize <= kMaxSize.
  explicit XMiniSquareMatrix(UInt32 theSize = 0) : itsSize(theSize) {
    XAssert(theSize <= kMaxSize);
    for (auto& row : itsElements)
      for (auto& e : row) e = 0.0f;
  }

  UInt32 GetSize() const { return itsSize; }
  // Set by any write.
  bool IsModified() const { return itsModified != 0; }

  float Get(SInt32 i, SInt32 j) const {
    XAssert((i >= 0) && (i < SInt32(kMaxSize)));
    XAssert((j >= 0) && (j < SInt32(kMaxSize)));
    return itsElements[i][j];
  }
  void Set(SInt32 i, SInt32 j, float inValue) {
    XAssert((i >= 0) && (i < SInt32(kMaxSize)));
    XAssert((j >= 0) && (j < SInt32(kMaxSize)));
    itsElements[i][j] = inValue;
    itsModified = 1;
  }
  // Row i as kMaxSize contiguous floats.
  const float* GetRow(SInt32 i) const {
    XAssert((i >= 0) && (i < SInt32(kMaxSize)));
    return itsElements[i];
  }

 private:
  UInt32 itsModified = 0;
  UInt32 itsSize;
  float itsElements[kMaxSize][kMaxSize];
};

}  // namespace mirelan
