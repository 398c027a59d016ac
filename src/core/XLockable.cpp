#include "core/XLockable.h"

namespace mirelan {

XLockable::XLockable(const XLockable& inOther) { SetDataFetcher(inOther.itsFetcher); }

XLockable& XLockable::operator=(const XLockable& inOther) {
  if (this != &inOther) SetDataFetcher(inOther.itsFetcher);
  return *this;
}

XLockable::~XLockable() {
  if (itsFetcher) itsFetcher->RemoveClient();
}

void XLockable::SetDataFetcher(XDataFetcher* inFetcher) {
  if (inFetcher == itsFetcher) return;
  if (inFetcher) inFetcher->AddClient();
  XDataFetcher* old = itsFetcher;
  itsFetcher = inFetcher;
  if (old) old->RemoveClient();
}

bool XLockable::FetchData() { return itsFetcher && itsFetcher->LoadDataSelf(*this); }

}  // namespace mirelan
