// The histograms of one timepoint and channel of an image data source,
// computed once on a thread of their own and shared by everyone who asks:
// a source caches one generator per timepoint and channel.
//
// Clients subscribe; when the histograms are ready the generator posts an
// XHistogramFinishedMessage (through the queue, like every message of the
// library's threads), and a client that subscribes later gets one at once.
// GetHistogram answers with the histogram or, while there is none yet, an
// empty pointer (and starts the work if nobody has).
#pragma once

#include <memory>
#include <mutex>
#include <utility>

#include "core/XContainers.h"
#include "core/XExport.h"
#include "core/XMessage.h"
#include "core/XMutex.h"
#include "core/XThread.h"
#include "core/XTypes.h"
#include "measurement/XHistogramMode.h"
#include "measurement/XVolumeHistogram.h"

namespace mirelan {

class XImageDataSource;
class XThreadedHistogramTool;

class MIRELAN_EXPORT XHistogramGenerator : public XThread, public XSpeaker {
 public:
  class MIRELAN_EXPORT XHistogramFinishedMessage : public XMessage {
   public:
    explicit XHistogramFinishedMessage(XSpeaker* inSpeaker) : XMessage(inSpeaker) {}
    XMessage* Clone() const override { return new XHistogramFinishedMessage(*this); }
  };

  // The source's cached generator for the timepoint and channel, or a new
  // one, which the source then caches. The mode is no part of the key.
  static std::shared_ptr<XHistogramGenerator> MakeHistogramGenerator(
      const std::shared_ptr<XImageDataSource>& inSource, UInt32 inTimepoint, UInt32 inChannel,
      XHistogramMode inMode);

  ~XHistogramGenerator() override;

  // Subscribes the listener and starts the work if it has not run; when the
  // histograms exist already, posts an XHistogramFinishedMessage at once.
  void SubscribeForHistogram(XListener& ioListener);
  // Histogram inIndex, or an empty pointer (starting the work) while there is none.
  std::shared_ptr<XVolumeHistogram> GetHistogram(UInt32 inIndex);
  // Starts the work if need be and waits for its end.
  void WaitForHistogram();
  bool HasHistogram() const;
  // 3 for the HSI and RGB modes, 1 otherwise.
  UInt32 GetHistogramCount() const;

  UInt32 GetTimepoint() const { return itsTimepointAndChannel.first; }
  UInt32 GetChannel() const { return itsTimepointAndChannel.second; }
  XHistogramMode GetMode() const { return itsMode; }

 protected:
  XHistogramGenerator(const std::shared_ptr<XImageDataSource>& inSource, UInt32 inTimepoint, UInt32 inChannel,
                      XHistogramMode inMode);

  SInt32 RunThreadSelf() override;
  // Passes a stop on to the histogram tool the thread waits for.
  void AsyncStopThreadSelf() override;

 private:
  // Under itsMutex: starts the thread if it has never run.
  void StartIfNotRun();

  std::shared_ptr<XImageDataSource> itsDataSource;
  std::pair<UInt32, UInt32> itsTimepointAndChannel;
  mutable XMutex itsMutex;
  XVector<std::shared_ptr<XVolumeHistogram>> itsHistograms;
  XHistogramMode itsMode;

  // The tool the thread runs, for AsyncStopThreadSelf.
  std::mutex itsToolMutex;
  XThreadedHistogramTool* itsRunningTool = nullptr;
};

}  // namespace mirelan
