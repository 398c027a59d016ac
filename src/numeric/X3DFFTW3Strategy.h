// The FFTW (single precision) strategies: in-place real-to-complex transforms
// with plans cached per size, measured best sizes, and FFTW's wisdom kept in
// the user's preferences between runs.
#pragma once

#include <memory>
#include <utility>

#include "core/XContainers.h"
#include "core/XExport.h"
#include "core/XMutex.h"
#include "core/XTime.h"
#include "numeric/XFourierStrategy.h"

struct fftwf_plan_s;

namespace mirelan {

// FFTW's planner is not thread-safe and its thread count is process-wide, so
// every planning and every transform runs under one transform lock: shared
// among single-threaded strategies, exclusive for a multi-threaded one, so
// that the thread setting never changes under a running plan.
//
// Plans are made once per size and direction, with FFTW_MEASURE, on a scratch
// copy of the volume (planning overwrites its array), and run on each
// volume's own block through the new-array calls. They live as long as the
// strategy.
//
// Wisdom: the strategy made first while none is active reads the section
// "<name>-x86" of the preferences and imports the stored wisdom when its key
// "BuildDate" equals this library's build time; the strategy destroyed first
// writes the build time and FFTW's accumulated wisdom back. The manager makes
// and destroys the single-threaded "FFTW31" first, so the pair share the one
// section "FFTW31-x86". A rebuilt library ignores wisdom stored by another
// build and replaces it at its end.
class MIRELAN_EXPORT X3DFFTW3Strategy : public XFourierStrategy {
 public:
  X3DFFTW3Strategy(const XString& inName, bool inMultiThreaded);
  ~X3DFFTW3Strategy() override;

  void SetRealLayout(XVolumeLayout<float>& outLayout, UInt32 inWidth, UInt32 inHeight,
                     UInt32 inDepth) const override;
  void SetComplexLayout(XVolumeLayout<std::complex<float>>& outLayout, UInt32 inWidth, UInt32 inHeight,
                        UInt32 inDepth) const override;
  void FourierTransform(XFourierVolume& ioVolume) override;
  void InverseFourierTransform(XFourierVolume& ioVolume) override;
  // For each axis longer than 16, the length among L .. L + range - 1 whose
  // transforms ran fastest on a line of that length (3 voxels in the other
  // axes); the result is centred on inRect. Sizes are remembered by the
  // input size alone: a second request returns at once, whatever its range.
  X3DRect CalculateBestSize(const X3DRect& inRect, UInt32 inRange) override;

  const XString& GetSectionName() const { return itsSectionName; }
  bool IsMultiThreaded() const { return itsMultiThreaded; }
  // Plans made so far, both directions.
  size_t GetPlanCount() const;

  // When this library was built: stored with the wisdom, which is valid for
  // this build only.
  static XTime GetBuildTime();

 private:
  using XSizeKey = XTriplet<UInt32, UInt32, UInt32>;
  // A plan runs only on arrays of the alignment FFTW saw when planning.
  using XPlanKey = std::pair<XSizeKey, int>;
  using XPlanMap = XMap<XPlanKey, fftwf_plan_s*>;
  class XThreadSettingLock;

  // Takes the transform lock in this strategy's mode and sets FFTW's thread
  // count for it; the lock is held until the returned record is destroyed.
  std::unique_ptr<XThreadSettingLock> ConfigureThreads() const;
  // The plan for the volume's size, made on first use. The caller holds the
  // transform lock and a lock on the volume.
  fftwf_plan_s* GetPlan(XFourierVolume& ioVolume, bool inForward);
  // Mean time of a forward and inverse transform pair at this size, in microseconds.
  double MeasureSize(const X3DRect& inRect);
  void ReadWisdom();
  void WriteWisdom();

  XString itsSectionName;
  bool itsMultiThreaded;
  XPlanMap itsForwardPlans;
  XPlanMap itsInversePlans;
  mutable XMutex itsPlanMutex{4000, false};
  XMap<XSizeKey, XSizeKey> itsBestSizes;
  XMutex itsBestSizeMutex{4000, false};

  static bool sHasMTBeenInited;
  static XRWMutex sTransformLock;
  static XMutex sThreadSettingMutex;
  static bool sThreadSetting;  // the thread setting FFTW's planner has now: true for all processors
};

class MIRELAN_EXPORT X3DFFTW3MTStrategy : public X3DFFTW3Strategy {
 public:
  X3DFFTW3MTStrategy() : X3DFFTW3Strategy("FFTW31MT", true) {}
};

}  // namespace mirelan
