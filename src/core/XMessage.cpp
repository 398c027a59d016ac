#include "core/XMessage.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <typeinfo>

#include "core/XException.h"

namespace mirelan {

// The process-wide state behind speakers and listeners, under one lock.
//
// A delivery is recorded while it runs, with the listeners it is still to
// reach. Unsubscribing or destroying a listener clears it from every recorded
// delivery, and destroying a speaker ends that speaker's deliveries, so a
// delivery never touches an object that has gone. The listener being called is
// recorded too, so that a listener's destructor can wait until no other thread
// is inside its HandleMessage.
struct XMessageCentre {
  struct Delivery {
    XSpeaker* speaker;
    std::vector<XListener*> targets;
    XListener* current = nullptr;
    std::thread::id thread = std::this_thread::get_id();
  };

  struct Entry {
    UInt64 sequence;
    XSpeaker* speaker;
    std::unique_ptr<XMessage> message;
  };

  std::mutex lock;
  std::condition_variable callEnded;
  std::vector<Delivery*> deliveries;
  std::deque<Entry> queue;
  UInt64 nextSequence = 0;
  std::function<void()> notifier;

  // Never destroyed: speakers and listeners that die during static destruction still find it.
  static XMessageCentre& Get() {
    static XMessageCentre* sCentre = new XMessageCentre();
    return *sCentre;
  }

  template <class T>
  static void EraseValue(std::vector<T*>& ioList, const T* inValue) {
    ioList.erase(std::remove(ioList.begin(), ioList.end(), inValue), ioList.end());
  }

  // Under the lock: drop the listener from the deliveries of one speaker, or of all (null).
  void ForgetListener(const XListener* inListener, const XSpeaker* inSpeaker) {
    for (Delivery* d : deliveries) {
      if (inSpeaker && d->speaker != inSpeaker) continue;
      std::replace(d->targets.begin(), d->targets.end(), const_cast<XListener*>(inListener),
                   static_cast<XListener*>(nullptr));
    }
  }

  // Under the lock: moves the speaker's queued messages out of the queue into
  // outTaken, for the caller to destroy once the lock is let go.
  void TakeQueued(const XSpeaker* inSpeaker, std::vector<std::unique_ptr<XMessage>>& outTaken) {
    for (auto it = queue.begin(); it != queue.end();) {
      if (it->speaker == inSpeaker) {
        outTaken.push_back(std::move(it->message));
        it = queue.erase(it);
      } else {
        ++it;
      }
    }
  }

  // Runs a delivery registered under the lock by the caller, and unregisters it.
  void Run(Delivery& ioDelivery, const XMessage& inMessage) {
    struct Unregister {
      XMessageCentre& centre;
      Delivery& delivery;
      ~Unregister() {
        {
          std::lock_guard<std::mutex> guard(centre.lock);
          delivery.current = nullptr;
          EraseValue(centre.deliveries, &delivery);
        }
        centre.callEnded.notify_all();
      }
    } unregister{*this, ioDelivery};

    for (size_t i = 0;; ++i) {
      XListener* listener = nullptr;
      {
        std::lock_guard<std::mutex> guard(lock);
        ioDelivery.current = nullptr;
        if (!ioDelivery.speaker) break;  // the speaker has gone
        while (i < ioDelivery.targets.size() && !ioDelivery.targets[i]) ++i;
        if (i == ioDelivery.targets.size()) break;
        listener = ioDelivery.targets[i];
        ioDelivery.current = listener;
      }
      callEnded.notify_all();
      listener->HandleMessage(inMessage);
    }
  }
};

// ---------------------------------------------------------------------------

XMessage::~XMessage() = default;

XMessage* XMessage::Clone() const { return new XMessage(*this); }

bool XMessage::operator==(const XMessage& inOther) const {
  return typeid(*this) == typeid(inOther) && itsSpeaker == inOther.itsSpeaker;
}

bool XMessage::ShouldCoalesceQueueMessage(const XMessage&) const { return false; }

// ---------------------------------------------------------------------------

XListener::~XListener() { UnsubscribeAll(); }

void XListener::Subscribe(XSpeaker& inSpeaker) {
  XMessageCentre& centre = XMessageCentre::Get();
  std::lock_guard<std::mutex> guard(centre.lock);
  if (std::find(itsSpeakers.begin(), itsSpeakers.end(), &inSpeaker) != itsSpeakers.end()) return;
  itsSpeakers.push_back(&inSpeaker);
  inSpeaker.itsListeners.push_back(this);
}

void XListener::Unsubscribe(XSpeaker& inSpeaker) {
  XMessageCentre& centre = XMessageCentre::Get();
  std::lock_guard<std::mutex> guard(centre.lock);
  XMessageCentre::EraseValue(itsSpeakers, &inSpeaker);
  XMessageCentre::EraseValue(inSpeaker.itsListeners, this);
  centre.ForgetListener(this, &inSpeaker);
}

void XListener::UnsubscribeAll() {
  XMessageCentre& centre = XMessageCentre::Get();
  std::unique_lock<std::mutex> lock(centre.lock);
  for (XSpeaker* speaker : itsSpeakers) XMessageCentre::EraseValue(speaker->itsListeners, this);
  itsSpeakers.clear();
  centre.ForgetListener(this, nullptr);
  // Wait out handlers of this listener on other threads, so that the caller may
  // destroy it next. A handler on this thread (the listener ends itself from
  // inside) does not touch the listener again after returning.
  const std::thread::id self = std::this_thread::get_id();
  centre.callEnded.wait(lock, [&] {
    for (const XMessageCentre::Delivery* d : centre.deliveries)
      if (d->current == this && d->thread != self) return false;
    return true;
  });
}

bool XListener::IsSubscribed(const XSpeaker& inSpeaker) const {
  XMessageCentre& centre = XMessageCentre::Get();
  std::lock_guard<std::mutex> guard(centre.lock);
  return std::find(itsSpeakers.begin(), itsSpeakers.end(), &inSpeaker) != itsSpeakers.end();
}

// ---------------------------------------------------------------------------

XSpeaker::~XSpeaker() {
  XMessageCentre& centre = XMessageCentre::Get();
  std::vector<std::unique_ptr<XMessage>> dropped;  // destroyed outside the lock
  std::lock_guard<std::mutex> guard(centre.lock);
  for (XListener* listener : itsListeners) XMessageCentre::EraseValue(listener->itsSpeakers, this);
  itsListeners.clear();
  for (XMessageCentre::Delivery* d : centre.deliveries)
    if (d->speaker == this) d->speaker = nullptr;
  centre.TakeQueued(this, dropped);
}

void XSpeaker::DiscardQueuedMessages() {
  XMessageCentre& centre = XMessageCentre::Get();
  std::vector<std::unique_ptr<XMessage>> dropped;  // destroyed outside the lock
  std::lock_guard<std::mutex> guard(centre.lock);
  centre.TakeQueued(this, dropped);
}

void XSpeaker::SpeakMessage(const XMessage& inMessage, XWhen inWhen) {
  XMessageCentre& centre = XMessageCentre::Get();
  if (inWhen == kWhenImmediate) {
    XMessageCentre::Delivery delivery;
    {
      std::lock_guard<std::mutex> guard(centre.lock);
      if (itsMute || itsListeners.empty()) return;
      delivery.speaker = this;
      delivery.targets = itsListeners;
      centre.deliveries.push_back(&delivery);
    }
    centre.Run(delivery, inMessage);
    return;
  }

  std::unique_ptr<XMessage> clone(inMessage.Clone());
  // A derived message that forgot Clone would be queued cut down to its base.
  XAssert(clone);
  const XMessage& cloned = *clone;
  XAssert(typeid(cloned) == typeid(inMessage));
  std::unique_ptr<XMessage> replaced;  // destroyed outside the lock
  std::function<void()> notifier;
  {
    std::lock_guard<std::mutex> guard(centre.lock);
    if (itsMute) return;
    for (auto it = centre.queue.rbegin(); it != centre.queue.rend(); ++it) {
      if (it->speaker == this && clone->ShouldCoalesceQueueMessage(*it->message)) {
        replaced = std::move(it->message);
        it->message = std::move(clone);
        break;
      }
    }
    if (clone) centre.queue.push_back({centre.nextSequence++, this, std::move(clone)});
    notifier = centre.notifier;
  }
  if (notifier) notifier();
}

void XSpeaker::SetIsMute(bool inMute) {
  XMessageCentre& centre = XMessageCentre::Get();
  std::lock_guard<std::mutex> guard(centre.lock);
  itsMute = inMute;
}

bool XSpeaker::IsMute() const {
  XMessageCentre& centre = XMessageCentre::Get();
  std::lock_guard<std::mutex> guard(centre.lock);
  return itsMute;
}

size_t XSpeaker::GetListenerCount() const {
  XMessageCentre& centre = XMessageCentre::Get();
  std::lock_guard<std::mutex> guard(centre.lock);
  return itsListeners.size();
}

void XSpeaker::ProcessAllNextEventMessages() {
  XMessageCentre& centre = XMessageCentre::Get();
  UInt64 limit;
  {
    std::lock_guard<std::mutex> guard(centre.lock);
    limit = centre.nextSequence;
  }
  for (;;) {
    XMessageCentre::Delivery delivery;
    std::unique_ptr<XMessage> message;
    {
      std::lock_guard<std::mutex> guard(centre.lock);
      if (centre.queue.empty() || centre.queue.front().sequence >= limit) return;
      XMessageCentre::Entry& entry = centre.queue.front();
      message = std::move(entry.message);
      delivery.speaker = entry.speaker;
      delivery.targets = entry.speaker->itsListeners;
      centre.queue.pop_front();
      centre.deliveries.push_back(&delivery);
    }
    centre.Run(delivery, *message);
  }
}

size_t XSpeaker::GetQueuedMessageCount() {
  XMessageCentre& centre = XMessageCentre::Get();
  std::lock_guard<std::mutex> guard(centre.lock);
  return centre.queue.size();
}

std::function<void()> XSpeaker::SetQueueNotifier(std::function<void()> inNotifier) {
  XMessageCentre& centre = XMessageCentre::Get();
  std::lock_guard<std::mutex> guard(centre.lock);
  std::swap(centre.notifier, inNotifier);
  return inNotifier;
}

}  // namespace mirelan
