#include "numeric/X3DFFTW3Strategy.h"

#include <fftw3.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include "core/XException.h"
#include "core/XProgress.h"
#include "core/XThread.h"
#include "core/XTimer.h"
#include "core/XUserPrefsSaver.h"
#include "numeric/XFourierVolume.h"

namespace mirelan {

bool X3DFFTW3Strategy::sHasMTBeenInited = false;
XRWMutex X3DFFTW3Strategy::sTransformLock;
XMutex X3DFFTW3Strategy::sThreadSettingMutex(4000, false);
bool X3DFFTW3Strategy::sThreadSetting = false;

namespace {

const char* const kBuildDateKey = "BuildDate";
const char* const kWisdomKey = "Wisdom";

// Days from 1970-01-01 to the given civil date (proleptic Gregorian).
SInt64 DaysFromCivil(SInt64 inYear, unsigned inMonth, unsigned inDay) {
  inYear -= inMonth <= 2;
  const SInt64 era = (inYear >= 0 ? inYear : inYear - 399) / 400;
  const unsigned yearOfEra = unsigned(inYear - era * 400);
  const unsigned dayOfYear = (153 * (inMonth + (inMonth > 2 ? -3 : 9)) + 2) / 5 + inDay - 1;
  const unsigned dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
  return era * 146097 + SInt64(dayOfEra) - 719468;
}

// "Mmm dd yyyy" and "hh:mm:ss" as the compiler writes them, read as UTC.
XTime TimeFromCompilerStrings(const char* inDate, const char* inTime) {
  static const char kMonths[] = "JanFebMarAprMayJunJulAugSepOctNovDec";
  const char* month = std::strstr(kMonths, std::string(inDate, 3).c_str());
  const unsigned monthNumber = month ? unsigned((month - kMonths) / 3 + 1) : 1;
  const unsigned day = unsigned(std::atoi(inDate + 4));
  const SInt64 year = std::atoi(inDate + 7);
  const SInt64 seconds = DaysFromCivil(year, monthNumber, day) * 86400 + std::atoi(inTime) * 3600 +
                         std::atoi(inTime + 3) * 60 + std::atoi(inTime + 6);
  return XTime(seconds * XTime::kOneSecond);
}

XTime ReadTime(const XUserPrefsSaver& inPrefs, const char* inKey) {
  const XString text = inPrefs.GetString(inKey, "0");
  char* end = nullptr;
  const long long value = std::strtoll(text.c_str(), &end, 10);
  return (end && *end == '\0') ? XTime(value) : XTime(0);
}

// Frees what fftwf_malloc gave.
struct XFFTWFree {
  void operator()(void* inMemory) const { fftwf_free(inMemory); }
};

}  // namespace

// ================================================================ the transform lock

class X3DFFTW3Strategy::XThreadSettingLock {
 public:
  explicit XThreadSettingLock(XRWLockMode inMode) : itsMode(inMode) { sTransformLock.Lock(itsMode); }
  ~XThreadSettingLock() { sTransformLock.Unlock(itsMode); }
  XThreadSettingLock(const XThreadSettingLock&) = delete;
  XThreadSettingLock& operator=(const XThreadSettingLock&) = delete;

 private:
  XRWLockMode itsMode;
};

std::unique_ptr<X3DFFTW3Strategy::XThreadSettingLock> X3DFFTW3Strategy::ConfigureThreads() const {
  XAssert(sHasMTBeenInited);
  auto record = std::make_unique<XThreadSettingLock>(itsMultiThreaded ? kRWLockWrite : kRWLockRead);
  XThreadLock settingLock(sThreadSettingMutex);
  if (sThreadSetting != itsMultiThreaded) {
    fftwf_plan_with_nthreads(itsMultiThreaded ? int(XThread::GetProcessorCount()) : 1);
    sThreadSetting = itsMultiThreaded;
  }
  return record;
}

// ================================================================ life and wisdom

X3DFFTW3Strategy::X3DFFTW3Strategy(const XString& inName, bool inMultiThreaded)
    : itsSectionName(inName + "-x86"), itsMultiThreaded(inMultiThreaded) {
  if (!sHasMTBeenInited) ReadWisdom();
}

X3DFFTW3Strategy::~X3DFFTW3Strategy() {
  if (sHasMTBeenInited) WriteWisdom();
  // The planner is not thread-safe, and destroying a plan goes through it.
  XThreadSettingLock lock(kRWLockWrite);
  for (auto* plans : {&itsForwardPlans, &itsInversePlans})
    for (auto& entry : *plans) fftwf_destroy_plan(entry.second);
}

XTime X3DFFTW3Strategy::GetBuildTime() {
  static const XTime sBuildTime = TimeFromCompilerStrings(__DATE__, __TIME__);
  return sBuildTime;
}

void X3DFFTW3Strategy::ReadWisdom() {
  static std::once_flag sThreadsInited;
  std::call_once(sThreadsInited, [] { fftwf_init_threads(); });
  XUserPrefsSaver prefs(itsSectionName);
  if (ReadTime(prefs, kBuildDateKey) == GetBuildTime() && prefs.HasKey(kWisdomKey)) {
    // A refused string leaves FFTW without wisdom, which only costs time.
    fftwf_import_wisdom_from_string(prefs.GetString(kWisdomKey).c_str());
  }
  sHasMTBeenInited = true;
}

void X3DFFTW3Strategy::WriteWisdom() {
  char* wisdom = fftwf_export_wisdom_to_string();
  if (wisdom) {
    XUserPrefsSaver prefs(itsSectionName);
    prefs.SetString(kBuildDateKey, std::to_string(GetBuildTime().GetMicroseconds()));
    prefs.SetString(kWisdomKey, wisdom);
    prefs.Save();
    std::free(wisdom);
  }
  sHasMTBeenInited = false;
}

// ================================================================ layouts

void X3DFFTW3Strategy::SetRealLayout(XVolumeLayout<float>& outLayout, UInt32 inWidth, UInt32 inHeight,
                                     UInt32 inDepth) const {
  const UInt32 rowSize = inWidth + 2 - (inWidth & 1);
  outLayout = XVolumeLayout<float>(inWidth, inHeight, inDepth, rowSize, rowSize * inHeight, 4);
}

void X3DFFTW3Strategy::SetComplexLayout(XVolumeLayout<std::complex<float>>& outLayout, UInt32 inWidth,
                                        UInt32 inHeight, UInt32 inDepth) const {
  const UInt32 complexWidth = (inWidth & 1) ? (inWidth + 1) / 2 : (inWidth + 2) / 2;
  outLayout = XVolumeLayout<std::complex<float>>(complexWidth, inHeight, inDepth, complexWidth,
                                                 complexWidth * inHeight, 2);
}

// ================================================================ plans and transforms

size_t X3DFFTW3Strategy::GetPlanCount() const {
  XThreadLock lock(itsPlanMutex);
  return itsForwardPlans.size() + itsInversePlans.size();
}

fftwf_plan_s* X3DFFTW3Strategy::GetPlan(XFourierVolume& ioVolume, bool inForward) {
  XThreadLock lock(itsPlanMutex);
  float* data = ioVolume.GetFirstVoxelPtr();
  const int alignment = fftwf_alignment_of(data);
  const XPlanKey key(XSizeKey(ioVolume.GetWidth(), ioVolume.GetHeight(), ioVolume.GetDepth()), alignment);
  XPlanMap& plans = inForward ? itsForwardPlans : itsInversePlans;
  auto found = plans.find(key);
  if (found != plans.end()) return found->second;

  // Measuring overwrites the array: plan on a scratch copy, never on the
  // caller's data. A write-all lock gives the copy a block of its own.
  XFourierVolume scratch(ioVolume);
  XLock scratchLock(scratch, kLockWrite);
  float* array = scratch.GetFirstVoxelPtr();
  std::unique_ptr<void, XFFTWFree> buffer;
  if (fftwf_alignment_of(array) != alignment) {
    // The copy landed on another alignment: a buffer offset like the volume's.
    const size_t bytes = ioVolume.GetVolumeBytes();
    buffer.reset(fftwf_malloc(bytes + 64));
    if (!buffer) throw XException(kErrOutOfMemory, "FFTW planning buffer");
    array = reinterpret_cast<float*>(static_cast<UInt8*>(buffer.get()) + (reinterpret_cast<std::uintptr_t>(data) & 63));
  }
  const int width = int(ioVolume.GetWidth()), height = int(ioVolume.GetHeight()), depth = int(ioVolume.GetDepth());
  auto* complex = reinterpret_cast<fftwf_complex*>(array);
  fftwf_plan plan = inForward ? fftwf_plan_dft_r2c_3d(depth, height, width, array, complex, FFTW_MEASURE)
                              : fftwf_plan_dft_c2r_3d(depth, height, width, complex, array, FFTW_MEASURE);
  plans.emplace(key, plan);
  return plan;
}

void X3DFFTW3Strategy::FourierTransform(XFourierVolume& ioVolume) {
  XAssert(&ioVolume.GetFourierStrategy() == this);
  XAssert(!ioVolume.IsInFourierSpace() && "Volume must be in image space!");
  XLock lock(ioVolume, kLockReadWrite);
  {
    auto threads = ConfigureThreads();
    fftwf_plan plan = GetPlan(ioVolume, true);
    float* data = ioVolume.GetFirstVoxelPtr();
    fftwf_execute_dft_r2c(plan, data, reinterpret_cast<fftwf_complex*>(data));
  }
  ioVolume.SetDataSpace(kFourierSpace);
}

void X3DFFTW3Strategy::InverseFourierTransform(XFourierVolume& ioVolume) {
  XAssert(&ioVolume.GetFourierStrategy() == this);
  XAssert(ioVolume.IsInFourierSpace() && "Volume must be in Fourier space!");
  XLock lock(ioVolume, kLockReadWrite);
  {
    auto threads = ConfigureThreads();
    fftwf_plan plan = GetPlan(ioVolume, false);
    float* data = ioVolume.GetFirstVoxelPtr();
    fftwf_execute_dft_c2r(plan, reinterpret_cast<fftwf_complex*>(data), data);
  }
  ioVolume.SetDataSpace(kImageSpace);
  // FFTW's inverse is unscaled.
  ioVolume.Divide(float(double(ioVolume.GetWidth()) * ioVolume.GetHeight() * ioVolume.GetDepth()));
}

// ================================================================ best sizes

double X3DFFTW3Strategy::MeasureSize(const X3DRect& inRect) {
  XFourierVolume volume(inRect, *this);
  volume.Clear();
  {
    XLock lock(volume, kLockReadWrite);
    auto threads = ConfigureThreads();
    GetPlan(volume, true);
    GetPlan(volume, false);
  }
  XTimer floor(100, 0);
  XTimer clock(0, 1);
  UInt64 pairs = 0;
  do {
    volume.FourierTransform();
    volume.InverseFourierTransform();
    ++pairs;
  } while (pairs < 5 || !floor.HasElapsed());
  return double(clock.GetElapsedMicroseconds()) / double(pairs);
}

X3DRect X3DFFTW3Strategy::CalculateBestSize(const X3DRect& inRect, UInt32 inRange) {
  const XSizeKey key(inRect.GetWidth(), inRect.GetHeight(), inRect.GetDepth());
  auto centred = [&inRect](const XSizeKey& inSize) {
    X3DRect result(inSize.first, inSize.second, inSize.third);
    result.CentreOn(inRect);
    return result;
  };
  {
    XThreadLock lock(itsBestSizeMutex);
    auto found = itsBestSizes.find(key);
    if (found != itsBestSizes.end()) return centred(found->second);
  }
  // Measured without the lock: two threads may measure one size at once, and
  // the map keeps the first answer.
  XProgress progress(3 * UInt64(inRange), kProgressStandard, 2000, false);
  UInt32 lengths[3] = {key.first, key.second, key.third};
  for (int axis = 0; axis < 3; ++axis) {
    const UInt32 length = lengths[axis];
    if (length <= 16) continue;
    UInt32 best = length;
    double bestTime = double(XTime::kOneDay);
    for (UInt32 i = 0; i < inRange; ++i) {
      UInt32 size[3] = {3, 3, 3};
      size[axis] = length + i;
      const double time = MeasureSize(X3DRect(size[0], size[1], size[2]));
      if (time < bestTime) {
        bestTime = time;
        best = length + i;
      }
      progress.Increment();
    }
    lengths[axis] = best;
  }
  XThreadLock lock(itsBestSizeMutex);
  auto inserted = itsBestSizes.emplace(key, XSizeKey(lengths[0], lengths[1], lengths[2]));
  return centred(inserted.first->second);
}

}  // namespace mirelan
