#include "core/XThread.h"

#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>

#include "core/XException.h"
#include "core/XProgress.h"
#include "core/XTime.h"

namespace mirelan {

namespace {

thread_local XThread* sCurrentThread = nullptr;

std::atomic<std::thread::id>& MainThreadID() {
  static std::atomic<std::thread::id> sID{std::this_thread::get_id()};
  return sID;
}

// Records the loading thread before anyone asks, as the host's main thread.
const bool sMainThreadRecorded = (MainThreadID(), true);

// Linux keeps a nice value per thread; raising it needs no privilege.
void LowerPriority(XThreadPriority inPriority) {
  int nice = 0;
  switch (inPriority) {
    case kThreadPriorityIdle: nice = 19; break;
    case kThreadPriorityLowest: nice = 10; break;
    case kThreadPriorityBelowNormal: nice = 5; break;
    default: return;
  }
  pid_t tid = static_cast<pid_t>(::syscall(SYS_gettid));
  ::setpriority(PRIO_PROCESS, static_cast<id_t>(tid), nice);  // best effort
}

}  // namespace

XThread::XThread(const XString& inName, XThreadPriority inPriority, UInt32 inStackSize, bool)
    : itsName(inName), itsPriority(inPriority), itsStackSize(inStackSize) {}

XThread::~XThread() {
  if (sCurrentThread == this) {
    // Destroyed from its own thread: it cannot join itself.
    if (itsThread.joinable()) itsThread.detach();
    return;
  }
  StopThread(-1);
}

void XThread::StartThread() {
  XAssert(sCurrentThread != this);
  {
    std::lock_guard<std::mutex> guard(itsMutex);
    XAssert(itsDone);  // not running already
  }
  Join();  // a previous run
  {
    std::lock_guard<std::mutex> guard(itsMutex);
    itsDone = false;
    itsSuspended = false;
    itsException = nullptr;
    itsStopRequested = false;
    itsSuspendRequested = false;
    itsReturnCode = 0;
    itsState = kThreadRunning;
  }
  try {
    itsThread = std::thread([this] { Run(); });
  } catch (const std::system_error& e) {
    std::lock_guard<std::mutex> guard(itsMutex);
    itsDone = true;
    itsState = kThreadFailed;
    itsReturnCode = kErrGeneral;
    throw XException(kErrGeneral, "cannot start thread " + itsName + ": " + e.what());
  }
}

void XThread::Run() {
  sCurrentThread = this;
  LowerPriority(itsPriority);

  SInt32 code = 0;
  XThreadState state = kThreadFinished;
  std::exception_ptr error;
  try {
    code = RunThreadSelf();
  } catch (const XException& e) {
    error = std::current_exception();
    code = e.GetErrorNumber();
    state = code == kErrCancelled ? kThreadCancelled : kThreadFailed;
  } catch (...) {
    error = std::current_exception();
    code = kErrGeneral;
    state = kThreadFailed;
  }
  try {
    FinishThreadSelf();
  } catch (...) {
    if (!error) {
      error = std::current_exception();
      code = kErrGeneral;
      state = kThreadFailed;
    }
  }

  {
    // Notify under the lock: once a waiter sees itsDone it may destroy this
    // object, so nothing of it may be touched after the unlock.
    std::lock_guard<std::mutex> guard(itsMutex);
    itsException = error;
    itsReturnCode = code;
    itsState = state;
    itsDone = true;
    itsCondition.notify_all();
  }
  sCurrentThread = nullptr;
}

void XThread::Join() {
  std::lock_guard<std::mutex> guard(itsJoinMutex);
  if (itsThread.joinable()) itsThread.join();
}

void XThread::RequestStop() {
  bool running;
  {
    std::lock_guard<std::mutex> guard(itsMutex);
    running = !itsDone;
    itsStopRequested = true;
    itsCondition.notify_all();  // out of a suspension
  }
  if (running) AsyncStopThreadSelf();
}

bool XThread::StopThread(SInt32 inTimeout) {
  RequestStop();
  return WaitForTerminate(inTimeout);
}

bool XThread::WaitForTerminate(SInt32 inTimeout) {
  // A thread waiting for itself would wait for ever.
  XAssert(sCurrentThread != this);
  {
    std::unique_lock<std::mutex> lock(itsMutex);
    auto done = [this] { return itsDone; };
    if (inTimeout < 0)
      itsCondition.wait(lock, done);
    else if (!itsCondition.wait_for(lock, std::chrono::milliseconds(inTimeout), done))
      return false;
  }
  Join();
  return true;
}

bool XThread::WaitForTerminateWithProgress(const XString& inMessage, SInt32 inTimeout) {
  XAssert(sCurrentThread != this);
  constexpr SInt32 kSliceMs = 50;
  XProgress progress(0, kProgressStandard, 250, false);
  if (!inMessage.empty()) progress.SetMessage(inMessage);
  const UInt64 start = GetMicroSecondTime();
  try {
    for (;;) {
      SInt32 slice = kSliceMs;
      if (inTimeout >= 0) {
        UInt64 elapsed = (GetMicroSecondTime() - start) / 1000;
        if (elapsed >= UInt64(inTimeout)) return WaitForTerminate(0);
        slice = static_cast<SInt32>(std::min<UInt64>(slice, UInt64(inTimeout) - elapsed));
      }
      if (WaitForTerminate(slice)) return true;
      progress.YieldAndCheckAbort();
    }
  } catch (const XException& e) {
    // The waiter gives up: the work it waits for is not wanted any more.
    if (e.GetErrorNumber() == kErrCancelled) StopThread(-1);
    throw;
  }
}

void XThread::SuspendThread() { itsSuspendRequested = true; }

void XThread::ResumeThread() {
  std::lock_guard<std::mutex> guard(itsMutex);
  itsSuspendRequested = false;
  itsCondition.notify_all();
}

void XThread::TestCancelThread() {
  const bool onSelf = sCurrentThread == this;
  if (onSelf && itsSuspendRequested.load(std::memory_order_relaxed) &&
      !itsStopRequested.load(std::memory_order_relaxed)) {
    Suspending();
    {
      std::unique_lock<std::mutex> lock(itsMutex);
      itsSuspended = true;
      itsCondition.wait(lock, [this] { return !itsSuspendRequested || itsStopRequested; });
      itsSuspended = false;
    }
    Resuming();
  }
  if (itsStopRequested.load(std::memory_order_relaxed)) {
    if (onSelf) Stopping();
    throw XException(kErrCancelled);
  }
}

void XThread::TestCancelCurrentThread() {
  if (XThread* thread = sCurrentThread) thread->TestCancelThread();
}

XThread* XThread::GetCurrentThread() { return sCurrentThread; }

std::thread::id XThread::GetMainThreadID() { return MainThreadID().load(); }

void XThread::SetMainThreadID(std::thread::id inID) { MainThreadID().store(inID); }

UInt32 XThread::GetProcessorCount() {
  cpu_set_t set;
  CPU_ZERO(&set);
  if (::sched_getaffinity(0, sizeof set, &set) == 0) {
    int count = CPU_COUNT(&set);
    if (count > 0) return static_cast<UInt32>(count);
  }
  return std::max(1u, std::thread::hardware_concurrency());
}

std::exception_ptr XThread::GetThreadException() const {
  std::lock_guard<std::mutex> guard(itsMutex);
  return itsException;
}

bool XThread::IsSuspended() const {
  std::lock_guard<std::mutex> guard(itsMutex);
  return itsSuspended;
}

}  // namespace mirelan
