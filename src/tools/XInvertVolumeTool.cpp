#include "tools/XInvertVolumeTool.h"

#include <limits>

#include "tools/XScanLoop.h"
#include "volume/XColourVolumes.h"
#include "volume/XFPVolume.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey8Volume.h"

XInvertVolumeTool::XInvertVolumeTool() : itsMaximum(std::numeric_limits<Float64>::quiet_NaN()) {}

void XInvertVolumeTool::DefaultMaximum(Float64 inValue) {
  if (std::isnan(itsMaximum)) itsMaximum = inValue;
}

void XInvertVolumeTool::ApplyToolGrey8(const XGrey8Volume& inSource, XVolume& ioDest) {
  CopySourceIntoDest(inSource, ioDest);
  DefaultMaximum(255.0);
  XInvertHelperGrey8 helper(XTruncateTo<UInt8>(itsMaximum));
  XScanVolume(DestAs<XGrey8Volume>(ioDest), nullptr, helper);
}

void XInvertVolumeTool::ApplyToolGrey16(const XGrey16Volume& inSource, XVolume& ioDest) {
  CopySourceIntoDest(inSource, ioDest);
  DefaultMaximum(65535.0);
  XInvertHelperGrey16 helper(XTruncateTo<UInt16>(itsMaximum));
  XScanVolume(DestAs<XGrey16Volume>(ioDest), nullptr, helper);
}

void XInvertVolumeTool::ApplyToolARGB32(const XARGB32Volume& inSource, XVolume& ioDest) {
  CopySourceIntoDest(inSource, ioDest);
  DefaultMaximum(255.0);
  XInvertHelperARGB32 helper(XTruncateTo<UInt8>(itsMaximum));
  XScanVolume(DestAs<XARGB32Volume>(ioDest), nullptr, helper);
}

void XInvertVolumeTool::ApplyToolRGB48(const XRGB48Volume& inSource, XVolume& ioDest) {
  CopySourceIntoDest(inSource, ioDest);
  DefaultMaximum(65535.0);
  XInvertHelperRGB48 helper(XTruncateTo<UInt16>(itsMaximum));
  XScanVolume(DestAs<XRGB48Volume>(ioDest), nullptr, helper);
}

void XInvertVolumeTool::ApplyToolFP(const XFPVolume& inSource, XVolume& ioDest) {
  CopySourceIntoDest(inSource, ioDest);
  DefaultMaximum(inSource.FindMax());
  // The integer helpers take the maximum truncated to their type; the float
  // form maps [min, max] onto [1, 0] and needs the true maximum, or data
  // normalised below 1 would divide by zero.
  XInvertHelperFP helper(itsMaximum, inSource.FindMin());
  XScanVolume(DestAs<XFPVolume>(ioDest), nullptr, helper);
}
