#include "core/XWorkerPool.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>

#include "core/XException.h"
#include "core/XProgress.h"
#include "core/XThread.h"

namespace mirelan {

namespace {

constexpr UInt32 kMaxWorkers = 256;
// How often a waiting caller moves its progress and looks for a cancel.
constexpr std::chrono::milliseconds kPollInterval(50);

std::atomic<UInt32> sWorkerCount{0};  // 0: the default
thread_local bool sIsPoolWorker = false;

// One call of ForEachSlab, owned by the calling thread's stack. Every field
// but the constants is guarded by the pool's mutex.
struct XJob {
  const XWorkerPool::SlabWork* itsWork;
  const std::vector<UInt64>* itsBounds;
  size_t itsSlabs;
  UInt32 itsLimit;  // threads that may work on it at once

  size_t itsNext = 0;   // the first slab not yet handed out
  UInt64 itsDone = 0;   // items of the slabs that have ended
  UInt32 itsRunning = 0;
  bool itsStop = false;
  std::exception_ptr itsError;
  std::condition_variable itsChanged;  // the job has ended

  bool IsOpen() const { return !itsStop && itsNext < itsSlabs; }
  bool HasEnded() const { return !IsOpen() && itsRunning == 0; }
};

class XPool {
 public:
  ~XPool() {
    {
      std::lock_guard<std::mutex> guard(itsMutex);
      itsQuit = true;
    }
    itsWake.notify_all();
    for (auto& thread : itsThreads) thread.join();
  }

  // Runs the job to its end on the workers; the caller waits and reports.
  void Run(XJob& ioJob, XProgress* ioProgress, UInt64 inProgressPerItem) {
    const UInt64 start = ioProgress ? ioProgress->GetProgress() : 0;
    std::exception_ptr callerError;
    std::unique_lock<std::mutex> lock(itsMutex);
    AddThreads(ioJob.itsLimit);
    itsJobs.push_back(&ioJob);
    itsWake.notify_all();
    while (!ioJob.HasEnded()) {
      ioJob.itsChanged.wait_for(lock, kPollInterval);
      if (callerError) continue;  // only waiting for the running slabs now
      const UInt64 done = ioJob.itsDone;
      lock.unlock();
      try {
        if (ioProgress)
          ioProgress->SetProgress(start + done * inProgressPerItem);
        else
          XThread::TestCancelCurrentThread();
      } catch (...) {
        callerError = std::current_exception();
      }
      lock.lock();
      if (callerError) ioJob.itsStop = true;
    }
    itsJobs.erase(std::find(itsJobs.begin(), itsJobs.end(), &ioJob));
    lock.unlock();
    if (callerError) std::rethrow_exception(callerError);
    if (ioJob.itsError) std::rethrow_exception(ioJob.itsError);
    // As the walk in order does after its last slab.
    if (ioProgress) ioProgress->SetProgress(start + ioJob.itsDone * inProgressPerItem);
  }

  bool HasThreads() {
    std::lock_guard<std::mutex> guard(itsMutex);
    AddThreads(1);
    return !itsThreads.empty();
  }

 private:
  // Under the mutex. A thread that cannot be made leaves the pool smaller;
  // a job then runs on the threads there are.
  void AddThreads(UInt32 inCount) {
    try {
      while (itsThreads.size() < inCount) itsThreads.emplace_back([this] { WorkerLoop(); });
    } catch (const std::system_error&) {
    }
  }

  XJob* FindOpenJob() {
    for (XJob* job : itsJobs)
      if (job->IsOpen() && job->itsRunning < job->itsLimit) return job;
    return nullptr;
  }

  void WorkerLoop() {
    sIsPoolWorker = true;
    std::unique_lock<std::mutex> lock(itsMutex);
    for (;;) {
      XJob* job = nullptr;
      itsWake.wait(lock, [&] { return itsQuit || (job = FindOpenJob()) != nullptr; });
      if (!job) return;
      const size_t slab = job->itsNext++;
      const UInt64 begin = (*job->itsBounds)[slab];
      const UInt64 end = (*job->itsBounds)[slab + 1];
      ++job->itsRunning;
      lock.unlock();
      std::exception_ptr error;
      try {
        (*job->itsWork)(begin, end);
      } catch (...) {
        error = std::current_exception();
      }
      lock.lock();
      --job->itsRunning;
      job->itsDone += end - begin;
      if (error) {
        if (!job->itsError) job->itsError = error;
        job->itsStop = true;
      }
      // The caller wakes for the end only: on a machine with as many workers
      // as cores, waking it for every slab would take turns from the workers.
      if (job->HasEnded()) job->itsChanged.notify_all();
    }
  }

  std::mutex itsMutex;
  std::condition_variable itsWake;  // a job came, or the pool ends
  std::deque<XJob*> itsJobs;
  std::vector<std::thread> itsThreads;
  bool itsQuit = false;
};

XPool& Pool() {
  static XPool sPool;
  return sPool;
}

void RunInOrder(const std::vector<UInt64>& inBounds, const XWorkerPool::SlabWork& inWork, XProgress* ioProgress,
                UInt64 inProgressPerItem) {
  const UInt64 start = ioProgress ? ioProgress->GetProgress() : 0;
  for (size_t i = 0; i + 1 < inBounds.size(); ++i) {
    if (inBounds[i] == inBounds[i + 1]) continue;
    inWork(inBounds[i], inBounds[i + 1]);
    if (ioProgress)
      ioProgress->SetProgress(start + (inBounds[i + 1] - inBounds[0]) * inProgressPerItem);
    else
      XThread::TestCancelCurrentThread();
  }
}

}  // namespace

void XWorkerPool::SetWorkerCount(UInt32 inCount) { sWorkerCount = std::min(inCount, kMaxWorkers); }

UInt32 XWorkerPool::GetWorkerCount() {
  const UInt32 count = sWorkerCount.load();
  return count ? count : GetDefaultWorkerCount();
}

UInt32 XWorkerPool::GetDefaultWorkerCount() { return std::min(XThread::GetProcessorCount(), kMaxWorkers); }

void XWorkerPool::ForEachSlab(UInt64 inCount, UInt64 inSlabSize, const SlabWork& inWork, XProgress* ioProgress,
                              UInt64 inProgressPerItem) {
  XAssert(inSlabSize > 0);
  std::vector<UInt64> bounds;
  bounds.reserve(size_t(inCount / inSlabSize + 2));
  for (UInt64 at = 0; at < inCount; at += std::min(inSlabSize, inCount - at)) bounds.push_back(at);
  bounds.push_back(inCount);
  ForEachSlab(bounds, inWork, ioProgress, inProgressPerItem);
}

void XWorkerPool::ForEachSlab(const std::vector<UInt64>& inBounds, const SlabWork& inWork, XProgress* ioProgress,
                              UInt64 inProgressPerItem) {
  XAssert(std::is_sorted(inBounds.begin(), inBounds.end()));
  if (inBounds.size() < 2) return;
  const size_t slabs = inBounds.size() - 1;
  const UInt32 workers = UInt32(std::min<size_t>(GetWorkerCount(), slabs));
  if (workers <= 1 || sIsPoolWorker || !Pool().HasThreads()) {
    RunInOrder(inBounds, inWork, ioProgress, inProgressPerItem);
    return;
  }
  XJob job;
  job.itsWork = &inWork;
  job.itsBounds = &inBounds;
  job.itsSlabs = slabs;
  job.itsLimit = workers;
  Pool().Run(job, ioProgress, inProgressPerItem);
}

}  // namespace mirelan
