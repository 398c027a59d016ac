// Threads, stop requests and the locks, with real threads.
#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <thread>

#include "core/XException.h"
#include "core/XMutex.h"
#include "core/XThread.h"

using namespace mirelan;

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

// Whether another thread gets the lock; it lets go again at once.
bool OtherThreadGets(const std::function<bool()>& inLock, const std::function<void()>& inUnlock) {
  bool got = false;
  std::thread([&] {
    got = inLock();
    if (got) inUnlock();
  }).join();
  return got;
}

}  // namespace

TEST(XThread, ReturnCodeStateFailuresAndCurrentThread) {
  XThread* seen = nullptr;
  FunctionThread thread([&](FunctionThread&) {
    seen = XThread::GetCurrentThread();
    return 42;
  });
  EXPECT_EQ(thread.GetLastThreadState(), kThreadNotStarted);
  for (int run = 1; run <= 2; ++run) {  // a finished thread object runs again
    thread.StartThread();
    ASSERT_TRUE(thread.WaitForTerminate(-1));
    EXPECT_EQ(thread.GetThreadReturnCode(), 42);
    EXPECT_EQ(thread.GetLastThreadState(), kThreadFinished);
    EXPECT_EQ(seen, &thread);
    EXPECT_EQ(thread.itsFinishes, run);
  }
  // Escaping exceptions are recorded as failures.
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
  // Outside any XThread there is no current one, and the cancel test does nothing.
  EXPECT_EQ(XThread::GetCurrentThread(), nullptr);
  EXPECT_NO_THROW(XThread::TestCancelCurrentThread());
  EXPECT_TRUE(XThread::IsMainThread());
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
  EXPECT_TRUE(thread.itsStopping == 1 && thread.itsAsyncStops == 1 && thread.itsFinishes == 1);

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
  ASSERT_TRUE(thread.StopThread(-1));  // a suspended thread can be stopped
  EXPECT_EQ(thread.GetLastThreadState(), kThreadCancelled);
}

TEST(XMutex, RecursiveForTheOwnerAndExclusiveAsReadWrite) {
  XMutex mutex;
  auto mutexGets = [&](SInt32 inTimeout) {
    return OtherThreadGets([&] { return mutex.Lock(inTimeout); }, [&] { mutex.Unlock(); });
  };
  {
    XThreadLock outer(mutex);
    XThreadLock inner(mutex);  // the owner may lock again
    EXPECT_FALSE(mutexGets(0) || mutexGets(1));
  }
  EXPECT_TRUE(mutexGets(-1));

  XRWMutex rw;
  auto gets = [&](XRWLockMode inMode) {
    return OtherThreadGets([&] { return rw.Lock(inMode, 0); }, [&] { rw.Unlock(inMode); });
  };
  {
    XRWLock read(rw, kRWLockRead);
    EXPECT_TRUE(gets(kRWLockRead));
    EXPECT_FALSE(gets(kRWLockWrite));
  }
  {
    XRWLock write(rw, kRWLockWrite);
    EXPECT_FALSE(gets(kRWLockRead) || gets(kRWLockWrite));
  }
  EXPECT_TRUE(gets(kRWLockWrite));
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
