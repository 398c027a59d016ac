// Histograms on threads: the threaded tool's modes, its messages, stops and
// cancels, and the histogram generator over a small stand-in data source.
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <limits>
#include <memory>
#include <mutex>
#include <thread>

#include "MeasureTestSupport.h"
#include "core/XProgress.h"
#include "measurement/XHistogramGenerator.h"
#include "measurement/XImageDataSource.h"
#include "measurement/XThreadedHistogramTool.h"
#include "measurement/XVolumeHistogramTool.h"

using namespace mirelan;
using namespace measuretest;

namespace {

class ThreadedHistograms : public ToolTest {
 protected:
  void TearDown() override {
    XProgress::ClearCancelRequest();
    XSpeaker::ProcessAllNextEventMessages();  // nothing left for the next test
  }
};

// Records the messages it is given.
class XCatcher : public XListener {
 public:
  ~XCatcher() override { UnsubscribeAll(); }
  void HandleMessage(const XMessage& inMessage) override {
    if (auto* done = dynamic_cast<const XThreadedHistogramTool::XCompletedHistogramMsg*>(&inMessage))
      completed.push_back(done->IsMinAndMax());
    if (dynamic_cast<const XHistogramGenerator::XHistogramFinishedMessage*>(&inMessage)) ++finished;
  }
  std::vector<bool> completed;
  int finished = 0;
};

template <class Tool>
std::unique_ptr<XVolumeHistogram> Direct(XVolume& ioVolume, int inWhich) {
  Tool tool;
  tool.ApplyTool(ioVolume, nullptr);
  XVolumeHistogram* all[3] = {tool.GetHistogramOne(), tool.GetHistogramTwo(), tool.GetHistogramThr()};
  for (int k = 0; k < 3; ++k)
    if (k != inWhich) delete all[k];
  return std::unique_ptr<XVolumeHistogram>(all[inWhich]);
}

// Long enough a pass (hue and saturation per voxel) to be stopped half way.
XARGB32Volume BigColourVolume() {
  std::mt19937 random(9);
  return Make<XARGB32Volume>(X3DRect(256, 256, 64), [&](SInt32, SInt32, SInt32) {
    return XARGB32Colour(UInt8(random()), UInt8(random()), UInt8(random()));
  });
}

TEST_F(ThreadedHistograms, VolumeModesGiveTheToolsResults) {
  auto grey8 = RandomGrey<XGrey8Volume>(X3DRect(30, 20, 5), 255, 1);
  XThreadedHistogramTool tool;
  struct Case {
    XHistogramMode mode;
    UInt32 count;
    std::function<std::unique_ptr<XVolumeHistogram>(int)> direct;
  };
  const Case cases[] = {
      {kLuminanceHistogram, 1, [&](int k) { return Direct<XVolumeLuminanceTool>(grey8, k); }},
      {kHSIHistogram, 3, [&](int k) { return Direct<XVolumeHSITool>(grey8, k); }},
      {kRGBHistogram, 3, [&](int k) { return Direct<XVolumeRGBTool>(grey8, k); }},
      {kPercentageHistogram, 1, [&](int k) { return Direct<XVolumePercentageTool>(grey8, k); }},
      {kLuminanceHistogramTwo, 1, [&](int k) { return Direct<XVolumeLuminanceTool>(grey8, k); }},
  };
  for (const Case& c : cases) {
    {
      std::unique_ptr<XVolume> copy(grey8.Clone());
      tool.ApplyTool(*copy, c.mode);
    }  // the tool has a clone of its own
    tool.WaitForToolToFinish();
    ASSERT_EQ(tool.GetHistogramCount(), c.count) << c.mode;
    for (UInt32 k = 0; k < c.count; ++k) {
      std::unique_ptr<XVolumeHistogram> copy(tool.GetHistogramCopy(k));
      ExpectSameHistogram(*c.direct(k), copy.get());
    }
  }
  EXPECT_THROW(tool.GetHistogramCopy(1), XInternalError);
}

TEST_F(ThreadedHistograms, VectorPassesAndTheirMessages) {
  XThreadedHistogramTool tool;
  XCatcher catcher;
  catcher.Subscribe(tool);
  const XVector<double> data = {2.0, -1.5, 7.25, 3.0, std::numeric_limits<double>::quiet_NaN()};
  tool.ApplyTool(data, kFloat64VectorMinAndMax);
  tool.WaitForToolToFinishWithProgress();
  EXPECT_EQ(catcher.completed, std::vector<bool>{true});
  EXPECT_EQ(tool.GetHistogramCount(), 0u);
  Float64 min, max;
  tool.GetFloat64VectorMinAndMax(min, max);
  EXPECT_EQ(min, -1.5);
  EXPECT_EQ(max, 7.25);

  tool.SetFloat64VectorBinCount(4);  // size 8.75 / 3
  tool.ApplyTool(data, kFloat64VectorHistogram);
  tool.WaitForToolToFinish();
  EXPECT_TRUE(catcher.completed.size() == 1);  // queued, not yet delivered
  XSpeaker::ProcessAllNextEventMessages();
  EXPECT_EQ(catcher.completed, (std::vector<bool>{true, false}));
  std::unique_ptr<XVolumeHistogram> h(tool.GetHistogramCopy(0));
  XVolumeHistogram expected(-1.5, 7.25, 4);
  for (double v : data) expected.AddCount(v, 1);
  ExpectSameHistogram(expected, h.get());

  // A large vector is counted in blocks.
  XVector<double> many(25000);
  for (size_t i = 0; i < many.size(); ++i) many[i] = Float64(i % 100);
  tool.SetFloat64VectorBinCount(0);
  tool.ApplyTool(many, kFloat64VectorHistogram);  // the min and max of before: -1.5 .. 7.25
  tool.WaitForToolToFinish();
  std::unique_ptr<XVolumeHistogram> blocks(tool.GetHistogramCopy(0));
  EXPECT_EQ(blocks->GetBucketCount(), 9u);
  EXPECT_EQ(blocks->GetTotalCount(), 25000u);
}

TEST_F(ThreadedHistograms, WrongModesFailOnTheThread) {
  XThreadedHistogramTool tool;
  tool.ApplyTool(XVector<double>{1.0, 2.0}, kFloat64VectorHistogram);  // no min and max yet
  tool.WaitForToolToFinish();
  EXPECT_EQ(tool.GetLastThreadState(), kThreadFailed);
  EXPECT_EQ(tool.GetHistogramCount(), 0u);

  auto grey8 = RandomGrey<XGrey8Volume>(X3DRect(4, 4, 1), 9, 2);
  tool.ApplyTool(grey8, kFloat64VectorMinAndMax);  // no tool for a volume
  tool.WaitForToolToFinish();
  EXPECT_EQ(tool.GetLastThreadState(), kThreadFailed);
  tool.ApplyTool(XVector<double>{1.0}, kRGBHistogram);  // no vector pass
  tool.WaitForToolToFinish();
  EXPECT_EQ(tool.GetLastThreadState(), kThreadFailed);
}

TEST_F(ThreadedHistograms, StoppedAndReplacedPasses) {
  XThreadedHistogramTool tool;
  XCatcher catcher;
  catcher.Subscribe(tool);
  tool.ApplyTool(XVector<double>{4.0, 5.0}, kFloat64VectorMinAndMax);
  tool.WaitForToolToFinish();  // its message waits in the queue

  XARGB32Volume big = BigColourVolume();
  tool.ApplyTool(big, kHSIHistogram);  // drops the earlier message
  tool.StopTool();
  EXPECT_EQ(tool.GetLastThreadState(), kThreadCancelled);
  EXPECT_EQ(tool.GetHistogramCount(), 0u);
  XSpeaker::ProcessAllNextEventMessages();
  EXPECT_TRUE(catcher.completed.empty());
  Float64 min, max;
  tool.GetFloat64VectorMinAndMax(min, max);  // survives the stop
  EXPECT_EQ(min, 4.0);
  EXPECT_EQ(max, 5.0);

  // A new apply stops the pass under way and starts afresh.
  tool.ApplyTool(big, kHSIHistogram);
  auto small = RandomGrey<XGrey8Volume>(X3DRect(5, 5, 2), 255, 3);
  tool.ApplyTool(small, kLuminanceHistogram);
  tool.WaitForToolToFinish();
  ASSERT_EQ(tool.GetHistogramCount(), 1u);
  std::unique_ptr<XVolumeHistogram> h(tool.GetHistogramCopy(0));
  EXPECT_EQ(h->GetTotalCount(), 50u);
}

TEST_F(ThreadedHistograms, CancelledPassLeavesNothing) {
  XThreadedHistogramTool tool;
  XCatcher catcher;
  catcher.Subscribe(tool);
  auto grey8 = RandomGrey<XGrey8Volume>(X3DRect(8, 8, 8), 255, 4);
  XProgress::RequestCancel();  // as a Ctrl-C would: the pass leaves at its first plane
  tool.ApplyTool(grey8, kLuminanceHistogram);
  tool.WaitForToolToFinish();
  XProgress::ClearCancelRequest();
  EXPECT_EQ(tool.GetLastThreadState(), kThreadCancelled);
  EXPECT_EQ(tool.GetHistogramCount(), 0u);
  tool.WaitForToolToFinishWithProgress();
  EXPECT_TRUE(catcher.completed.empty());
}

// ---------------------------------------------------------------------------
// XHistogramGenerator over a stand-in source

// Hands out clones of one volume for channels 1 and 2; GetImageCopy can be
// held at a gate until the test opens it.
class XStandInSource : public XImageDataSource {
 public:
  explicit XStandInSource(XVolume* inVolume) : itsVolume(inVolume) {}
  XStandInSource(const XStandInSource& inOther) : XImageDataSource(inOther), itsVolume(inOther.itsVolume->Clone()) {}

  XVolume* GetImageCopy(UInt32, UInt32 inChannel) override {
    std::unique_lock<std::mutex> lock(itsMutex);
    ++itsCopies;
    itsEntered = true;
    itsChanged.notify_all();
    itsChanged.wait(lock, [this] { return !itsClosed; });
    return inChannel <= 2 ? itsVolume->Clone() : nullptr;
  }

  void Close() {
    std::lock_guard<std::mutex> lock(itsMutex);
    itsClosed = true;
  }
  void Open() {
    std::lock_guard<std::mutex> lock(itsMutex);
    itsClosed = false;
    itsChanged.notify_all();
  }
  void WaitUntilEntered() {
    std::unique_lock<std::mutex> lock(itsMutex);
    itsChanged.wait(lock, [this] { return itsEntered; });
  }
  int Copies() {
    std::lock_guard<std::mutex> lock(itsMutex);
    return itsCopies;
  }
  // A generator holds its source: the cache must let go for both to go.
  void Forget() { ForgetHistogramGenerators(); }

 private:
  std::unique_ptr<XVolume> itsVolume;
  std::mutex itsMutex;
  std::condition_variable itsChanged;
  bool itsClosed = false;
  bool itsEntered = false;
  int itsCopies = 0;
};

class HistogramGenerator : public ThreadedHistograms {
 protected:
  void SetUp() override {
    itsSource = std::make_shared<XStandInSource>(new XGrey8Volume(RandomGrey<XGrey8Volume>(X3DRect(20, 10, 3), 255, 5)));
  }
  void TearDown() override {
    itsSource->Open();
    itsSource->Forget();
    ThreadedHistograms::TearDown();
  }
  std::shared_ptr<XStandInSource> itsSource;
};

TEST_F(HistogramGenerator, OnePerTimepointAndChannelCachedByTheSource) {
  auto a = XHistogramGenerator::MakeHistogramGenerator(itsSource, 1, 1, kLuminanceHistogram);
  auto b = XHistogramGenerator::MakeHistogramGenerator(itsSource, 1, 1, kRGBHistogram);
  auto c = XHistogramGenerator::MakeHistogramGenerator(itsSource, 1, 2, kRGBHistogram);
  auto d = XHistogramGenerator::MakeHistogramGenerator(itsSource, 2, 1, kHSIHistogram);
  EXPECT_EQ(a, b);  // the mode is no part of the key
  EXPECT_EQ(b->GetMode(), kLuminanceHistogram);
  EXPECT_NE(a, c);
  EXPECT_NE(a, d);
  EXPECT_EQ(c->GetChannel(), 2u);
  EXPECT_EQ(d->GetTimepoint(), 2u);
  EXPECT_EQ(a->GetHistogramCount(), 1u);
  EXPECT_EQ(c->GetHistogramCount(), 3u);
  EXPECT_EQ(d->GetHistogramCount(), 3u);
  EXPECT_EQ(itsSource->GetHistogramGenerator(2, 1, kLuminanceHistogram), d);

  const XStandInSource copy(*itsSource);  // shares the cache
  EXPECT_EQ(const_cast<XStandInSource&>(copy).GetHistogramGenerator(1, 2, kLuminanceHistogram), c);
  EXPECT_EQ(itsSource->Copies(), 0);  // nothing asked for yet
}

TEST_F(HistogramGenerator, ComputesOnceAndTellsEverySubscriber) {
  auto generator = XHistogramGenerator::MakeHistogramGenerator(itsSource, 1, 1, kLuminanceHistogram);
  XCatcher first, second;
  generator->SubscribeForHistogram(first);  // starts the work
  generator->WaitForHistogram();
  EXPECT_TRUE(generator->HasHistogram());
  XSpeaker::ProcessAllNextEventMessages();
  EXPECT_EQ(first.finished, 1);

  generator->SubscribeForHistogram(second);  // told at once
  XSpeaker::ProcessAllNextEventMessages();
  EXPECT_EQ(first.finished, 2);
  EXPECT_EQ(second.finished, 1);

  std::unique_ptr<XVolume> image(itsSource->GetImageCopy(1, 1));
  const auto expected = Direct<XVolumeLuminanceTool>(*image, 0);
  ExpectSameHistogram(*expected, generator->GetHistogram(0).get());
  EXPECT_EQ(generator->GetHistogram(0), generator->GetHistogram(0));  // one shared histogram
  EXPECT_THROW(generator->GetHistogram(1), XInternalError);
  EXPECT_EQ(itsSource->Copies(), 2);  // the generator's and ours
}

TEST_F(HistogramGenerator, AskingStartsTheWorkAndWaitingEndsIt) {
  auto generator = XHistogramGenerator::MakeHistogramGenerator(itsSource, 1, 2, kRGBHistogram);
  itsSource->Close();
  EXPECT_EQ(generator->GetHistogram(0), nullptr);  // starts the thread
  itsSource->WaitUntilEntered();
  EXPECT_FALSE(generator->HasHistogram());
  EXPECT_EQ(generator->GetHistogram(2), nullptr);
  itsSource->Open();
  generator->WaitForHistogram();
  for (UInt32 k = 0; k < 3; ++k) ASSERT_NE(generator->GetHistogram(k), nullptr);
  EXPECT_EQ(generator->GetHistogram(2)->GetBucketCount(), 256u);
  EXPECT_EQ(itsSource->Copies(), 1);  // asked for once only

  // No image at a cell: the work ends without histograms.
  auto empty = XHistogramGenerator::MakeHistogramGenerator(itsSource, 1, 3, kLuminanceHistogram);
  empty->WaitForHistogram();
  EXPECT_FALSE(empty->HasHistogram());
  EXPECT_EQ(empty->GetLastThreadState(), kThreadFinished);
}

TEST_F(HistogramGenerator, StoppingReachesTheToolItWaitsFor) {
  itsSource = std::make_shared<XStandInSource>(new XARGB32Volume(BigColourVolume()));
  auto generator = XHistogramGenerator::MakeHistogramGenerator(itsSource, 1, 1, kHSIHistogram);
  XCatcher catcher;
  generator->SubscribeForHistogram(catcher);
  itsSource->WaitUntilEntered();
  std::this_thread::sleep_for(std::chrono::milliseconds(5));  // into the tool's pass
  generator->StopThread(-1);
  EXPECT_EQ(generator->GetLastThreadState(), kThreadCancelled);
  EXPECT_FALSE(generator->HasHistogram());
  XSpeaker::ProcessAllNextEventMessages();
  EXPECT_EQ(catcher.finished, 0);
}

TEST_F(HistogramGenerator, DestroyedWhileItsThreadWaits) {
  auto generator = XHistogramGenerator::MakeHistogramGenerator(itsSource, 1, 1, kLuminanceHistogram);
  XCatcher catcher;
  itsSource->Close();
  generator->SubscribeForHistogram(catcher);
  itsSource->WaitUntilEntered();
  std::thread opener([this] {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    itsSource->Open();
  });
  generator.reset();
  itsSource->Forget();  // the last owner: the destructor stops and waits
  opener.join();
  XSpeaker::ProcessAllNextEventMessages();
  EXPECT_EQ(catcher.finished, 0);
}

}  // namespace
