#include "core/XResourceTracker.h"

#include "core/XException.h"

namespace mirelan {

XResourceTracker& XResourceTracker::GetTracker() {
  static XResourceTracker* sTracker = new XResourceTracker();
  return *sTracker;
}

void XResourceTracker::Change(const char* inKind, SInt64 inDelta) {
  XAssert(inKind != nullptr);
  std::string_view kind(inKind);
  std::lock_guard<std::mutex> guard(itsMutex);
  auto it = itsCounts.find(kind);
  if (it == itsCounts.end()) it = itsCounts.emplace(XString(kind), 0).first;
  it->second += inDelta;
}

void XResourceTracker::Add(const char* inKind) { Change(inKind, 1); }

void XResourceTracker::Remove(const char* inKind) { Change(inKind, -1); }

SInt64 XResourceTracker::GetCount(const char* inKind) const {
  XAssert(inKind != nullptr);
  std::lock_guard<std::mutex> guard(itsMutex);
  auto it = itsCounts.find(std::string_view(inKind));
  return it == itsCounts.end() ? 0 : it->second;
}

std::map<XString, SInt64> XResourceTracker::GetAllCounts() const {
  std::lock_guard<std::mutex> guard(itsMutex);
  return std::map<XString, SInt64>(itsCounts.begin(), itsCounts.end());
}

}  // namespace mirelan
