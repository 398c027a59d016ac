// When the object finder reports: at most 100 times over n objects, at the
// first id that reaches each multiple of the step size n / 100 (1 for up to
// 100 objects), so 250 objects report at ids 3, 5, 8, 10, ...
#pragma once

#include <string>

#include "core/XTypes.h"

namespace mirelan {

class XObjectReportSteps {
 public:
  explicit XObjectReportSteps(UInt32 inCount)
      : itsSteps(inCount > 100 ? 100 : inCount),
        itsStepSize(inCount > 100 ? inCount / 100.0 : 1.0),
        itsNext(itsStepSize) {}

  // The steps of the progress report.
  UInt32 GetSteps() const { return itsSteps; }
  Float64 GetStepSize() const { return itsStepSize; }

  // True when inId has reached the next report position, which then moves
  // on by the step size; ask once per id, in ascending order.
  bool IsDue(UInt32 inId) {
    if (inId < itsNext) return false;
    itsNext += itsStepSize;
    return true;
  }

  // The progress message after inDone objects.
  static XString GetMessage(UInt32 inDone) {
    XString text = "Processed %1 objects...";
    text.replace(text.find("%1"), 2, std::to_string(inDone));
    return text;
  }

 private:
  UInt32 itsSteps;
  Float64 itsStepSize;
  Float64 itsNext;
};

}  // namespace mirelan
