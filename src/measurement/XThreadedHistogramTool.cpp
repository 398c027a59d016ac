#include "measurement/XThreadedHistogramTool.h"

#include <algorithm>
#include <limits>
#include <typeinfo>

#include "measurement/XVolumeHistogramTool.h"
#include "volume/XVolume.h"

namespace mirelan {

namespace {

constexpr Float64 kInfinity = std::numeric_limits<Float64>::infinity();
// How long StopTool gives a pass to notice the request (ms).
constexpr SInt32 kStopTimeout = 2702;
// Values between two tests for a stop request in the vector histogram.
constexpr size_t kCancelBlock = 1000;

std::unique_ptr<XVolumeHistogramTool> MakeHistogramTool(XHistogramMode inMode) {
  switch (inMode) {
    case kLuminanceHistogram:
    case kLuminanceHistogramTwo:
      return std::make_unique<XVolumeLuminanceTool>();
    case kHSIHistogram:
      return std::make_unique<XVolumeHSITool>();
    case kRGBHistogram:
      return std::make_unique<XVolumeRGBTool>();
    case kPercentageHistogram:
      return std::make_unique<XVolumePercentageTool>();
    default:
      return nullptr;
  }
}

}  // namespace

bool XThreadedHistogramTool::XCompletedHistogramMsg::operator==(const XMessage& inOther) const {
  return XMessage::operator==(inOther) &&
         static_cast<const XCompletedHistogramMsg&>(inOther).itsIsMinAndMax == itsIsMinAndMax;
}

XThreadedHistogramTool::XThreadedHistogramTool()
    : XThread("XThreadedHistogramTool", kThreadPriorityNormal, 1, false),
      itsFloat64VectorMin(kInfinity),
      itsFloat64VectorMax(-kInfinity) {}

// The thread reads this object's fields: it must be gone before they are.
XThreadedHistogramTool::~XThreadedHistogramTool() { StopTool(); }

void XThreadedHistogramTool::ApplyTool(const XVolume& inVolume, XHistogramMode inMode) {
  StopTool();
  itsMode = inMode;
  itsVolume.reset(inVolume.Clone());
  StartThread();
}

void XThreadedHistogramTool::ApplyTool(const XVector<double>& inData, XHistogramMode inMode) {
  StopTool();
  itsMode = inMode;
  itsData = std::make_unique<XVector<double>>(inData);
  StartThread();
}

void XThreadedHistogramTool::StopTool() {
  // A pass notices the request at its next plane or block of values; the
  // copies below may only go once it has.
  if (!StopThread(kStopTimeout)) StopThread(-1);
  itsHistograms.clear();
  DiscardQueuedMessages();
  itsVolume.reset();
  itsData.reset();
}

void XThreadedHistogramTool::WaitForToolToFinish() { WaitForTerminate(-1); }

void XThreadedHistogramTool::WaitForToolToFinishWithProgress() {
  WaitForTerminateWithProgress();
  XSpeaker::ProcessAllNextEventMessages();
}

void XThreadedHistogramTool::GetFloat64VectorMinAndMax(Float64& outMin, Float64& outMax) const {
  outMin = itsFloat64VectorMin;
  outMax = itsFloat64VectorMax;
}

XVolumeHistogram* XThreadedHistogramTool::GetHistogramCopy(UInt32 inIndex) const {
  XAssert(inIndex < itsHistograms.size());
  return itsHistograms[inIndex]->Clone();
}

SInt32 XThreadedHistogramTool::RunThreadSelf() {
  if (itsVolume)
    ProcessVolume();
  else
    ProcessData();
  PostXMessage(XCompletedHistogramMsg(this, itsMode == kFloat64VectorMinAndMax));
  return 0;
}

void XThreadedHistogramTool::ProcessVolume() {
  std::unique_ptr<XVolumeHistogramTool> histogramTool = MakeHistogramTool(itsMode);
  XAssert(histogramTool);
  histogramTool->SetMinMaxVals(*itsVolume);
  histogramTool->ApplyTool(*itsVolume, nullptr);
  itsHistograms.push_back(histogramTool->GetHistogramOne());
  if (itsMode == kHSIHistogram || itsMode == kRGBHistogram) {
    itsHistograms.push_back(histogramTool->GetHistogramTwo());
    itsHistograms.push_back(histogramTool->GetHistogramThr());
  }
}

void XThreadedHistogramTool::ProcessData() {
  if (itsMode == kFloat64VectorHistogram)
    CalculateFloat64VectorHistogram();
  else if (itsMode == kFloat64VectorMinAndMax)
    CalculateFloat64VectorMinAndMax();
  else
    XAssert(false);
}

void XThreadedHistogramTool::CalculateFloat64VectorMinAndMax() {
  XAssert(itsData);
  itsFloat64VectorMin = kInfinity;
  itsFloat64VectorMax = -kInfinity;
  for (Float64 value : *itsData) {
    if (value < itsFloat64VectorMin) itsFloat64VectorMin = value;
    if (value > itsFloat64VectorMax) itsFloat64VectorMax = value;
  }
}

void XThreadedHistogramTool::CalculateFloat64VectorHistogram() {
  XAssert(itsData);
  XAssert(itsFloat64VectorMin != (std::numeric_limits<double>::infinity()));
  XAssert(itsFloat64VectorMax != (-std::numeric_limits<double>::infinity()));
  XThread* currentThread = XThread::GetCurrentThread();
  XAssert(currentThread);
  auto histogram =
      std::make_unique<XVolumeHistogram>(itsFloat64VectorMin, itsFloat64VectorMax, itsFloat64VectorBinCount);
  const XVector<double>& data = *itsData;
  for (size_t start = 0; start < data.size(); start += kCancelBlock) {
    const size_t end = std::min(data.size(), start + kCancelBlock);
    for (size_t i = start; i < end; ++i) histogram->AddCount(data[i], 1);
    currentThread->TestCancelThread();
  }
  itsHistograms.push_back(std::move(histogram));
}

}  // namespace mirelan
