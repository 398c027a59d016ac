#include "measurement/XHistogramGenerator.h"

#include "measurement/XImageDataSource.h"
#include "measurement/XThreadedHistogramTool.h"
#include "volume/XVolume.h"

namespace mirelan {

namespace {

// How long the destructor gives the thread to notice a stop (ms).
constexpr SInt32 kStopTimeout = 2702;

}  // namespace

std::shared_ptr<XHistogramGenerator> XHistogramGenerator::MakeHistogramGenerator(
    const std::shared_ptr<XImageDataSource>& inSource, UInt32 inTimepoint, UInt32 inChannel, XHistogramMode inMode) {
  XAssert(inSource);
  XThreadLock lock(inSource->GetHistogramGeneratorMutex());
  std::shared_ptr<XHistogramGenerator> generator = inSource->GetHistogramGenerator(inTimepoint, inChannel, inMode);
  if (!generator) {
    generator.reset(new XHistogramGenerator(inSource, inTimepoint, inChannel, inMode));
    inSource->CacheHistogramGenerator(generator);
  }
  return generator;
}

XHistogramGenerator::XHistogramGenerator(const std::shared_ptr<XImageDataSource>& inSource, UInt32 inTimepoint,
                                         UInt32 inChannel, XHistogramMode inMode)
    : XThread("XHistogramGenerator", kThreadPriorityNormal, 0, false),
      itsDataSource(inSource),
      itsTimepointAndChannel(inTimepoint, inChannel),
      itsMutex(4000, false),
      itsMode(inMode) {}

// The thread reads this object: it must end before the fields go.
XHistogramGenerator::~XHistogramGenerator() {
  if (!StopThread(kStopTimeout)) StopThread(-1);
  DiscardQueuedMessages();
}

void XHistogramGenerator::StartIfNotRun() {
  if (GetLastThreadState() == kThreadNotStarted) StartThread();
}

void XHistogramGenerator::SubscribeForHistogram(XListener& ioListener) {
  XThreadLock lock(itsMutex);
  ioListener.Subscribe(*this);
  if (itsHistograms.empty())
    StartIfNotRun();
  else
    PostXMessage(XHistogramFinishedMessage(this));
}

std::shared_ptr<XVolumeHistogram> XHistogramGenerator::GetHistogram(UInt32 inIndex) {
  XThreadLock lock(itsMutex);
  if (!itsHistograms.empty()) {
    XAssert(inIndex < itsHistograms.size());
    return itsHistograms[inIndex];
  }
  StartIfNotRun();
  return nullptr;
}

void XHistogramGenerator::WaitForHistogram() {
  GetHistogram(0);
  WaitForTerminate(-1);
}

bool XHistogramGenerator::HasHistogram() const {
  XThreadLock lock(itsMutex);
  return !itsHistograms.empty();
}

UInt32 XHistogramGenerator::GetHistogramCount() const {
  return itsMode == kHSIHistogram || itsMode == kRGBHistogram ? 3 : 1;
}

SInt32 XHistogramGenerator::RunThreadSelf() {
  std::shared_ptr<XVolume> volume(itsDataSource->GetImageCopy(GetTimepoint(), GetChannel()));
  XThreadedHistogramTool tool;
  tool.SetIsMute(true);
  struct XRunningTool {
    XHistogramGenerator& generator;
    XRunningTool(XHistogramGenerator& inGenerator, XThreadedHistogramTool* inTool) : generator(inGenerator) {
      std::lock_guard<std::mutex> guard(generator.itsToolMutex);
      generator.itsRunningTool = inTool;
    }
    ~XRunningTool() {
      std::lock_guard<std::mutex> guard(generator.itsToolMutex);
      generator.itsRunningTool = nullptr;
    }
  } running(*this, &tool);
  TestCancelThread();  // a stop asked before the tool could hear it
  if (volume) {
    tool.ApplyTool(*volume, itsMode);
    tool.WaitForToolToFinish();
  }
  TestCancelThread();  // a stopped tool has no results worth keeping
  {
    XThreadLock lock(itsMutex);
    itsHistograms.clear();
    for (UInt32 i = 0; i < tool.GetHistogramCount(); ++i)
      itsHistograms.push_back(std::shared_ptr<XVolumeHistogram>(tool.GetHistogramCopy(i)));
  }
  PostXMessage(XHistogramFinishedMessage(this));
  tool.SetIsMute(false);
  return 0;
}

void XHistogramGenerator::AsyncStopThreadSelf() {
  std::lock_guard<std::mutex> guard(itsToolMutex);
  if (itsRunningTool) itsRunningTool->RequestStop();
}

}  // namespace mirelan
