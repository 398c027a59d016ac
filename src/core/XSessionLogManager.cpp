#include "core/XSessionLogManager.h"

#include <atomic>

#include "core/XException.h"

namespace mirelan {

namespace {

std::atomic<XSessionLogManager*> sManager{nullptr};

}  // namespace

XSessionLogManager::XSessionLogManager(Sink inSink) : itsSink(std::move(inSink)) {
  XSessionLogManager* expected = nullptr;
  XAssert(sManager.compare_exchange_strong(expected, this));
}

XSessionLogManager::~XSessionLogManager() {
  XSessionLogManager* expected = this;
  sManager.compare_exchange_strong(expected, nullptr);
}

XSessionLogManager* XSessionLogManager::GetManager() { return sManager.load(); }

void XSessionLogManager::AddEntry(const XSessionLogEntry& inEntry) {
  std::lock_guard<std::mutex> guard(itsMutex);
  itsEntries.push_back(inEntry);
  if (itsSink) itsSink(inEntry);
}

XVector<XSessionLogEntry> XSessionLogManager::GetEntries() const {
  std::lock_guard<std::mutex> guard(itsMutex);
  return itsEntries;
}

void XSessionLogManager::ClearEntries() {
  std::lock_guard<std::mutex> guard(itsMutex);
  itsEntries.clear();
}

}  // namespace mirelan
