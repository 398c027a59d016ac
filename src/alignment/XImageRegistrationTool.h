// Measures how one image must be moved to fit another: a translation by
// phase correlation, confirmed in real space, and a rotation from the
// magnitude spectra, which do not depend on translation. Also measures the
// main gradient orientation of one image. Scale is not measured, and nothing
// is moved unless a Get...ImageCopy is asked for.
#pragma once

#include <functional>

#include "core/XContainers.h"
#include "core/XExport.h"
#include "geometry/X3DRect.h"
#include "geometry/XPoint.h"
#include "numeric/XFFTFilterKernelCache.h"

namespace mirelan {

class XVolume;
class XFPVolume;
class XFourierVolume;
class X3DRegion;

// (correlation of the best candidate, phase-correlation peak that proposed
// it, shift in voxels). The shift s says that the anchor's voxel at p + s
// matches the moved image's voxel at p: moving the moved image by s fits it
// onto the anchor.
using XShiftResult = XTriplet<float, float, X3DPoint>;

class MIRELAN_EXPORT XImageRegistrationTool {
 public:
  XImageRegistrationTool();
  ~XImageRegistrationTool();
  XImageRegistrationTool(const XImageRegistrationTool&) = delete;
  XImageRegistrationTool& operator=(const XImageRegistrationTool&) = delete;

  // Rotations are searched from -limit to +limit degrees; 180 or more tries
  // every whole degree.
  void SetSearchLimitInDegrees(SInt32 inDegrees) { itsSearchLimitInDegrees = inDegrees; }
  SInt32 GetSearchLimitInDegrees() const { return itsSearchLimitInDegrees; }

  // Both images of one size (or cut by the region, in their coordinates).
  // No candidate that overlaps leaves the first value at minus infinity.
  XShiftResult CalculateShift(const XVolume& inAnchor, const XVolume& inMoved, const X3DRegion* inRegion) const;
  // Degrees, -180 to 180, by which the moved image is to be rotated about its
  // centre (as XImageRotationTool turns it) to fit the anchor; infinity when
  // the search limit admits no angle.
  float CalculateRotation(const XVolume& inAnchor, const XVolume& inMoved, const X3DRegion* inRegion) const;
  // The prevailing direction of the intensity gradient, in degrees from -90
  // to 88 in steps of 2 (0: the image changes along X). Uses the kernel cache,
  // so one tool serves one thread at a time here.
  float CalculateOrientation(const XVolume& inVolume) const;
  // How much the winning direction stands out from the one across it, as
  // the logarithm of their weights' ratio, of the last CalculateOrientation.
  float GetOrientationScore() const { return itsOrientationScore; }

  // New volumes the caller owns: the volume turned by the angle in degrees,
  // and the volume's content moved by the shift within its own bounds (the
  // voxels uncovered are 0).
  XVolume* GetRotatedImageCopy(const XVolume& inVolume, float inAngle) const;
  XVolume* GetTranslatedImageCopy(const XVolume& inVolume, const X3DPoint& inShift) const;

  // The smallest rectangle holding inRect turned by inAngle degrees about
  // inOrigin in X and Y; Z is kept.
  static X3DRect CalculateContainingRect(const X3DRect& inRect, const X3DPoint& inOrigin, float inAngle);

 protected:
  using XPeakMap = XMap<float, X3DPoint, std::greater<float>>;
  static constexpr UInt32 kMaxPeaks = 6;

  // ---- steps of CalculateShift
  // A copy at the origin; with a region, only the region's voxels on a cleared box.
  static XVolume* GetTargetImage(const XVolume& inVolume, const X3DRegion* inRegion);
  static XFourierVolume* PrepareShiftVolume(const XVolume& inImage);
  static XFPVolume* CreateMirroredImage(const XVolume& inImage, const X3DPoint& inMargins);
  static void ExponentialWindow(XFPVolume& ioVolume);
  static XFPVolume* CalculateMagnitudes(const XFourierVolume& inFourier);
  static void NormaliseMagnitudes(XFourierVolume& ioA, const XFPVolume& inMagnitudesA, XFourierVolume& ioB,
                                  const XFPVolume& inMagnitudesB);
  static void ComplexConjugate(XFourierVolume& ioVolume);
  static XPeakMap FindLocalMaxima(const XFourierVolume& inSurface);
  static SInt32 OffsetTranslation(SInt32 inCoordinate, UInt32 inSize);
  static X3DPoint GenerateAltCorrection(const X3DRect& inBounds, const X3DPoint& inPoint);
  // The correlation of the two images' overlap at the shift; minus infinity
  // when they do not overlap.
  static float MeasureShiftCorrelation(const XVolume& inAnchor, const XVolume& inMoved, const X3DPoint& inShift);
  static void TryShiftCorrelation(const XVolume& inAnchor, const XVolume& inMoved, float inPeak,
                                  const X3DPoint& inShift, XShiftResult& ioResult);

  // ---- steps of CalculateRotation
  static XFourierVolume* PrepareRotationVolume(const XVolume& inVolume, const X3DRect& inRect,
                                               const X3DRegion* inRegion);
  static float CalculateComplexDifference(const XFourierVolume& inA, const XFourierVolume& inB);
  float CalculateCoarseRotationMin(const XFourierVolume& inA, const XFourierVolume& inB,
                                   const X3DRegion* inRegion) const;
  float CalculateFineRotationMin(const XFourierVolume& inA, const XFourierVolume& inB, float inAngle,
                                 const X3DRegion* inRegion) const;
  // b turned by the angle, transformed, against a's spectrum.
  static float RotatedDifference(const XFourierVolume& inA, const XFourierVolume& inB, float inAngle);

 private:
  SInt32 itsSearchLimitInDegrees = 23;
  XFFTFilterKernelCache itsKernelCache;
  mutable float itsOrientationScore = 0.0f;
};

}  // namespace mirelan
