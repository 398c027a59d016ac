// Worker threads with a cooperative stop request, on std::thread.
#pragma once

#include <atomic>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <thread>

#include "core/XExport.h"
#include "core/XTypes.h"

namespace mirelan {

enum XThreadPriority : SInt32 {
  kThreadPriorityIdle = 0,
  kThreadPriorityLowest,
  kThreadPriorityBelowNormal,
  kThreadPriorityNormal,
  kThreadPriorityAboveNormal,
  kThreadPriorityHighest,
  kThreadPriorityTimeCritical,
};

enum XThreadState : SInt32 {
  kThreadNotStarted = 0,
  kThreadRunning,
  kThreadFinished,   // RunThreadSelf returned
  kThreadCancelled,  // RunThreadSelf threw XException(kErrCancelled)
  kThreadFailed,     // RunThreadSelf threw anything else
};

// A derived class does its work in RunThreadSelf, calling TestCancelThread (or
// a progress report, which calls it) often enough to notice a stop request.
//
// Stopping is cooperative: StopThread sets the request and calls
// AsyncStopThreadSelf on the requesting thread so that a worker blocked in a
// wait of its own can be woken; the worker's next TestCancelThread calls
// Stopping and throws XException(kErrCancelled), which ends RunThreadSelf with
// the state kThreadCancelled. Suspension is cooperative in the same way: the
// worker pauses inside TestCancelThread, calling Suspending and Resuming around
// the pause.
//
// The base destructor stops and joins, but by then the derived part is gone:
// a derived class whose RunThreadSelf may still be running must call
// StopThread(-1) in its own destructor.
//
// Lower priorities than normal are applied (as the thread's nice value); higher
// ones would need privileges and are ignored, as are the stack size (the
// default stack is larger than any the library asks for) and the flag.
class MIRELAN_EXPORT XThread {
 public:
  explicit XThread(const XString& inName = XString(),
                   XThreadPriority inPriority = kThreadPriorityNormal, UInt32 inStackSize = 0,
                   bool inFlag = false);
  virtual ~XThread();
  XThread(const XThread&) = delete;
  XThread& operator=(const XThread&) = delete;

  // Starts RunThreadSelf on a new thread. A finished thread object may be started again.
  void StartThread();
  // Asks the thread to stop and does not wait.
  void RequestStop();
  // Asks the thread to stop and waits up to the timeout (ms, -1 for ever); true once it has ended.
  bool StopThread(SInt32 inTimeout = -1);
  // True once the thread has ended (or was never started); the timeout is in ms, -1 for ever.
  bool WaitForTerminate(SInt32 inTimeout = -1);
  // Waits for the end while keeping an XProgress alive on the calling thread,
  // so the host's sink sees activity and may cancel. A cancel stops this
  // thread, waits for it, and leaves as XException(kErrCancelled).
  bool WaitForTerminateWithProgress(const XString& inMessage = XString(), SInt32 inTimeout = -1);

  // The worker pauses at its next TestCancelThread until resumed or stopped.
  void SuspendThread();
  void ResumeThread();
  // True while the worker is paused inside TestCancelThread.
  bool IsSuspended() const;

  // On the worker: throws XException(kErrCancelled) when a stop was requested,
  // and pauses here while suspended. On another thread it only tests the request.
  void TestCancelThread();
  bool IsStopRequested() const { return itsStopRequested.load(std::memory_order_relaxed); }

  // TestCancelThread of the XThread the caller runs in; nothing on other threads.
  static void TestCancelCurrentThread();
  // The XThread the caller runs in, or null (the main thread, threads of others).
  static XThread* GetCurrentThread();
  // The thread that loaded the library, unless a host says otherwise.
  static std::thread::id GetMainThreadID();
  static void SetMainThreadID(std::thread::id inID);
  static bool IsMainThread() { return std::this_thread::get_id() == GetMainThreadID(); }
  // Processors this process may run on; at least 1.
  static UInt32 GetProcessorCount();

  // What RunThreadSelf returned; for a thread that ended by an exception, the
  // XException's number (kErrCancelled for a cancel), or kErrGeneral for any other.
  SInt32 GetThreadReturnCode() const { return itsReturnCode.load(); }
  XThreadState GetLastThreadState() const { return itsState.load(); }
  // The exception that ended RunThreadSelf, or null.
  std::exception_ptr GetThreadException() const;
  bool IsRunning() const { return GetLastThreadState() == kThreadRunning; }

  const XString& GetThreadName() const { return itsName; }
  XThreadPriority GetThreadPriority() const { return itsPriority; }

 protected:
  // The work. Runs on the new thread.
  virtual SInt32 RunThreadSelf() = 0;
  // Runs on the new thread after RunThreadSelf, however it ended, before waiters are released.
  virtual void FinishThreadSelf() {}
  // On the worker, inside TestCancelThread, before it pauses and after it resumes.
  virtual void Suspending() {}
  virtual void Resuming() {}
  // On the worker, inside TestCancelThread, before it throws the cancel.
  virtual void Stopping() {}
  // On the thread that asks for the stop: wake the worker if it sleeps in a wait of its own.
  virtual void AsyncStopThreadSelf() {}

 private:
  void Run();
  void Join();

  XString itsName;
  XThreadPriority itsPriority;
  [[maybe_unused]] UInt32 itsStackSize;  // std::thread takes the system's stack size

  std::thread itsThread;
  std::mutex itsJoinMutex;  // one joiner at a time

  mutable std::mutex itsMutex;  // guards the fields below and the wake-ups
  std::condition_variable itsCondition;
  bool itsDone = true;
  bool itsSuspended = false;
  std::exception_ptr itsException;

  std::atomic<bool> itsStopRequested{false};
  std::atomic<bool> itsSuspendRequested{false};
  std::atomic<XThreadState> itsState{kThreadNotStarted};
  std::atomic<SInt32> itsReturnCode{0};
};

}  // namespace mirelan
