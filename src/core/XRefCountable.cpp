#include "core/XRefCountable.h"

#include "core/XException.h"

namespace mirelan {

XRefCountable::~XRefCountable() = default;

void XRefCountable::ReleaseRef() const {
  UInt32 before = itsRefCount.fetch_sub(1, std::memory_order_acq_rel);
  // Releasing more than was added is a holder's bug; catch it before it frees twice.
  XAssert(before != 0);
  if (before == 1) delete this;
}

void XRefPtrBase::ResetBase(const XRefCountable* inObject) {
  if (inObject) inObject->AddRef();
  const XRefCountable* old = itsObject;
  itsObject = inObject;
  if (old) old->ReleaseRef();
}

}  // namespace mirelan
