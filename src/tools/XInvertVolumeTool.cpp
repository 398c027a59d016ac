#include "tools/XInvertVolumeTool.h"

#include <cmath>
#include <limits>

#include "tools/internal/XScanLoop.h"
#include "volume/XColourVolumes.h"
#include "volume/XFPVolume.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey8Volume.h"

namespace mirelan {

XInvertVolumeTool::XInvertVolumeTool() : itsMaximum(std::numeric_limits<Float64>::quiet_NaN()) {}

void XInvertVolumeTool::DefaultMaximum(Float64 inValue) {
  if (std::isnan(itsMaximum)) itsMaximum = inValue;
}

template <class Helper, class Channel, class V>
void XInvertVolumeTool::InvertIntegers(const V& inSource, XVolume& ioDest, Float64 inDefaultMaximum) {
  CopySourceIntoDest(inSource, ioDest);
  DefaultMaximum(inDefaultMaximum);
  Helper helper(XTruncateTo<Channel>(itsMaximum));
  XScanVolume(DestAs<V>(ioDest), nullptr, helper);
}

void XInvertVolumeTool::ApplyToolGrey8(const XGrey8Volume& inSource, XVolume& ioDest) {
  InvertIntegers<XInvertHelperGrey8, UInt8>(inSource, ioDest, 255.0);
}

void XInvertVolumeTool::ApplyToolGrey16(const XGrey16Volume& inSource, XVolume& ioDest) {
  InvertIntegers<XInvertHelperGrey16, UInt16>(inSource, ioDest, 65535.0);
}

void XInvertVolumeTool::ApplyToolARGB32(const XARGB32Volume& inSource, XVolume& ioDest) {
  InvertIntegers<XInvertHelperARGB32, UInt8>(inSource, ioDest, 255.0);
}

void XInvertVolumeTool::ApplyToolRGB48(const XRGB48Volume& inSource, XVolume& ioDest) {
  InvertIntegers<XInvertHelperRGB48, UInt16>(inSource, ioDest, 65535.0);
}

void XInvertVolumeTool::ApplyToolFP(const XFPVolume& inSource, XVolume& ioDest) {
  CopySourceIntoDest(inSource, ioDest);
  DefaultMaximum(inSource.FindMax());
  // Every form takes the maximum truncated to an integer, the float one too:
  // data normalised below 1 thus divides by zero, and that stands.
  XInvertHelperFP helper(std::trunc(itsMaximum), inSource.FindMin());
  XScanVolume(DestAs<XFPVolume>(ioDest), nullptr, helper);
}

}  // namespace mirelan
