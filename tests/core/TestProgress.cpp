// Progress reports: the sink, rate limits, nesting and cancels.
#include <gtest/gtest.h>

#include <atomic>
#include <optional>
#include <thread>
#include <vector>

#include "core/XException.h"
#include "core/XProgress.h"
#include "core/XThread.h"

using namespace mirelan;

namespace {

struct Call {
  UInt64 total, position;
  XString message;
};

// Installs a recording sink for one test and restores the host's afterwards.
class XProgressTest : public ::testing::Test {
 protected:
  void SetUp() override {
    itsPrevious = XProgress::SetSink([this](UInt64 inTotal, UInt64 inPosition, const XString& inMessage) {
      itsCalls.push_back({inTotal, inPosition, inMessage});
      return itsCalls.size() < itsCancelAtCall;
    });
  }
  void TearDown() override { XProgress::SetSink(itsPrevious); }
  std::vector<UInt64> Positions() const {
    std::vector<UInt64> positions;
    for (const Call& c : itsCalls) positions.push_back(c.position);
    return positions;
  }

  std::vector<Call> itsCalls;
  size_t itsCancelAtCall = SIZE_MAX;
  XProgress::Sink itsPrevious;
};

// Spins until stopped: through its progress report's Increment, or through TestCancelThread.
class Spinner : public XThread {
 public:
  explicit Spinner(bool inThroughProgress) : itsThroughProgress(inThroughProgress) {}
  ~Spinner() override { StopThread(-1); }
  std::atomic<bool> itsStarted{false};

 protected:
  SInt32 RunThreadSelf() override {
    std::optional<XProgress> progress;
    if (itsThroughProgress) progress.emplace(0, kProgressStandard, 2000, false);
    for (;;) {
      itsThroughProgress ? progress->Increment() : TestCancelThread();
      itsStarted = true;
      std::this_thread::yield();
    }
  }
  bool itsThroughProgress;
};

int ErrorOf(const std::function<void()>& inCall) {
  try {
    inCall();
  } catch (const XException& e) {
    return e.GetErrorNumber();
  }
  return 0;
}

}  // namespace

TEST_F(XProgressTest, ReportsNumbersAndClosesAtTheTotalUnlessQuiet) {
  {
    XProgress progress(10, kProgressStandard, 0, false);
    progress.SetMessage("filtering");
    progress.Increment();
    progress.Increment(3);
    progress.SetProgress(12);  // beyond the total is shown as the total
    EXPECT_EQ(progress.GetProgress(), 12u);
  }
  ASSERT_EQ(Positions(), (std::vector<UInt64>{1, 4, 10, 10}));  // the last is the closing report
  EXPECT_EQ(itsCalls[0].total, 10u);
  EXPECT_EQ(itsCalls[0].message, "filtering");

  // Rate-limited and silent reports stay quiet, with no closing report either.
  itsCalls.clear();
  {
    XProgress slow(100, kProgressStandard, 3600 * 1000, false);
    XProgress silent(100, "quiet", kProgressSilent, 0, false);
    for (int i = 0; i < 100; ++i) {
      slow.Increment();
      silent.Increment();
    }
    EXPECT_EQ(silent.GetMessage(), "quiet");
  }
  EXPECT_TRUE(itsCalls.empty());
}

TEST_F(XProgressTest, SinkCancelThrowsUntilTheOutermostReportEnds) {
  itsCancelAtCall = 2;
  {
    XProgress outer(5, kProgressStandard, 3600 * 1000, false);  // never due by itself
    {
      XProgress inner(100, kProgressStandard, 0, false);
      inner.Increment();
      EXPECT_EQ(ErrorOf([&] { inner.Increment(); }), kErrCancelled);
      EXPECT_EQ(ErrorOf([&] { inner.YieldAndCheckAbort(); }), kErrCancelled);
    }
    // The cancel reaches the enclosing report too, though its sink call is not due.
    EXPECT_EQ(ErrorOf([&] { outer.SetProgress(3); }), kErrCancelled);
    EXPECT_EQ(itsCalls.size(), 2u);  // no closing report for cancelled work
  }
  itsCancelAtCall = SIZE_MAX;
  XProgress next(3, kProgressStandard, 0, false);
  EXPECT_NO_THROW(next.Increment());
}

TEST_F(XProgressTest, ACancelRequestStopsEveryReportWithOrWithoutASink) {
  XProgress::SetSink(nullptr);
  XProgress::RequestCancel();
  {
    XProgress silent(10, kProgressSilent, 3600 * 1000, false);
    EXPECT_EQ(ErrorOf([&] { silent.Increment(); }), kErrCancelled);
  }
  std::thread other([] {
    XProgress report(10, kProgressStandard, 3600 * 1000, false);
    EXPECT_EQ(ErrorOf([&] { report.YieldAndCheckAbort(); }), kErrCancelled);
  });
  other.join();
  XProgress::ClearCancelRequest();
  EXPECT_FALSE(XProgress::IsCancelRequested());
  XProgress after(3, kProgressSilent, 0, false);
  EXPECT_NO_THROW(after.Increment());
}

TEST_F(XProgressTest, NestedReportsShowTheirOwnNumbersWithInheritedMessage) {
  XProgress outer(4, "registering", kProgressStandard, 0, false);
  {
    XProgress inner(50, kProgressStandard, 0, false);
    EXPECT_EQ(XProgress::GetCurrent(), &inner);
    inner.SetProgress(25);
    inner.SetMessage("smoothing");
    inner.SetProgress(30);
  }
  EXPECT_EQ(XProgress::GetCurrent(), &outer);
  outer.Increment();
  ASSERT_EQ(Positions(), (std::vector<UInt64>{25, 30, 50, 1}));  // the inner closes at 50
  EXPECT_EQ(itsCalls[0].total, 50u);
  EXPECT_EQ(itsCalls[0].message, "registering");
  EXPECT_EQ(itsCalls[1].message, "smoothing");
  EXPECT_EQ(itsCalls[3].total, 4u);
}

TEST_F(XProgressTest, StoppedWorkerLeavesThroughItsProgress) {
  Spinner worker(true);
  worker.StartThread();
  while (!worker.itsStarted) std::this_thread::yield();
  ASSERT_TRUE(worker.StopThread(-1));
  EXPECT_EQ(worker.GetLastThreadState(), kThreadCancelled);
  EXPECT_EQ(worker.GetThreadReturnCode(), kErrCancelled);
}

TEST_F(XProgressTest, CancelWhileWaitingForAThreadStopsIt) {
  Spinner sleeper(false);
  itsCancelAtCall = 1;
  sleeper.StartThread();
  EXPECT_EQ(ErrorOf([&] { sleeper.WaitForTerminateWithProgress("waiting"); }), kErrCancelled);
  EXPECT_EQ(sleeper.GetLastThreadState(), kThreadCancelled);
  ASSERT_FALSE(itsCalls.empty());
  EXPECT_EQ(itsCalls[0].message, "waiting");
}
