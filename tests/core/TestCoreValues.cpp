// The small value types and containers of the core.
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "core/XContainers.h"
#include "core/XRange.h"
#include "core/XRefCountable.h"
#include "core/XResourceTracker.h"
#include "core/XTime.h"

using namespace mirelan;

namespace {

// Counts live instances so that ownership mistakes show as leaks or double deletes.
struct Counted {
  explicit Counted(int inValue = 0) : itsValue(inValue) { ++sLive; }
  virtual ~Counted() { --sLive; }
  int itsValue;
  static int sLive;
};
int Counted::sLive = 0;

struct Shared : XRefCountable {
  Shared() { ++sLive; }
  ~Shared() override { --sLive; }
  static int sLive;
};
int Shared::sLive = 0;

}  // namespace

TEST(XPtrVector, OwnsItsObjects) {
  {
    XPtrVector<Counted> items;
    items.push_back(new Counted(1));
    items.push_back(std::make_unique<Counted>(2));
    items.emplace_back(3);
    items.push_back(nullptr);
    EXPECT_EQ(Counted::sLive, 3);
    items.erase(size_t(0));  // deletes
    EXPECT_EQ(Counted::sLive, 2);
    EXPECT_EQ(items[0]->itsValue, 2);
    std::unique_ptr<Counted> released(items.Release(0));  // gives up ownership
    items.Replace(0, new Counted(4));                      // deletes the 3
    EXPECT_EQ(Counted::sLive, 2);
    EXPECT_EQ(items.size(), 2u);

    XPtrVector<Counted> moved(std::move(items));
    EXPECT_TRUE(items.empty());
    XPtrVector<Counted> target;
    target.push_back(new Counted(5));
    target = std::move(moved);  // the old content of the target goes
    EXPECT_EQ(Counted::sLive, 2);
    EXPECT_EQ(target[0]->itsValue, 4);
    EXPECT_THROW(target.at(5), XInternalError);
  }
  EXPECT_EQ(Counted::sLive, 0);
  static_assert(!std::is_copy_constructible_v<XPtrVector<Counted>>);
}

TEST(XRefPtr, CountsAndDeletesAtZero) {
  {
    XRefPtr<Shared> a(new Shared());
    XRefPtr<Shared> b = a;
    XRefPtr<Shared> c = std::move(b);
    EXPECT_FALSE(b);
    XRefPtr<Shared>& same = c;
    c = same;  // self-assignment keeps it alive
    a.reset(a.get());
    EXPECT_EQ(a->GetRefCount(), 2u);
    c.reset();
    XRefPtr<const Shared> readOnly(a);
    a = XRefPtr<Shared>(new Shared());
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

TEST(XTime, TextAroundTheEpoch) {
  EXPECT_EQ(XTime(XTime::kOneDay + 250).ToISO8601(), "1970-01-02T00:00:00.000250Z");
  EXPECT_EQ(XTime(-1).ToISO8601(), "1969-12-31T23:59:59.999999Z");
}

TEST(XResourceTracker, CountsByKindAcrossThreads) {
  XResourceTracker& tracker = XResourceTracker::GetTracker();
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
