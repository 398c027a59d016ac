// Publish and subscribe between objects, delivered at once or through a queue
// that the host's main thread drains.
#pragma once

#include <functional>
#include <vector>

#include "core/XExport.h"
#include "core/XTypes.h"

namespace mirelan {

class XSpeaker;
class XListener;

enum XWhen : SInt32 {
  kWhenImmediate = 0,  // deliver now, on the speaking thread
  kWhenQueued = 1,     // copy into the process-wide queue; delivered by ProcessAllNextEventMessages
};

// A message names the speaker it comes from. Derived messages carry their own
// data and must override Clone (a queued message is a clone) and, to take
// part in coalescing, operator== and ShouldCoalesceQueueMessage.
class MIRELAN_EXPORT XMessage {
 public:
  explicit XMessage(XSpeaker* inSpeaker = nullptr) : itsSpeaker(inSpeaker) {}
  XMessage(const XMessage&) = default;
  XMessage& operator=(const XMessage&) = default;
  virtual ~XMessage();

  XSpeaker* GetSpeaker() const { return itsSpeaker; }
  void SetSpeaker(XSpeaker* inSpeaker) { itsSpeaker = inSpeaker; }

  virtual XMessage* Clone() const;
  // Same dynamic type and speaker; derived classes add their data.
  virtual bool operator==(const XMessage& inOther) const;
  bool operator!=(const XMessage& inOther) const { return !(*this == inOther); }

  // Asked of a message being queued about each message of the same speaker
  // still waiting: true replaces the waiting one with this one, in its place
  // in the queue. The base never coalesces; a typical override is
  // `return *this == inQueued;` for "something changed" notices.
  virtual bool ShouldCoalesceQueueMessage(const XMessage& inQueued) const;

 private:
  XSpeaker* itsSpeaker;
};

// Receives the messages of the speakers it subscribes to. Destroying either
// side ends the subscription. UnsubscribeAll (and so the destructor) waits
// until no other thread is inside this listener's HandleMessage. A listener
// that can be called on another thread than the one destroying it must call
// UnsubscribeAll in its own destructor, before its derived part is gone.
class MIRELAN_EXPORT XListener {
 public:
  XListener() = default;
  // A copy starts with no subscriptions.
  XListener(const XListener&) : XListener() {}
  XListener& operator=(const XListener&) { return *this; }
  virtual ~XListener();

  void Subscribe(XSpeaker& inSpeaker);
  void Unsubscribe(XSpeaker& inSpeaker);
  // Also waits for handlers of this listener running on other threads.
  void UnsubscribeAll();
  bool IsSubscribed(const XSpeaker& inSpeaker) const;

  virtual void HandleMessage(const XMessage& inMessage) = 0;

 private:
  friend class XSpeaker;
  friend struct XMessageCentre;
  std::vector<XSpeaker*> itsSpeakers;  // guarded by the process-wide message lock
  [[maybe_unused]] SInt32 itsActiveCalls = 0;  // kept for the stated layout; deliveries are counted centrally
};

// Speaks messages to its listeners, in the order they subscribed. Handlers
// may speak, subscribe, unsubscribe and destroy listeners and speakers: a
// listener unsubscribed during a delivery gets nothing more from it. An
// exception out of a handler ends that delivery and goes to the caller.
class MIRELAN_EXPORT XSpeaker {
 public:
  XSpeaker() = default;
  // A copy starts with no listeners and is not muted.
  XSpeaker(const XSpeaker&) : XSpeaker() {}
  XSpeaker& operator=(const XSpeaker&) { return *this; }
  // Ends all subscriptions and drops this speaker's queued messages.
  virtual ~XSpeaker();

  void SpeakMessage(const XMessage& inMessage, XWhen inWhen = kWhenImmediate);
  void PostXMessage(const XMessage& inMessage) { SpeakMessage(inMessage, kWhenQueued); }

  // Drops this speaker's messages that wait in the queue.
  void DiscardQueuedMessages();

  // A muted speaker drops what it speaks; messages queued before stay queued.
  void SetIsMute(bool inMute);
  bool IsMute() const;
  size_t GetListenerCount() const;

  // Delivers, on the calling thread (the host's main thread), the messages
  // queued before the call; messages queued meanwhile wait for the next call.
  static void ProcessAllNextEventMessages();
  static size_t GetQueuedMessageCount();
  // Called (on the queuing thread, outside any lock) whenever a message is
  // queued, so that a host can wake its main loop. Returns the previous one.
  static std::function<void()> SetQueueNotifier(std::function<void()> inNotifier);

 private:
  friend class XListener;
  friend struct XMessageCentre;
  std::vector<XListener*> itsListeners;  // guarded by the process-wide message lock
  bool itsMute = false;                  // likewise
};

}  // namespace mirelan
