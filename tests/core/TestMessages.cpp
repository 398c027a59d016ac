// Speakers, listeners and the message queue.
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "core/XException.h"
#include "core/XMessage.h"

using namespace mirelan;

namespace {

class ValueMessage : public XMessage {
 public:
  ValueMessage(XSpeaker* inSpeaker, int inValue, bool inCoalesce = false)
      : XMessage(inSpeaker), itsValue(inValue), itsCoalesce(inCoalesce) {}
  XMessage* Clone() const override { return new ValueMessage(*this); }
  // Coalescable messages stand for "changed": any two of them are the same news.
  bool operator==(const XMessage& inOther) const override {
    return XMessage::operator==(inOther) && itsCoalesce &&
           static_cast<const ValueMessage&>(inOther).itsCoalesce;
  }
  bool ShouldCoalesceQueueMessage(const XMessage& inQueued) const override {
    return *this == inQueued;
  }
  int itsValue;
  bool itsCoalesce;
};

class Recorder : public XListener {
 public:
  ~Recorder() override { UnsubscribeAll(); }  // before the members a handler uses go
  void HandleMessage(const XMessage& inMessage) override {
    auto& m = dynamic_cast<const ValueMessage&>(inMessage);
    itsValues.push_back(m.itsValue);
    itsThreads.push_back(std::this_thread::get_id());
    if (itsAction) itsAction(m);
  }
  std::vector<int> itsValues;
  std::vector<std::thread::id> itsThreads;
  std::function<void(const ValueMessage&)> itsAction;
};

// Every test starts and ends with an empty queue.
class XMessageTest : public ::testing::Test {
 protected:
  void SetUp() override { XSpeaker::ProcessAllNextEventMessages(); }
  void TearDown() override { XSpeaker::ProcessAllNextEventMessages(); }
};

}  // namespace

TEST_F(XMessageTest, ImmediateDeliveryInSubscriptionOrderMuteAndExceptions) {
  XSpeaker speaker;
  Recorder a, b;
  std::vector<char> order;
  a.itsAction = [&](const ValueMessage&) { order.push_back('a'); };
  b.itsAction = [&](const ValueMessage&) { order.push_back('b'); };
  b.Subscribe(speaker);
  a.Subscribe(speaker);
  a.Subscribe(speaker);  // twice counts once
  speaker.SpeakMessage(ValueMessage(&speaker, 1));
  EXPECT_EQ(order, (std::vector<char>{'b', 'a'}));

  speaker.SetIsMute(true);
  speaker.SpeakMessage(ValueMessage(&speaker, 2));
  speaker.PostXMessage(ValueMessage(&speaker, 3));
  EXPECT_EQ(XSpeaker::GetQueuedMessageCount(), 0u);
  speaker.SetIsMute(false);
  a.Unsubscribe(speaker);
  speaker.SpeakMessage(ValueMessage(&speaker, 4));
  EXPECT_EQ(a.itsValues, (std::vector<int>{1}));
  EXPECT_EQ(b.itsValues, (std::vector<int>{1, 4}));

  // A handler's exception reaches the speaker and leaves no delivery stuck.
  Recorder after;
  after.Subscribe(speaker);
  b.itsAction = [](const ValueMessage&) { throw XException(kErrGeneral); };
  EXPECT_THROW(speaker.SpeakMessage(ValueMessage(&speaker, 5)), XException);
  EXPECT_TRUE(after.itsValues.empty());
  b.itsAction = nullptr;
  speaker.SpeakMessage(ValueMessage(&speaker, 6));
  EXPECT_EQ(after.itsValues, (std::vector<int>{6}));
}

TEST_F(XMessageTest, QueuedFromWorkersDeliveredOnTheDrainingThread) {
  XSpeaker speaker;
  Recorder listener;
  listener.Subscribe(speaker);
  std::atomic<int> notified{0};  // the notifier runs on the queuing threads
  auto previous = XSpeaker::SetQueueNotifier([&] { ++notified; });

  std::vector<std::thread> workers;
  for (int w = 0; w < 3; ++w)
    workers.emplace_back([&, w] {
      for (int i = 0; i < 100; ++i) speaker.PostXMessage(ValueMessage(&speaker, w * 1000 + i));
    });
  for (auto& t : workers) t.join();
  XSpeaker::SetQueueNotifier(previous);
  EXPECT_EQ(notified, 300);
  EXPECT_TRUE(listener.itsValues.empty());  // nothing before the drain

  XSpeaker::ProcessAllNextEventMessages();
  ASSERT_EQ(listener.itsValues.size(), 300u);
  EXPECT_EQ(listener.itsThreads, std::vector<std::thread::id>(300, std::this_thread::get_id()));
  // Each worker's messages keep their order.
  std::vector<int> last(3, -1);
  for (int v : listener.itsValues) {
    EXPECT_GT(v % 1000, last[v / 1000]);
    last[v / 1000] = v % 1000;
  }
}

TEST_F(XMessageTest, QueueCoalescesInPlaceAndDefersPostsMadeDuringADrain) {
  XSpeaker speaker, other;
  Recorder listener;
  listener.Subscribe(speaker);
  listener.Subscribe(other);
  speaker.PostXMessage(ValueMessage(&speaker, 1, true));
  speaker.PostXMessage(ValueMessage(&speaker, 2));
  other.PostXMessage(ValueMessage(&other, 10, true));  // another speaker: kept
  speaker.PostXMessage(ValueMessage(&speaker, 3, true));
  EXPECT_EQ(XSpeaker::GetQueuedMessageCount(), 3u);
  XSpeaker::ProcessAllNextEventMessages();
  EXPECT_EQ(listener.itsValues, (std::vector<int>{3, 2, 10}));

  // A message posted during a drain waits for the next one.
  listener.itsAction = [&](const ValueMessage& m) {
    if (m.itsValue == 20) speaker.PostXMessage(ValueMessage(&speaker, 21));
  };
  speaker.PostXMessage(ValueMessage(&speaker, 20));
  XSpeaker::ProcessAllNextEventMessages();
  EXPECT_EQ(listener.itsValues.back(), 20);
  XSpeaker::ProcessAllNextEventMessages();
  EXPECT_EQ(listener.itsValues.back(), 21);
}

TEST_F(XMessageTest, DestroyedListenersAndSpeakersAreNeverReached) {
  XSpeaker speaker;
  Recorder survivor;
  survivor.Subscribe(speaker);
  {
    Recorder gone;
    gone.Subscribe(speaker);
    speaker.PostXMessage(ValueMessage(&speaker, 1));
  }
  auto doomed = std::make_unique<XSpeaker>();
  survivor.Subscribe(*doomed);
  doomed->PostXMessage(ValueMessage(doomed.get(), 2));
  doomed.reset();  // its queued message goes with it
  EXPECT_EQ(XSpeaker::GetQueuedMessageCount(), 1u);
  XSpeaker::ProcessAllNextEventMessages();
  EXPECT_EQ(survivor.itsValues, (std::vector<int>{1}));

  // Handlers may destroy later listeners of the same delivery, and themselves.
  auto later = std::make_unique<Recorder>();
  Recorder* self = new Recorder();
  self->Subscribe(speaker);
  later->Subscribe(speaker);
  survivor.itsAction = [&](const ValueMessage&) { later.reset(); };
  self->itsAction = [&](const ValueMessage&) { delete self; };
  speaker.SpeakMessage(ValueMessage(&speaker, 3));
  EXPECT_EQ(speaker.GetListenerCount(), 1u);

  // A handler that destroys the speaker ends that delivery.
  auto owned = std::make_unique<XSpeaker>();
  Recorder a, b;
  a.Subscribe(*owned);
  b.Subscribe(*owned);
  a.itsAction = [&](const ValueMessage&) { owned.reset(); };
  owned->PostXMessage(ValueMessage(owned.get(), 7));
  XSpeaker::ProcessAllNextEventMessages();
  EXPECT_EQ(a.itsValues, (std::vector<int>{7}));
  EXPECT_TRUE(b.itsValues.empty());
}

TEST_F(XMessageTest, ListenerDestructionWaitsForAHandlerOnAnotherThread) {
  XSpeaker speaker;
  auto listener = std::make_unique<Recorder>();
  std::atomic<bool> inHandler{false}, release{false}, handlerDone{false}, destroying{false};
  listener->itsAction = [&](const ValueMessage&) {
    inHandler = true;
    while (!release) std::this_thread::yield();
    handlerDone = true;
  };
  listener->Subscribe(speaker);
  std::thread worker([&] { speaker.SpeakMessage(ValueMessage(&speaker, 1)); });
  while (!inHandler) std::this_thread::yield();
  std::thread destroyer([&] {
    destroying = true;
    listener.reset();
    EXPECT_TRUE(handlerDone);  // not destroyed while its handler ran
  });
  while (!destroying) std::this_thread::yield();
  for (int i = 0; i < 1000; ++i) std::this_thread::yield();  // let it reach the wait
  release = true;
  worker.join();
  destroyer.join();
}
