// Several threads at once on what the library shares between them: the
// standard look-up tables, copies of one memory block, the class registry and
// exceptions. Run under ThreadSanitizer by ./run test.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "RenderingTestClasses.h"
#include "core/XMemoryHandle.h"
#include "volume/XFPVolume.h"
#include "volume/XGrey16Volume.h"

namespace {

constexpr int kThreads = 4;
constexpr int kRounds = 50;

// Runs inWork(thread index) on kThreads threads that start together.
template <class Work>
void OnThreads(Work inWork) {
  std::atomic<int> ready{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t)
    threads.emplace_back([&, t] {
      ++ready;
      while (ready.load() < kThreads) std::this_thread::yield();
      inWork(t);
    });
  for (auto& thread : threads) thread.join();
}

}  // namespace

TEST_F(RenderingStreamTest, ThreadsShareStandardTablesBlocksExceptionsAndTheRegistry) {
  XIntToColourLUT::DisposeStandardLUTs();
  XIntToIntLUT::DisposeStandardLUTs();
  XMemoryHandle shared(4096);
  shared.Clear(7);
  const XException sharedError(kErrBadStreamSize, "shared");
  XGrey16Volume stored(16, 8, 2);
  stored.Clear();
  XMemoryStream written(kBigEndian);  // read back with a pending byte swap
  written.WriteObject(stored);
  const std::vector<UInt8> bytes = written.GetBytes();
  std::atomic<int> failures{0};

  OnThreads([&](int inThread) {
    for (int round = 0; round < kRounds; ++round) {
      // Tables made on first use by whichever thread comes first.
      const UInt32 depth = 1 + (round + inThread) % 16;
      if (EntryOf(XIntToColourLUT::GetStandardLUT(depth), 0) != kBlack) ++failures;
      XFloatToColourLUT floats(0.0, 1.0);  // copies the 8-bit standard table
      if (XIntToIntLUT::GetStandardLUT(depth).GetSize() < 256) ++failures;
      // Copies of one block: readers share it, a writer gets its own.
      XMemoryHandle mine = shared;
      {
        XLock lock(mine, round % 2 ? kLockRead : kLockReadWrite);
        if (mine.GetData()[inThread] != 7) ++failures;
        if (round % 2 == 0) mine.GetData()[inThread] = 99;
      }
      // Exceptions made, thrown and described on every thread.
      try {
        throw XException(kErrWrongClass, "thread " + std::to_string(inThread));
      } catch (const XException& e) {
        if (std::string(e.what()).find("thread") == std::string::npos) ++failures;
      }
      if (std::string(sharedError.what()).find("shared") == std::string::npos) ++failures;
      // Objects read through the registry, with their renderers and swaps.
      XMemoryStream stream(bytes.data(), bytes.size(), kBigEndian);
      std::unique_ptr<XGrey16Volume> volume = stream.ReadObjectAs<XGrey16Volume>();
      if (!volume || volume->CalculateCRC() != stored.CalculateCRC()) ++failures;
      if (!XVersion(115).IsA(XVersion(520))) ++failures;
    }
  });
  EXPECT_EQ(failures.load(), 0);
  XLock lock(shared, kLockRead);
  EXPECT_EQ(shared.GetData()[0], 7);  // no writer reached the shared block
}
