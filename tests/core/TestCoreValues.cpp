// The small value types and containers of the core.
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "core/XContainers.h"
#include "core/XRange.h"
#include "core/XRefCountable.h"
#include "core/XResourceTracker.h"
#include "core/XTime.h"
#include "core/XTimer.h"

namespace {

// Counts live instances so that ownership mistakes show as leaks or double deletes.
struct Counted {
  explicit Counted(int inValue = 0) : itsValue(inValue) { ++sLive; }
  virtual ~Counted() { --sLive; }
  int itsValue;
  static int sLive;
};
int Counted::sLive = 0;

struct DerivedCounted : Counted {
  using Counted::Counted;
};

struct Shared : XRefCountable {
  Shared() { ++sLive; }
  ~Shared() override { --sLive; }
  static int sLive;
};
int Shared::sLive = 0;
struct SharedChild : Shared {};

}  // namespace

TEST(XPtrVector, OwnsItsObjects) {
  {
    XPtrVector<Counted> items;
    items.push_back(new Counted(1));
    items.push_back(std::make_unique<DerivedCounted>(2));
    items.emplace_back(3);
    items.push_back(nullptr);
    EXPECT_EQ(Counted::sLive, 3);
    EXPECT_EQ(items.size(), 4u);
    EXPECT_EQ(items[1]->itsValue, 2);

    items.erase(size_t(0));  // deletes
    EXPECT_EQ(Counted::sLive, 2);
    EXPECT_EQ(items[0]->itsValue, 2);

    std::unique_ptr<Counted> released(items.Release(0));  // gives up ownership
    EXPECT_EQ(items.size(), 2u);
    EXPECT_EQ(Counted::sLive, 2);

    items.Replace(0, new Counted(4));  // deletes the 3
    EXPECT_EQ(Counted::sLive, 2);
    int sum = 0;
    for (Counted* c : items) sum += c ? c->itsValue : 0;
    EXPECT_EQ(sum, 4);

    XPtrVector<Counted> moved(std::move(items));
    EXPECT_TRUE(items.empty());
    EXPECT_EQ(moved.size(), 2u);
    XPtrVector<Counted> target;
    target.push_back(new Counted(5));
    target = std::move(moved);  // the old content of the target goes
    EXPECT_EQ(Counted::sLive, 2);
    EXPECT_THROW(target.at(5), XInternalError);
  }
  EXPECT_EQ(Counted::sLive, 0);
  static_assert(!std::is_copy_constructible_v<XPtrVector<Counted>>);
}

TEST(XRefPtr, CountsAndDeletesAtZero) {
  {
    XRefPtr<Shared> a(new Shared());
    EXPECT_EQ(a->GetRefCount(), 1u);
    XRefPtr<Shared> b = a;
    EXPECT_EQ(a->GetRefCount(), 2u);
    XRefPtr<Shared> c = std::move(b);
    EXPECT_FALSE(b);
    EXPECT_EQ(a->GetRefCount(), 2u);
    c = c;  // self-assignment keeps it alive
    a.reset(a.get());
    EXPECT_EQ(a->GetRefCount(), 2u);
    c.reset();
    EXPECT_EQ(a->GetRefCount(), 1u);
    XRefPtr<const Shared> readOnly(a);
    EXPECT_EQ(a->GetRefCount(), 2u);
    a = XRefPtr<Shared>(new SharedChild());
    EXPECT_EQ(Shared::sLive, 2);
    readOnly = nullptr;
    EXPECT_EQ(Shared::sLive, 1);
  }
  EXPECT_EQ(Shared::sLive, 0);

  XRefPtr<Shared> shared = MakeRefPtr<Shared>();
  Shared* raw = shared.get();
  raw->AddRef();
  shared.reset();
  EXPECT_EQ(Shared::sLive, 1);
  raw->ReleaseRef();
  EXPECT_EQ(Shared::sLive, 0);
}

TEST(XRange, EndsContainmentSectAndUnion) {
  XRange r(1, 5);  // 1..5
  EXPECT_EQ(r.GetEnd(), 6);
  EXPECT_TRUE(r.Contains(1) && r.Contains(5) && r.Contains(r));
  EXPECT_FALSE(r.Contains(6) || r.Contains(0) || XRange(1, 0).Contains(1));

  EXPECT_EQ(r.Sect(XRange(3, 10)), XRange(3, 3));
  // Disjoint: empty, on the near end of the other.
  EXPECT_EQ(XRange(0, 2).Sect(XRange(10, 5)), XRange(10, 0));
  EXPECT_EQ(XRange(10, 5).Sect(XRange(0, 2)), XRange(2, 0));
  EXPECT_FALSE(XRange(0, 2).Overlaps(XRange(2, 2)));
  EXPECT_TRUE(XRange(0, 3).Overlaps(XRange(2, 2)));

  EXPECT_EQ(XRange(0, 2).Union(XRange(10, 5)), XRange(0, 15));
  EXPECT_EQ(XRange(4, 2).Union(XRange(100, 0)), XRange(4, 2));  // empty adds nothing
  EXPECT_EQ(XRange(4, 0).Union(XRange(7, 1)), XRange(7, 1));

  // The end does not overflow at the top of the 32-bit range.
  XRange top(INT32_MAX, 10);
  EXPECT_TRUE(top.Contains(SInt64(INT32_MAX) + 9));
  EXPECT_EQ(XRange(INT32_MIN, UINT32_MAX).Union(top).GetLength(), UINT32_MAX);
}

TEST(XTime, ArithmeticAndText) {
  XTime t(XTime::kOneDay + 250);
  EXPECT_EQ((t + XTime::kOneSecond) - t, XTime::kOneSecond);
  EXPECT_EQ(t.ToISO8601(), "1970-01-02T00:00:00.000250Z");
  EXPECT_EQ(XTime(-1).ToISO8601(), "1969-12-31T23:59:59.999999Z");
}

TEST(XTimer, IntervalAndStop) {
  EXPECT_FALSE(XTimer(1000 * 3600, 0).HasElapsed());
  EXPECT_TRUE(XTimer(0, 0).HasElapsed());
  XTimer timer;
  timer.Stop();
  UInt64 frozen = timer.GetElapsedMicroseconds();
  std::this_thread::yield();
  EXPECT_EQ(timer.GetElapsedMicroseconds(), frozen);
}

TEST(XResourceTracker, CountsByKindAcrossThreads) {
  XResourceTracker& tracker = XResourceTracker::GetTracker();
  EXPECT_EQ(&tracker, &XResourceTracker::GetTracker());
  const char* kind = "TestVolume";
  SInt64 start = tracker.GetCount(kind);
  std::string sameText = kind;  // kinds compare by text, not by address
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&] {
      for (int i = 0; i < 1000; ++i) tracker.Add(sameText.c_str());
      for (int i = 0; i < 500; ++i) tracker.Remove(kind);
    });
  for (auto& t : threads) t.join();
  EXPECT_EQ(tracker.GetCount(kind), start + 2000);
  EXPECT_EQ(tracker.GetAllCounts().at(kind), start + 2000);
  EXPECT_EQ(tracker.GetCount("NeverSeen"), 0);
}
