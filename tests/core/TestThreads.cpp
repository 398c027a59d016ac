// Threads, stop requests and the locks, with real threads.
#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <thread>

#include "core/XException.h"
#include "core/XMutex.h"
#include "core/XThread.h"

namespace {

// Runs a function as its work; stops in its own destructor as derived classes must.
class FunctionThread : public XThread {
 public:
  explicit FunctionThread(std::function<SInt32(FunctionThread&)> inWork)
      : XThread("test"), itsWork(std::move(inWork)) {}
  ~FunctionThread() override { StopThread(-1); }

  std::atomic<int> itsStopping{0}, itsAsyncStops{0}, itsFinishes{0}, itsSuspends{0}, itsResumes{0};
  std::atomic<int> itsLoops{0};
  XConditionVariable itsWake;

 protected:
  SInt32 RunThreadSelf() override { return itsWork(*this); }
  void FinishThreadSelf() override { ++itsFinishes; }
  void Stopping() override { ++itsStopping; }
  void Suspending() override { ++itsSuspends; }
  void Resuming() override { ++itsResumes; }
  void AsyncStopThreadSelf() override {
    ++itsAsyncStops;
    itsWake.Signal();
  }

 private:
  std::function<SInt32(FunctionThread&)> itsWork;
};

SInt32 LoopUntilStopped(FunctionThread& ioThread) {
  for (;;) {
    ioThread.TestCancelThread();
    ++ioThread.itsLoops;
    std::this_thread::yield();
  }
}

void WaitForLoops(FunctionThread& inThread, int inAbove) {
  while (inThread.itsLoops <= inAbove) std::this_thread::yield();
}

}  // namespace

TEST(XThread, ReturnCodeStateAndCurrentThread) {
  XThread* seen = nullptr;
  FunctionThread thread([&](FunctionThread&) {
    seen = XThread::GetCurrentThread();
    return 42;
  });
  EXPECT_EQ(thread.GetLastThreadState(), kThreadNotStarted);
  thread.StartThread();
  ASSERT_TRUE(thread.WaitForTerminate(-1));
  EXPECT_EQ(thread.GetThreadReturnCode(), 42);
  EXPECT_EQ(thread.GetLastThreadState(), kThreadFinished);
  EXPECT_EQ(seen, &thread);
  EXPECT_EQ(thread.itsFinishes, 1);

  // Outside any XThread there is no current one, and the cancel test does nothing.
  EXPECT_EQ(XThread::GetCurrentThread(), nullptr);
  EXPECT_NO_THROW(XThread::TestCancelCurrentThread());
  EXPECT_TRUE(XThread::IsMainThread());

  thread.StartThread();  // a finished thread object runs again
  ASSERT_TRUE(thread.WaitForTerminate(-1));
  EXPECT_EQ(thread.itsFinishes, 2);
}

TEST(XThread, StopCancelsThroughTestCancelThread) {
  FunctionThread thread(LoopUntilStopped);
  thread.StartThread();
  WaitForLoops(thread, 0);
  EXPECT_TRUE(thread.IsRunning());
  EXPECT_FALSE(thread.WaitForTerminate(0));
  EXPECT_THROW(thread.StartThread(), XInternalError);  // already running

  ASSERT_TRUE(thread.StopThread(-1));
  EXPECT_EQ(thread.GetLastThreadState(), kThreadCancelled);
  EXPECT_EQ(thread.GetThreadReturnCode(), kErrCancelled);
  EXPECT_EQ(thread.itsStopping, 1);
  EXPECT_EQ(thread.itsAsyncStops, 1);
  EXPECT_EQ(thread.itsFinishes, 1);

  // AsyncStopThreadSelf wakes a worker blocked in a wait of its own.
  FunctionThread sleeper([](FunctionThread& self) {
    self.itsWake.SleepForInputOrSignal(-1);
    self.TestCancelThread();
    return 0;
  });
  sleeper.StartThread();
  ASSERT_TRUE(sleeper.StopThread(-1));
  EXPECT_EQ(sleeper.GetLastThreadState(), kThreadCancelled);
}

TEST(XThread, EscapingExceptionsAreRecordedAsFailures) {
  FunctionThread xfail([](FunctionThread&) -> SInt32 { throw XException(kErrFile, "disk"); });
  FunctionThread other([](FunctionThread&) -> SInt32 { throw std::runtime_error("boom"); });
  xfail.StartThread();
  other.StartThread();
  ASSERT_TRUE(xfail.WaitForTerminate(-1) && other.WaitForTerminate(-1));
  EXPECT_EQ(xfail.GetLastThreadState(), kThreadFailed);
  EXPECT_EQ(xfail.GetThreadReturnCode(), kErrFile);
  EXPECT_EQ(other.GetLastThreadState(), kThreadFailed);
  EXPECT_EQ(other.GetThreadReturnCode(), kErrGeneral);
  EXPECT_THROW(std::rethrow_exception(other.GetThreadException()), std::runtime_error);
}

TEST(XThread, SuspendPausesInTestCancelThreadUntilResumedOrStopped) {
  FunctionThread thread(LoopUntilStopped);
  thread.StartThread();
  WaitForLoops(thread, 0);
  thread.SuspendThread();
  while (!thread.IsSuspended()) std::this_thread::yield();
  int frozen = thread.itsLoops;
  for (int i = 0; i < 1000; ++i) std::this_thread::yield();
  EXPECT_EQ(thread.itsLoops, frozen);
  EXPECT_EQ(thread.itsSuspends, 1);

  thread.ResumeThread();
  WaitForLoops(thread, frozen);
  EXPECT_EQ(thread.itsResumes, 1);

  thread.SuspendThread();
  while (!thread.IsSuspended()) std::this_thread::yield();
  ASSERT_TRUE(thread.StopThread(-1));
  EXPECT_EQ(thread.GetLastThreadState(), kThreadCancelled);
}

TEST(XMutex, RecursiveWithTimeoutsForOthers) {
  XMutex mutex;
  auto otherThreadGets = [&](SInt32 inTimeout) {
    bool got = false;
    std::thread([&] {
      got = mutex.Lock(inTimeout);
      if (got) mutex.Unlock();
    }).join();
    return got;
  };
  {
    XThreadLock outer(mutex);
    XThreadLock inner(mutex);  // the owner may lock again
    EXPECT_FALSE(otherThreadGets(0));
    EXPECT_FALSE(otherThreadGets(1));
  }
  EXPECT_TRUE(otherThreadGets(-1));
}

TEST(XRWMutex, ReadersShareWritersExclude) {
  XRWMutex mutex;
  auto otherThreadGets = [&](XRWLockMode inMode) {
    bool got = false;
    std::thread([&] {
      got = mutex.Lock(inMode, 0);
      if (got) mutex.Unlock(inMode);
    }).join();
    return got;
  };
  {
    XRWLock read(mutex, kRWLockRead);
    EXPECT_TRUE(otherThreadGets(kRWLockRead));
    EXPECT_FALSE(otherThreadGets(kRWLockWrite));
  }
  {
    XRWLock write(mutex, kRWLockWrite);
    EXPECT_FALSE(otherThreadGets(kRWLockRead));
    EXPECT_FALSE(otherThreadGets(kRWLockWrite));
  }
  EXPECT_TRUE(otherThreadGets(kRWLockWrite));
}

TEST(XConditionVariable, SignalIsKeptUntilSomeoneSleeps) {
  XConditionVariable condition;
  EXPECT_FALSE(condition.SleepForInputOrSignal(0));
  condition.Signal();
  EXPECT_TRUE(condition.SleepForInputOrSignal(0));
  EXPECT_FALSE(condition.SleepForInputOrSignal(0));  // consumed

  bool woke = false;
  std::thread sleeper([&] { woke = condition.SleepForInputOrSignal(-1); });
  condition.Signal();
  sleeper.join();
  EXPECT_TRUE(woke);
}
