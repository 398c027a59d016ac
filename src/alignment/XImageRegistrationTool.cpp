#include "alignment/XImageRegistrationTool.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

#include "alignment/XImageCrossCorrelationTool.h"
#include "core/XException.h"
#include "core/XLockable.h"
#include "core/XProgress.h"
#include "core/XWorkerPool.h"
#include "measurement/XVolumeStatsTool.h"
#include "numeric/XFFTFilterVolumeTool.h"
#include "numeric/XFourierVolume.h"
#include "tools/XImageRotationTool.h"
#include "volume/X3DRegion.h"
#include "volume/XFPVolume.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey8Volume.h"
#include "volume/XMaskVolume.h"

namespace mirelan {

namespace {

constexpr double kPi = 3.141592653589793;
// Gradients for CalculateOrientation: the Sobel tables need two voxels
// around each one, and their size is fixed, so sigma is unused.
constexpr UInt32 kOrientationMargin = 4;
constexpr float kOrientationSigma = 1.0f;
// A voxel votes for a direction when its gradient strength reaches this share
// of the image's mean level: flat, noisy background stays out of the vote.
constexpr double kOrientationThresholdShare = 0.1;
constexpr UInt32 kOrientationBins = 91;  // -90 to 90 degrees in steps of 2

// The window weights of one axis: 0 at both ends, 0.999 in the middle.
std::vector<double> WindowWeights(UInt32 inLength) {
  if (inLength < 2) return std::vector<double>(1, 1.0);
  std::vector<double> weights(inLength);
  for (UInt32 i = 0; i < inLength; ++i) {
    const double t = double(i) / double(inLength - 1);
    const double u = t <= 0.5 ? 2.0 * t : 2.0 * (1.0 - t);
    weights[i] = 1.0 - std::pow(1.0 / 1000.0, u);
  }
  return weights;
}

// The image into its own bounds of a float volume: grey levels as they are,
// without the conversion's temporary volume; other classes by CopyIn.
template <class T>
void CopyRowsAsFloat(const XPackedVolume<T>& inImage, XFPVolume& ioDest) {
  const X3DRect& b = inImage.GetBounds();
  XLock lockImage(inImage, kLockRead);
  XLock lockDest(ioDest, kLockReadWrite);
  for (SInt32 z = b.front; z < b.back; ++z)
    for (SInt32 y = b.top; y < b.bottom; ++y) {
      const T* from = inImage.GetVoxelPtr(b.left, y, z);
      float* to = ioDest.GetVoxelPtr(b.left, y, z);
      for (UInt32 x = 0; x < b.GetWidth(); ++x) to[x] = float(from[x]);
    }
}

void CopyInsideAsFloat(const XVolume& inImage, XFPVolume& ioDest) {
  if (inImage.IsA(XMaskVolume::GetClassVersion()) || inImage.IsA(XGrey8Volume::GetClassVersion()))
    CopyRowsAsFloat(static_cast<const XPackedVolume<UInt8>&>(inImage), ioDest);
  else if (inImage.IsA(XGrey16Volume::GetClassVersion()))
    CopyRowsAsFloat(static_cast<const XPackedVolume<UInt16>&>(inImage), ioDest);
  else if (inImage.IsA(XFPVolume::GetClassVersion()))
    CopyRowsAsFloat(static_cast<const XPackedVolume<Float32>&>(inImage), ioDest);
  else
    ioDest.CopyIn(inImage, inImage.GetBounds(), inImage.GetBounds(), nullptr);
}

UInt64 PairCount(const XFourierVolume& inVolume) {
  return UInt64(inVolume.GetWidth() / 2 + 1) * inVolume.GetHeight() * inVolume.GetDepth();
}

}  // namespace

XImageRegistrationTool::XImageRegistrationTool() = default;
XImageRegistrationTool::~XImageRegistrationTool() = default;

// ---------------------------------------------------------------- shift

XVolume* XImageRegistrationTool::GetTargetImage(const XVolume& inVolume, const X3DRegion* inRegion) {
  std::unique_ptr<XVolume> target;
  if (inRegion == nullptr) {
    target.reset(inVolume.Clone());
  } else {
    const X3DRect& box = inRegion->GetBounds();
    target.reset(inVolume.CloneWithoutCopy(box));
    target->Clear();
    X3DRect inside = box;
    inside.Sect(inVolume.GetBounds());
    if (!inside.IsEmptyOrInsideOut()) target->CopyIn(inVolume, inside, inside, inRegion);
  }
  const X3DRect& b = target->GetBounds();
  target->OffsetBounds(-b.left, -b.top, -b.front);
  return target.release();
}

XFPVolume* XImageRegistrationTool::CreateMirroredImage(const XVolume& inImage, const X3DPoint& inMargins) {
  const X3DRect& inside = inImage.GetBounds();
  XAssert(inMargins.x >= 0 && inMargins.y >= 0 && inMargins.z >= 0);
  XAssert(UInt32(inMargins.x) <= inside.GetWidth() && UInt32(inMargins.y) <= inside.GetHeight() &&
          UInt32(inMargins.z) <= inside.GetDepth());
  X3DRect grown = inside;
  grown.Grow(inMargins.x, inMargins.y, inMargins.z);
  // A Fourier volume in image space is a float volume with rows padded for
  // the transform: building the mirrored image in one saves a copy later.
  std::unique_ptr<XFPVolume> mirrored(new XFourierVolume(grown));
  CopyInsideAsFloat(inImage, *mirrored);
  XLock lock(*mirrored, kLockReadWrite);
  // Each margin voxel at distance d outside an edge takes the voxel d - 1
  // inside it; rows first, then whole rows, then whole planes.
  for (SInt32 z = inside.front; z < inside.back; ++z) {
    for (SInt32 y = inside.top; y < inside.bottom; ++y) {
      float* row = mirrored->GetVoxelPtr(grown.left, y, z);
      const SInt32 left = inside.left - grown.left, right = inside.right - grown.left;
      for (SInt32 d = 1; d <= inMargins.x; ++d) {
        row[left - d] = row[left + d - 1];
        row[right - 1 + d] = row[right - d];
      }
    }
    const UInt64 rowFloats = grown.GetWidth();
    for (SInt32 d = 1; d <= inMargins.y; ++d) {
      std::copy_n(mirrored->GetVoxelPtr(grown.left, inside.top + d - 1, z), rowFloats,
                  mirrored->GetVoxelPtr(grown.left, inside.top - d, z));
      std::copy_n(mirrored->GetVoxelPtr(grown.left, inside.bottom - d, z), rowFloats,
                  mirrored->GetVoxelPtr(grown.left, inside.bottom - 1 + d, z));
    }
  }
  for (SInt32 d = 1; d <= inMargins.z; ++d) {
    for (SInt32 y = grown.top; y < grown.bottom; ++y) {
      std::copy_n(mirrored->GetVoxelPtr(grown.left, y, inside.front + d - 1), grown.GetWidth(),
                  mirrored->GetVoxelPtr(grown.left, y, inside.front - d));
      std::copy_n(mirrored->GetVoxelPtr(grown.left, y, inside.back - d), grown.GetWidth(),
                  mirrored->GetVoxelPtr(grown.left, y, inside.back - 1 + d));
    }
  }
  return mirrored.release();
}

void XImageRegistrationTool::ExponentialWindow(XFPVolume& ioVolume) {
  const X3DRect& b = ioVolume.GetBounds();
  const std::vector<double> wx = WindowWeights(b.GetWidth());
  const std::vector<double> wy = WindowWeights(b.GetHeight());
  const std::vector<double> wz = WindowWeights(b.GetDepth());
  XLock lock(ioVolume, kLockReadWrite);
  float sum = 0.0f;
  for (UInt32 z = 0; z < b.GetDepth(); ++z)
    for (UInt32 y = 0; y < b.GetHeight(); ++y) {
      float* row = ioVolume.GetVoxelPtr(b.left, b.top + SInt32(y), b.front + SInt32(z));
      const double wzy = wz[z] * wy[y];
      for (UInt32 x = 0; x < b.GetWidth(); ++x) {
        row[x] = float(row[x] * (wzy * wx[x]));
        sum += row[x];
      }
    }
  for (UInt32 z = 0; z < b.GetDepth(); ++z)
    for (UInt32 y = 0; y < b.GetHeight(); ++y) {
      float* row = ioVolume.GetVoxelPtr(b.left, b.top + SInt32(y), b.front + SInt32(z));
      for (UInt32 x = 0; x < b.GetWidth(); ++x) row[x] /= sum;
    }
}

XFourierVolume* XImageRegistrationTool::PrepareShiftVolume(const XVolume& inImage) {
  const X3DPoint margins(SInt32(inImage.GetWidth() / 10), SInt32(inImage.GetHeight() / 10), 0);
  std::unique_ptr<XFPVolume> mirrored(CreateMirroredImage(inImage, margins));
  ExponentialWindow(*mirrored);
  std::unique_ptr<XFourierVolume> fourier;
  if (auto* already = dynamic_cast<XFourierVolume*>(mirrored.get())) {
    mirrored.release();
    fourier.reset(already);
  } else {
    fourier.reset(new XFourierVolume(mirrored->GetBounds()));
    fourier->CopyIn(*mirrored, mirrored->GetBounds(), mirrored->GetBounds(), nullptr);
  }
  fourier->FourierTransform();
  return fourier.release();
}

XFPVolume* XImageRegistrationTool::CalculateMagnitudes(const XFourierVolume& inFourier) {
  std::unique_ptr<XFPVolume> magnitudes(new XFPVolume(inFourier.GetBounds()));
  const UInt64 pairs = PairCount(inFourier);
  XLock lockIn(inFourier, kLockRead);
  XLock lockOut(*magnitudes, kLockWrite);
  const float* in = inFourier.GetFirstVoxelPtr();
  float* out = magnitudes->GetBaseVoxelPtr();
  for (UInt64 i = 0; i < pairs; ++i) {
    const double re = in[2 * i], im = in[2 * i + 1];
    out[i] = float(std::sqrt(re * re + im * im));
  }
  // The rest of the volume is cleared; the magnitudes overwrite the front.
  std::fill(out + pairs, out + magnitudes->GetVolumeVoxels(), 0.0f);
  return magnitudes.release();
}

void XImageRegistrationTool::NormaliseMagnitudes(XFourierVolume& ioA, const XFPVolume& inMagnitudesA,
                                                 XFourierVolume& ioB, const XFPVolume& inMagnitudesB) {
  XAssert(PairCount(ioA) == PairCount(ioB));
  // The count is the real image's voxels, about twice the half spectrum's
  // pairs: the threshold is about half the true mean magnitude.
  const X3DRect& ba = inMagnitudesA.GetBounds();
  const X3DRect& bb = inMagnitudesB.GetBounds();
  const float meanA = float(inMagnitudesA.FindSum() / double(UInt64(ba.GetWidth()) * ba.GetHeight() * ba.GetDepth()));
  const float meanB = float(inMagnitudesB.FindSum() / double(UInt64(bb.GetWidth()) * bb.GetHeight() * bb.GetDepth()));
  const UInt64 pairs = PairCount(ioA);
  XLock lockA(ioA, kLockReadWrite), lockB(ioB, kLockReadWrite);
  XLock lockMA(inMagnitudesA, kLockRead), lockMB(inMagnitudesB, kLockRead);
  float* a = ioA.GetFirstVoxelPtr();
  float* b = ioB.GetFirstVoxelPtr();
  const float* ma = inMagnitudesA.GetBaseVoxelPtr();
  const float* mb = inMagnitudesB.GetBaseVoxelPtr();
  for (UInt64 i = 0; i < pairs; ++i) {
    if (ma[i] != 0.0f) {
      a[2 * i] /= ma[i];
      a[2 * i + 1] /= ma[i];
    }
    if (mb[i] != 0.0f) {
      b[2 * i] /= mb[i];
      b[2 * i + 1] /= mb[i];
    }
    if (ma[i] < meanA || mb[i] < meanB) {
      a[2 * i] = a[2 * i + 1] = 0.0f;
      b[2 * i] = b[2 * i + 1] = 0.0f;
    }
  }
}

void XImageRegistrationTool::ComplexConjugate(XFourierVolume& ioVolume) {
  const UInt64 pairs = PairCount(ioVolume);
  XLock lock(ioVolume, kLockReadWrite);
  float* data = ioVolume.GetFirstVoxelPtr();
  for (UInt64 i = 0; i < pairs; ++i) data[2 * i + 1] = -data[2 * i + 1];
}

SInt32 XImageRegistrationTool::OffsetTranslation(SInt32 inCoordinate, UInt32 inSize) {
  return inCoordinate <= SInt32(inSize / 2) ? inCoordinate : inCoordinate - SInt32(inSize);
}

XImageRegistrationTool::XPeakMap XImageRegistrationTool::FindLocalMaxima(const XFourierVolume& inSurface) {
  const SInt32 w = SInt32(inSurface.GetWidth()), h = SInt32(inSurface.GetHeight()), d = SInt32(inSurface.GetDepth());
  const SInt32 rx = w > 1 ? 1 : 0, ry = h > 1 ? 1 : 0, rz = d > 1 ? 1 : 0;
  const UInt64 rowSize = inSurface.GetRealLayout().GetRowSize();
  XLock lock(inSurface, kLockRead);
  const float* data = inSurface.GetFirstVoxelPtr();
  auto at = [&](SInt32 x, SInt32 y, SInt32 z) { return data[(UInt64(z) * UInt64(h) + UInt64(y)) * rowSize + UInt64(x)]; };
  auto wrap = [](SInt32 c, SInt32 n) { return c < 0 ? c + n : (c >= n ? c - n : c); };
  XPeakMap peaks;
  for (SInt32 z = 0; z < d; ++z)
    for (SInt32 y = 0; y < h; ++y)
      for (SInt32 x = 0; x < w; ++x) {
        const float value = at(x, y, z);
        if (std::isnan(value)) continue;
        if (peaks.size() >= kMaxPeaks && !(value > peaks.rbegin()->first)) continue;
        bool isPeak = true;
        for (SInt32 dz = -rz; dz <= rz && isPeak; ++dz)
          for (SInt32 dy = -ry; dy <= ry && isPeak; ++dy)
            for (SInt32 dx = -rx; dx <= rx; ++dx) {
              if (at(wrap(x + dx, w), wrap(y + dy, h), wrap(z + dz, d)) > value) {
                isPeak = false;
                break;
              }
            }
        if (!isPeak) continue;
        peaks.emplace(value, X3DPoint(OffsetTranslation(x, UInt32(w)), OffsetTranslation(y, UInt32(h)),
                                      OffsetTranslation(z, UInt32(d))));
        if (peaks.size() > kMaxPeaks) peaks.erase(std::prev(peaks.end()));
      }
  return peaks;
}

X3DPoint XImageRegistrationTool::GenerateAltCorrection(const X3DRect& inBounds, const X3DPoint& inPoint) {
  auto other = [](SInt32 p, UInt32 n) {
    const double size = double(n);
    const double magnitude = std::abs(double(p));
    if (magnitude > 0.2 * size && magnitude < 0.8 * size) return p >= 0 ? p - SInt32(n) : SInt32(n) + p;
    return p;
  };
  return X3DPoint(other(inPoint.x, inBounds.GetWidth()), other(inPoint.y, inBounds.GetHeight()),
                  other(inPoint.z, inBounds.GetDepth()));
}

float XImageRegistrationTool::MeasureShiftCorrelation(const XVolume& inAnchor, const XVolume& inMoved,
                                                      const X3DPoint& inShift) {
  X3DRect r1 = inAnchor.GetBounds();
  r1.Offset(inShift);
  r1.Sect(inAnchor.GetBounds());
  X3DRect r2 = inMoved.GetBounds();
  r2.Offset(-inShift.x, -inShift.y, -inShift.z);
  r2.Sect(inMoved.GetBounds());
  if (r1.IsEmptyOrInsideOut() || r2.IsEmptyOrInsideOut()) return -std::numeric_limits<float>::infinity();
  // Both start at matching voxels; images of unequal size would leave one
  // rectangle longer than the other, so both keep the common part.
  const UInt32 w = std::min(r1.GetWidth(), r2.GetWidth());
  const UInt32 h = std::min(r1.GetHeight(), r2.GetHeight());
  const UInt32 d = std::min(r1.GetDepth(), r2.GetDepth());
  r1.SetDimensions(w, h, d);
  r2.SetDimensions(w, h, d);
  // The overlaps are measured where they lie: the same voxels, in the same
  // order, as copies of them moved to the origin, without the copies.
  XImageCrossCorrelationTool correlation;
  return correlation.CalculateCrossCorrelation(inAnchor, r1, inMoved, r2);
}

void XImageRegistrationTool::TryShiftCorrelation(const XVolume& inAnchor, const XVolume& inMoved, float inPeak,
                                                 const X3DPoint& inShift, XShiftResult& ioResult) {
  // No overlap measures minus infinity, which never beats anything.
  const float value = MeasureShiftCorrelation(inAnchor, inMoved, inShift);
  if (value > ioResult.first) ioResult = XShiftResult(value, inPeak, inShift);
}

XShiftResult XImageRegistrationTool::CalculateShift(const XVolume& inAnchor, const XVolume& inMoved,
                                                    const X3DRegion* inRegion) const {
  // The target images are only read: an image without a region whose bounds
  // already start at the origin serves as it is.
  auto needsCopy = [&](const XVolume& inVolume) {
    return inRegion != nullptr || inVolume.GetBounds().GetTopLeftFront() != X3DPoint(0, 0, 0);
  };
  std::unique_ptr<XVolume> anchorCopy(needsCopy(inAnchor) ? GetTargetImage(inAnchor, inRegion) : nullptr);
  std::unique_ptr<XVolume> movedCopy(needsCopy(inMoved) ? GetTargetImage(inMoved, inRegion) : nullptr);
  const XVolume* anchor = anchorCopy ? anchorCopy.get() : &inAnchor;
  const XVolume* moved = movedCopy ? movedCopy.get() : &inMoved;
  XAssert(anchor->GetBounds() == moved->GetBounds());
  std::unique_ptr<XFourierVolume> surface(PrepareShiftVolume(*anchor));
  std::unique_ptr<XFourierVolume> movedSpectrum(PrepareShiftVolume(*moved));
  {
    std::unique_ptr<XFPVolume> magnitudesA(CalculateMagnitudes(*surface));
    std::unique_ptr<XFPVolume> magnitudesB(CalculateMagnitudes(*movedSpectrum));
    NormaliseMagnitudes(*surface, *magnitudesA, *movedSpectrum, *magnitudesB);
  }
  ComplexConjugate(*movedSpectrum);
  surface->ComplexMultiply(*movedSpectrum);
  movedSpectrum.reset();
  surface->InverseFourierTransform();
  const XPeakMap peaks = FindLocalMaxima(*surface);

  // Every candidate in the order it is tried: each peak, strongest first,
  // with its readings in the set's order.
  std::vector<std::pair<float, X3DPoint>> candidates;
  for (const auto& peak : peaks) {
    const X3DPoint& p = peak.second;
    const X3DPoint q = GenerateAltCorrection(surface->GetBounds(), p);
    XSet<X3DPoint> readings;
    for (int combination = 0; combination < 8; ++combination)
      readings.insert(X3DPoint((combination & 1) ? q.x : p.x, (combination & 2) ? q.y : p.y,
                               (combination & 4) ? q.z : p.z));
    for (const X3DPoint& reading : readings) candidates.emplace_back(peak.first, reading);
  }
  surface.reset();
  // The correlations are independent and run on the worker pool; the
  // strictly-greater choice then runs over them in order, as if each
  // candidate had been tried in turn, so the result is the same for every
  // worker count.
  std::vector<float> correlations(candidates.size());
  XWorkerPool::ForEachSlab(candidates.size(), 1, [&](UInt64 inBegin, UInt64 inEnd) {
    for (UInt64 i = inBegin; i < inEnd; ++i)
      correlations[i] = MeasureShiftCorrelation(*anchor, *moved, candidates[i].second);
  });
  const float minusInfinity = -std::numeric_limits<float>::infinity();
  XShiftResult result(minusInfinity, minusInfinity, X3DPoint(0, 0, 0));
  for (size_t i = 0; i < candidates.size(); ++i)
    if (correlations[i] > result.first) result = XShiftResult(correlations[i], candidates[i].first, candidates[i].second);
  return result;
}

// ---------------------------------------------------------------- rotation

X3DRect XImageRegistrationTool::CalculateContainingRect(const X3DRect& inRect, const X3DPoint& inOrigin,
                                                        float inAngle) {
  const double radians = double(inAngle) * kPi / 180.0;
  const double c = std::cos(radians), s = std::sin(radians);
  double minX = std::numeric_limits<double>::infinity(), minY = minX;
  double maxX = -minX, maxY = -minX;
  const double xs[2] = {double(inRect.left), double(inRect.right)};
  const double ys[2] = {double(inRect.top), double(inRect.bottom)};
  for (double x : xs)
    for (double y : ys) {
      const double dx = x - inOrigin.x, dy = y - inOrigin.y;
      const double rx = inOrigin.x + dx * c - dy * s;
      const double ry = inOrigin.y + dx * s + dy * c;
      minX = std::min(minX, rx);
      maxX = std::max(maxX, rx);
      minY = std::min(minY, ry);
      maxY = std::max(maxY, ry);
    }
  // A hair of tolerance, so that 90 degrees does not grow a rectangle by a voxel.
  const double eps = 1e-9;
  return X3DRect(SInt32(std::floor(minX + eps)), SInt32(std::floor(minY + eps)), inRect.front,
                 SInt32(std::ceil(maxX - eps)), SInt32(std::ceil(maxY - eps)), inRect.back);
}

XFourierVolume* XImageRegistrationTool::PrepareRotationVolume(const XVolume& inVolume, const X3DRect& inRect,
                                                              const X3DRegion* inRegion) {
  XFPVolume image(inRect);
  image.Clear();
  X3DRect inside = inRect;
  inside.Sect(inVolume.GetBounds());
  if (!inside.IsEmptyOrInsideOut()) image.CopyIn(inVolume, inside, inside, inRegion);
  ExponentialWindow(image);
  std::unique_ptr<XFourierVolume> fourier(new XFourierVolume(inRect));
  fourier->CopyIn(image, inRect, inRect, nullptr);
  return fourier.release();
}

float XImageRegistrationTool::CalculateComplexDifference(const XFourierVolume& inA, const XFourierVolume& inB) {
  XAssert(PairCount(inA) == PairCount(inB));
  const UInt64 pairs = PairCount(inA);
  XLock lockA(inA, kLockRead), lockB(inB, kLockRead);
  const float* a = inA.GetFirstVoxelPtr();
  const float* b = inB.GetFirstVoxelPtr();
  float sum = 0.0f;
  for (UInt64 i = 0; i < pairs; ++i) {
    const double ma = std::sqrt(double(a[2 * i]) * a[2 * i] + double(a[2 * i + 1]) * a[2 * i + 1]);
    const double mb = std::sqrt(double(b[2 * i]) * b[2 * i] + double(b[2 * i + 1]) * b[2 * i + 1]);
    sum += float(std::abs(ma - mb));
  }
  return sum;
}

float XImageRegistrationTool::RotatedDifference(const XFourierVolume& inA, const XFourierVolume& inB,
                                                float inAngle) {
  XImageRotationTool rotation(inAngle);
  std::unique_ptr<XVolume> rotated(rotation.ApplyTool(inB));
  XFourierVolume* spectrum = dynamic_cast<XFourierVolume*>(rotated.get());
  XAssert(spectrum != nullptr);
  spectrum->FourierTransform();
  return CalculateComplexDifference(inA, *spectrum);
}

float XImageRegistrationTool::CalculateCoarseRotationMin(const XFourierVolume& inA, const XFourierVolume& inB,
                                                         const X3DRegion*) const {
  const SInt64 limit = itsSearchLimitInDegrees;
  XProgress progress(UInt64(std::max<SInt64>(1, 2 * limit)), kProgressStandard, 2000, false);
  XMap<SInt32, float> differences;
  for (SInt32 angle = 0; angle <= 358; ++angle) {
    if (!(angle <= limit || angle >= 360 - limit)) continue;
    differences[angle] = RotatedDifference(inA, inB, float(angle));
    progress.Increment();
  }
  if (differences.empty()) return std::numeric_limits<float>::infinity();
  auto best = differences.begin();
  for (auto it = differences.begin(); it != differences.end(); ++it)
    if (it->second < best->second) best = it;
  return float(best->first > 180 ? best->first - 360 : best->first);
}

float XImageRegistrationTool::CalculateFineRotationMin(const XFourierVolume& inA, const XFourierVolume& inB,
                                                       float inAngle, const X3DRegion*) const {
  float angle = inAngle;
  float d0 = RotatedDifference(inA, inB, angle);
  float step = 1.0f;
  for (int i = 0; i < 50 && step >= 0.015625f; ++i) {
    const float plus = RotatedDifference(inA, inB, angle + step);
    const float minus = RotatedDifference(inA, inB, angle - step);
    if (!(plus < d0) && !(minus < d0)) {
      step *= 0.5f;
    } else if (plus < d0 && !(minus < plus)) {
      angle += step;
      d0 = plus;
    } else {
      angle -= step;
      d0 = minus;
    }
  }
  return angle;
}

float XImageRegistrationTool::CalculateRotation(const XVolume& inAnchor, const XVolume& inMoved,
                                                const X3DRegion* inRegion) const {
  XProgress progress(3, kProgressStandard, 2000, false);
  X3DRect rect = inRegion != nullptr ? inRegion->GetBounds() : inAnchor.GetBounds();
  const X3DRect containing = CalculateContainingRect(rect, rect.GetCentre(), float(itsSearchLimitInDegrees));
  const SInt32 growX = std::max<SInt32>(0, (SInt32(containing.GetWidth()) - SInt32(rect.GetWidth())) / 2);
  const SInt32 growY = std::max<SInt32>(0, (SInt32(containing.GetHeight()) - SInt32(rect.GetHeight())) / 2);
  rect.Grow(growX, growY, 0);
  progress.Increment();
  std::unique_ptr<XFourierVolume> a(PrepareRotationVolume(inAnchor, rect, inRegion));
  std::unique_ptr<XFourierVolume> b(PrepareRotationVolume(inMoved, rect, inRegion));
  a->FourierTransform();
  progress.Increment();
  float angle = CalculateCoarseRotationMin(*a, *b, inRegion);
  if (!std::isinf(angle)) angle = CalculateFineRotationMin(*a, *b, angle, inRegion);
  progress.Increment();
  return angle;
}

// ---------------------------------------------------------------- orientation

float XImageRegistrationTool::CalculateOrientation(const XVolume& inVolume) const {
  XVolumeStatsTool stats;
  stats.ApplyTool(inVolume, nullptr);
  const double mean = stats.GetMeanAllChannels();

  const X3DRect rect(inVolume.GetWidth(), inVolume.GetHeight(), inVolume.GetDepth());
  XFPVolume alongY(rect), alongX(rect);
  alongY.CopyIn(inVolume, inVolume.GetBounds(), rect, nullptr);
  alongX.CopyIn(inVolume, inVolume.GetBounds(), rect, nullptr);
  const XFourierVolume* horizontal =
      itsKernelCache.GetKernel(kSobelHorizontalKernel, rect, kOrientationSigma, kOrientationMargin);
  const XFourierVolume* vertical =
      itsKernelCache.GetKernel(kSobelVerticalKernel, rect, kOrientationSigma, kOrientationMargin);
  XFFTFilterVolumeTool(horizontal, nullptr, kOrientationMargin).ApplyToolInPlace(alongY);
  XFFTFilterVolumeTool(vertical, nullptr, kOrientationMargin).ApplyToolInPlace(alongX);

  XFPVolume strength(rect);
  std::vector<double> bins(kOrientationBins, 0.0);
  const float threshold = float(std::abs(mean) * kOrientationThresholdShare);
  {
    XLock lockY(alongY, kLockRead), lockX(alongX, kLockRead), lockS(strength, kLockWrite);
    for (SInt32 z = rect.front; z < rect.back; ++z)
      for (SInt32 y = rect.top; y < rect.bottom; ++y) {
        const float* gy = alongY.GetVoxelPtr(0, y, z);
        const float* gx = alongX.GetVoxelPtr(0, y, z);
        float* s = strength.GetVoxelPtr(0, y, z);
        for (SInt32 x = 0; x < rect.right; ++x) {
          s[x] = std::sqrt(gx[x] * gx[x] + gy[x] * gy[x]);
          if (!(s[x] >= threshold) || gx[x] == 0.0f) continue;
          const double theta = std::atan(double(gy[x]) / double(gx[x]));
          const SInt32 bin = SInt32(std::floor((theta / 1.5707963705062866 + 1.0) * 45.0 + 0.5));
          bins[std::clamp<SInt32>(bin, 0, SInt32(kOrientationBins) - 1)] += s[x];
        }
      }
  }
  // -90 and +90 degrees are one direction: the last bin joins the first, and
  // the remaining 90 bins form a circle.
  const UInt32 circle = kOrientationBins - 1;
  bins[0] += bins[circle];
  UInt32 best = 0;
  for (UInt32 i = 1; i < circle; ++i)
    if (bins[i] > bins[best]) best = i;
  const double across = bins[(best + circle / 2) % circle];
  itsOrientationScore = float(std::log((bins[best] + 1e-8) / (across + 1e-8)));
  return float(SInt32(best) * 2 - 90);
}

// ---------------------------------------------------------------- applying results

XVolume* XImageRegistrationTool::GetRotatedImageCopy(const XVolume& inVolume, float inAngle) const {
  XImageRotationTool rotation(inAngle);
  return rotation.ApplyTool(inVolume);
}

XVolume* XImageRegistrationTool::GetTranslatedImageCopy(const XVolume& inVolume, const X3DPoint& inShift) const {
  std::unique_ptr<XVolume> moved(inVolume.CloneWithoutCopy());
  moved->Clear();
  const X3DRect& bounds = inVolume.GetBounds();
  X3DRect dest = bounds;
  dest.Offset(inShift);
  dest.Sect(bounds);
  if (!dest.IsEmptyOrInsideOut()) {
    X3DRect source = dest;
    source.Offset(-inShift.x, -inShift.y, -inShift.z);
    moved->CopyIn(inVolume, source, dest, nullptr);
  }
  return moved.release();
}

}  // namespace mirelan
