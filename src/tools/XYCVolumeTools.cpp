#include "tools/XYCVolumeTools.h"

#include <cmath>
#include <limits>

#include "tools/internal/XScanLoop.h"
#include "volume/XColourVolumes.h"

namespace mirelan {

namespace {

constexpr XColourMatrix kYBarCARGB32 = {{{102, -300, -58}, {-153, -44, -58}, {-153, -300, 197}}, 256, 8, true};
constexpr XColourMatrix kYBarCRGB48 = {
    {{13172, -38469, -7471}, {-19595, -5701, -7471}, {-19595, -38469, 25296}}, 32768, 15, true};

constexpr XColourMatrix Negated(const XColourMatrix& inMatrix) {
  XColourMatrix m = inMatrix;
  for (auto& row : m.itsWeights)
    for (SInt32& w : row) w = -w;
  m.itsAddMaximum = false;
  return m;
}

}  // namespace

// ================================================================ XColourMatrixVolumeTool

XColourMatrixVolumeTool::XColourMatrixVolumeTool(const XColourMatrix& inARGB32, const XColourMatrix& inRGB48)
    : itsARGB32(inARGB32), itsRGB48(inRGB48), itsMaximum(std::numeric_limits<Float64>::quiet_NaN()) {}

XColourMatrixVolumeTool::~XColourMatrixVolumeTool() = default;

void XColourMatrixVolumeTool::DefaultMaximum(Float64 inValue) {
  if (std::isnan(itsMaximum)) itsMaximum = inValue;
}

void XColourMatrixVolumeTool::ApplyToolARGB32(const XARGB32Volume& inSource, XVolume& ioDest) {
  CopySourceIntoDest(inSource, ioDest);
  DefaultMaximum(255.0);
  XColourMatrixHelper<XARGB32Colour> helper(itsARGB32, XTruncateTo<SInt32>(itsMaximum));
  XScanVolume(DestAs<XARGB32Volume>(ioDest), nullptr, helper);
}

void XColourMatrixVolumeTool::ApplyToolRGB48(const XRGB48Volume& inSource, XVolume& ioDest) {
  CopySourceIntoDest(inSource, ioDest);
  DefaultMaximum(65535.0);
  XColourMatrixHelper<XRGB48Colour> helper(itsRGB48, XTruncateTo<SInt32>(itsMaximum));
  XScanVolume(DestAs<XRGB48Volume>(ioDest), nullptr, helper);
}

// ================================================================ the two transforms

XYBarCVolumeTool::XYBarCVolumeTool() : XColourMatrixVolumeTool(kYBarCARGB32, kYBarCRGB48) {}
XYBarCVolumeTool::~XYBarCVolumeTool() = default;

XYCBarVolumeTool::XYCBarVolumeTool()
    : XColourMatrixVolumeTool(Negated(kYBarCARGB32), Negated(kYBarCRGB48)) {}
XYCBarVolumeTool::~XYCBarVolumeTool() = default;

}  // namespace mirelan
