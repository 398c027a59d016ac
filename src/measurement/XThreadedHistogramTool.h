// Histograms made on a thread of their own: of a volume (luminance, HSI,
// RGB or percentage) or of a vector of doubles (its least and greatest
// value, then its histogram).
//
// The tool works on its own copy, so the caller may change or delete what
// it passed once ApplyTool has returned. When a pass ends the tool posts an
// XCompletedHistogramMsg (through the queue: it reaches listeners on the
// thread that runs XSpeaker::ProcessAllNextEventMessages); the results may
// then be read, or after WaitForToolToFinish. A new ApplyTool stops the pass
// under way and throws its results away; the vector's least and greatest
// value survive that.
#pragma once

#include <memory>

#include "core/XContainers.h"
#include "core/XExport.h"
#include "core/XMessage.h"
#include "core/XThread.h"
#include "core/XTypes.h"
#include "measurement/XHistogramMode.h"
#include "measurement/XVolumeHistogram.h"

namespace mirelan {

class XVolume;

class MIRELAN_EXPORT XThreadedHistogramTool : public XSpeaker, public XThread {
 public:
  class MIRELAN_EXPORT XCompletedHistogramMsg : public XMessage {
   public:
    XCompletedHistogramMsg(XSpeaker* inSpeaker, bool inIsMinAndMax)
        : XMessage(inSpeaker), itsIsMinAndMax(inIsMinAndMax) {}
    XMessage* Clone() const override { return new XCompletedHistogramMsg(*this); }
    bool operator==(const XMessage& inOther) const override;
    // True after the min-and-max pass of a vector, false after a histogram.
    bool IsMinAndMax() const { return itsIsMinAndMax; }

   private:
    bool itsIsMinAndMax;
  };

  XThreadedHistogramTool();
  ~XThreadedHistogramTool() override;

  // Modes 0 to 4 (the tools of XHistogramMode) on a clone of the volume.
  void ApplyTool(const XVolume& inVolume, XHistogramMode inMode);
  // Modes 5 and 6 on a copy of the vector. Mode 6 (least and greatest) must
  // have run before mode 5 (the histogram between them).
  void ApplyTool(const XVector<double>& inData, XHistogramMode inMode);
  // Stops the pass under way (if any), waits for it, and drops its results,
  // its undelivered messages and its copy of the input.
  void StopTool();
  void WaitForToolToFinish();
  // Waits with a progress report on the calling thread (a cancel there stops
  // the pass and leaves as XException 1008), then delivers queued messages.
  void WaitForToolToFinishWithProgress();

  // Buckets of the vector histogram; 0 means bucket size 1.
  void SetFloat64VectorBinCount(UInt32 inCount) { itsFloat64VectorBinCount = inCount; }
  UInt32 GetFloat64VectorBinCount() const { return itsFloat64VectorBinCount; }
  void GetFloat64VectorMinAndMax(Float64& outMin, Float64& outMax) const;

  UInt32 GetHistogramCount() const { return UInt32(itsHistograms.size()); }
  // A copy of result inIndex (one, two, three), which the caller owns.
  XVolumeHistogram* GetHistogramCopy(UInt32 inIndex) const;

 protected:
  SInt32 RunThreadSelf() override;

 private:
  void ProcessVolume();
  void ProcessData();
  void CalculateFloat64VectorMinAndMax();
  void CalculateFloat64VectorHistogram();

  XHistogramMode itsMode = kLuminanceHistogram;
  std::unique_ptr<XVolume> itsVolume;
  std::unique_ptr<XVector<double>> itsData;
  XPtrVector<XVolumeHistogram> itsHistograms;
  Float64 itsFloat64VectorMin;
  Float64 itsFloat64VectorMax;
  UInt32 itsFloat64VectorBinCount = 0;
};

}  // namespace mirelan
