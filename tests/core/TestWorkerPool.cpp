// The worker pool: every item once, the worker count, exceptions and
// cancels back on the calling thread, progress as slabs end, nesting and
// callers on several threads.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <mutex>
#include <set>
#include <stdexcept>
#include <thread>
#include <vector>

#include "core/XException.h"
#include "core/XProgress.h"
#include "core/XThread.h"
#include "core/XWorkerPool.h"

using namespace mirelan;

namespace {

class XWorkerCount {
 public:
  explicit XWorkerCount(UInt32 inCount) : itsOld(XWorkerPool::GetWorkerCount()) {
    XWorkerPool::SetWorkerCount(inCount);
  }
  ~XWorkerCount() { XWorkerPool::SetWorkerCount(itsOld); }

 private:
  UInt32 itsOld;
};

class XSinkScope {
 public:
  explicit XSinkScope(XProgress::Sink inSink) : itsOld(XProgress::SetSink(std::move(inSink))) {}
  ~XSinkScope() { XProgress::SetSink(itsOld); }

 private:
  XProgress::Sink itsOld;
};

}  // namespace

TEST(WorkerPool, HandsOutEveryItemOnceForAnyCountAndSlabSize) {
  for (UInt32 workers : {1u, 2u, 3u, 5u}) {
    XWorkerCount scope(workers);
    for (UInt64 count : {0ull, 1ull, 7ull, 100ull, 1001ull})
      for (UInt64 slab : {1ull, 3ull, 64ull, 5000ull}) {
        std::vector<std::atomic<int>> seen(count);
        std::atomic<int> slabs{0};
        XWorkerPool::ForEachSlab(count, slab, [&](UInt64 inBegin, UInt64 inEnd) {
          EXPECT_LE(inEnd - inBegin, slab);
          EXPECT_EQ(inBegin % slab, 0u);
          for (UInt64 i = inBegin; i < inEnd; ++i) ++seen[i];
          ++slabs;
        });
        for (UInt64 i = 0; i < count; ++i) ASSERT_EQ(seen[i].load(), 1) << workers << " " << count << " " << slab;
        EXPECT_EQ(UInt64(slabs.load()), (count + slab - 1) / slab);
      }
    // Slabs of any sizes, empty ones among them.
    const std::vector<UInt64> bounds{0, 5, 5, 6, 40, 41};
    std::vector<std::atomic<int>> seen(41);
    XWorkerPool::ForEachSlab(bounds, [&](UInt64 inBegin, UInt64 inEnd) {
      for (UInt64 i = inBegin; i < inEnd; ++i) ++seen[i];
    });
    for (auto& s : seen) EXPECT_EQ(s.load(), 1);
  }
  EXPECT_THROW(XWorkerPool::ForEachSlab(5, 0, [](UInt64, UInt64) {}), XInternalError);
  EXPECT_THROW(XWorkerPool::ForEachSlab(std::vector<UInt64>{0, 4, 2}, [](UInt64, UInt64) {}), XInternalError);
}

TEST(WorkerPool, TheCountIsALibrarySettingWithTheMachineAsDefault) {
  XWorkerCount scope(3);
  EXPECT_EQ(XWorkerPool::GetWorkerCount(), 3u);
  XWorkerPool::SetWorkerCount(0);
  EXPECT_EQ(XWorkerPool::GetWorkerCount(), XWorkerPool::GetDefaultWorkerCount());
  EXPECT_EQ(XWorkerPool::GetDefaultWorkerCount(), std::min(256u, XThread::GetProcessorCount()));
  XWorkerPool::SetWorkerCount(100000);
  EXPECT_EQ(XWorkerPool::GetWorkerCount(), 256u);
}

TEST(WorkerPool, OneWorkerRunsTheSlabsInOrderOnTheCallingThread) {
  XWorkerCount scope(1);
  std::vector<UInt64> order;
  const auto caller = std::this_thread::get_id();
  XWorkerPool::ForEachSlab(10, 3, [&](UInt64 inBegin, UInt64) {
    EXPECT_EQ(std::this_thread::get_id(), caller);
    order.push_back(inBegin);
  });
  EXPECT_EQ(order, (std::vector<UInt64>{0, 3, 6, 9}));
}

TEST(WorkerPool, SeveralWorkersRunAtOnceOffTheCallingThread) {
  XWorkerCount scope(3);
  std::mutex mutex;
  std::set<std::thread::id> threads;
  std::atomic<int> running{0}, most{0};
  XWorkerPool::ForEachSlab(12, 1, [&](UInt64, UInt64) {
    const int now = ++running;
    int seen = most.load();
    while (now > seen && !most.compare_exchange_weak(seen, now)) {
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    {
      std::lock_guard<std::mutex> guard(mutex);
      threads.insert(std::this_thread::get_id());
    }
    --running;
  });
  EXPECT_EQ(threads.count(std::this_thread::get_id()), 0u);
  EXPECT_GE(threads.size(), 2u);
  EXPECT_LE(most.load(), 3);
}

TEST(WorkerPool, TheFirstExceptionOfASlabLeavesOnTheCallerAndStopsTheRest) {
  for (UInt32 workers : {1u, 3u}) {
    XWorkerCount scope(workers);
    std::atomic<int> started{0};
    EXPECT_THROW(XWorkerPool::ForEachSlab(1000, 1,
                                          [&](UInt64 inBegin, UInt64) {
                                            ++started;
                                            if (inBegin == 2) throw std::runtime_error("slab 2");
                                            std::this_thread::sleep_for(std::chrono::milliseconds(1));
                                          }),
                 std::runtime_error);
    EXPECT_LT(started.load(), 100) << workers;
    // The pool serves the next call as before.
    std::atomic<int> done{0};
    XWorkerPool::ForEachSlab(10, 1, [&](UInt64, UInt64) { ++done; });
    EXPECT_EQ(done.load(), 10);
  }
}

TEST(WorkerPool, ProgressMovesAsSlabsEndAndACancelStopsTheRest) {
  for (UInt32 workers : {1u, 2u}) {
    XWorkerCount scope(workers);
    std::vector<UInt64> positions;
    std::atomic<int> slabs{0};
    {
      XSinkScope sink([&](UInt64 inTotal, UInt64 inPosition, const XString&) {
        EXPECT_EQ(inTotal, 400u);
        positions.push_back(inPosition);
        return inPosition < 100;  // cancel once a quarter is done
      });
      XProgress progress(400, kProgressStandard, 0, false);
      progress.SetProgress(0);
      XException cancel(0);
      try {
        XWorkerPool::ForEachSlab(
            200, 1,
            [&](UInt64, UInt64) {
              ++slabs;
              std::this_thread::sleep_for(std::chrono::milliseconds(2));
            },
            &progress, 2);
      } catch (const XException& e) {
        cancel = e;
      }
      EXPECT_EQ(cancel.GetErrorNumber(), kErrCancelled) << workers;
    }
    EXPECT_GT(positions.size(), 1u);
    EXPECT_TRUE(std::is_sorted(positions.begin(), positions.end()));
    EXPECT_GE(positions.back(), 100u);
    EXPECT_LT(slabs.load(), 150) << workers;  // the rest did not start
  }
}

TEST(WorkerPool, ASlabThatSplitsAgainRunsItsSlabsInline) {
  XWorkerCount scope(2);
  std::atomic<int> inner{0};
  XWorkerPool::ForEachSlab(4, 1, [&](UInt64, UInt64) {
    const auto me = std::this_thread::get_id();
    XWorkerPool::ForEachSlab(5, 1, [&](UInt64, UInt64) {
      EXPECT_EQ(std::this_thread::get_id(), me);
      ++inner;
    });
  });
  EXPECT_EQ(inner.load(), 20);
}

TEST(WorkerPool, CallersOnSeveralThreadsShareTheWorkers) {
  XWorkerCount scope(2);
  std::atomic<UInt64> total{0};
  std::vector<std::thread> callers;
  for (int t = 0; t < 4; ++t)
    callers.emplace_back([&] {
      for (int round = 0; round < 20; ++round)
        XWorkerPool::ForEachSlab(50, 7, [&](UInt64 inBegin, UInt64 inEnd) { total += inEnd - inBegin; });
    });
  for (auto& c : callers) c.join();
  EXPECT_EQ(total.load(), 4u * 20 * 50);
}

TEST(WorkerPool, AStoppedCallerThreadLeavesWithTheCancel) {
  XWorkerCount scope(2);
  std::atomic<bool> began{false};
  std::atomic<int> slabs{0};
  class XCaller : public XThread {
   public:
    explicit XCaller(std::function<void()> inWork) : itsWork(std::move(inWork)) {}
    ~XCaller() override { StopThread(-1); }

   protected:
    SInt32 RunThreadSelf() override {
      itsWork();
      return 0;
    }

   private:
    std::function<void()> itsWork;
  } caller([&] {
    XWorkerPool::ForEachSlab(1000, 1, [&](UInt64, UInt64) {
      began = true;
      ++slabs;
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    });
  });
  caller.StartThread();
  while (!began) std::this_thread::yield();
  EXPECT_TRUE(caller.StopThread(-1));
  EXPECT_EQ(caller.GetLastThreadState(), kThreadCancelled);
  EXPECT_LT(slabs.load(), 1000);
}
