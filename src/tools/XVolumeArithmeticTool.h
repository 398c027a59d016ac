// Voxel-by-voxel arithmetic of two volumes of one class: a op= b, with the
// integer results kept within the type (saturated), unlike the wrapping
// operators of XNumberVolume. Grey8 (and masks), Grey16, ARGB32 and FP; any
// other class throws 2500.
#pragma once

#include "core/XExport.h"
#include "core/XTypes.h"

namespace mirelan {

class XVolume;

class MIRELAN_EXPORT XVolumeArithmeticTool {
 public:
  // a op b, per type:
  //   0 a + b, capped at the type's maximum (FP: plain)
  //   1 a - b, floored at 0 (FP: plain)
  //   2 a - b + 128 (Grey16: + 32768), clamped to the type (FP: plain a - b)
  //   3 |a - b|
  //   4 a * b, capped at the maximum (FP: plain)
  //   5 a / (b + 1), integer division (FP: a / (b + 1.0), kept the same way
  //     so that b = 0 gives a for every type)
  //   6 minimum, 7 maximum.
  // ARGB32 does red, green and blue as Grey8 and keeps a's alpha. Any other
  // value leaves a as it is.
  enum XOperator : SInt32 {
    kAdd = 0,
    kSubtract = 1,
    kSubtractOffset = 2,
    kAbsoluteDifference = 3,
    kMultiply = 4,
    kDivideByOneMore = 5,
    kMinimum = 6,
    kMaximum = 7,
  };

  XVolumeArithmeticTool() = default;
  virtual ~XVolumeArithmeticTool();

  // Needs volumes of the same class and size; ioA changes in place. Every
  // element of the block is visited, row padding included, as one run.
  virtual void ApplyTool(XVolume& ioA, const XVolume& inB, XOperator inOperator);
};

}  // namespace mirelan
