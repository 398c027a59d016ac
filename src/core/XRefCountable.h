// Intrusive reference counting: the count lives in the object.
#pragma once

#include <atomic>
#include <cstddef>
#include <type_traits>
#include <utility>

#include "core/XExport.h"
#include "core/XTypes.h"

namespace mirelan {

// Base of objects shared through XRefPtr. The count starts at zero: the first
// XRefPtr (or AddRef) takes it to one, and the ReleaseRef that brings it back
// to zero deletes the object, so it must have been made with new. Counting is
// atomic; the object itself is not made thread-safe by it. Copying an object
// does not copy its count: the copy is a new object with no holders.
class MIRELAN_EXPORT XRefCountable {
 public:
  XRefCountable() noexcept : itsRefCount(0) {}
  XRefCountable(const XRefCountable&) noexcept : itsRefCount(0) {}
  XRefCountable& operator=(const XRefCountable&) noexcept { return *this; }
  virtual ~XRefCountable();

  void AddRef() const noexcept { itsRefCount.fetch_add(1, std::memory_order_relaxed); }
  void ReleaseRef() const;
  UInt32 GetRefCount() const noexcept { return itsRefCount.load(std::memory_order_acquire); }

 private:
  mutable std::atomic<UInt32> itsRefCount;
};

// The untyped part of XRefPtr: holds one reference on an XRefCountable.
class MIRELAN_EXPORT XRefPtrBase {
 public:
  explicit operator bool() const noexcept { return itsObject != nullptr; }

 protected:
  XRefPtrBase() noexcept : itsObject(nullptr) {}
  explicit XRefPtrBase(const XRefCountable* inObject) noexcept : itsObject(inObject) {
    if (itsObject) itsObject->AddRef();
  }
  XRefPtrBase(const XRefPtrBase& inOther) noexcept : XRefPtrBase(inOther.itsObject) {}
  XRefPtrBase(XRefPtrBase&& inOther) noexcept : itsObject(inOther.itsObject) {
    inOther.itsObject = nullptr;
  }
  ~XRefPtrBase() { ResetBase(nullptr); }

  // Takes a reference on the new object before dropping the old one, so that
  // resetting to the object already held is safe.
  void ResetBase(const XRefCountable* inObject);
  void SwapBase(XRefPtrBase& inOther) noexcept { std::swap(itsObject, inOther.itsObject); }

  const XRefCountable* itsObject;
};

template <class T>
class MIRELAN_EXPORT XRefPtr : public XRefPtrBase {
 public:
  XRefPtr() noexcept = default;
  XRefPtr(std::nullptr_t) noexcept {}
  explicit XRefPtr(T* inObject) noexcept : XRefPtrBase(inObject) {}
  XRefPtr(const XRefPtr& inOther) noexcept = default;
  XRefPtr(XRefPtr&& inOther) noexcept = default;
  template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
  XRefPtr(const XRefPtr<U>& inOther) noexcept : XRefPtrBase(inOther.get()) {}

  XRefPtr& operator=(const XRefPtr& inOther) {
    ResetBase(inOther.itsObject);
    return *this;
  }
  XRefPtr& operator=(XRefPtr&& inOther) {
    XRefPtr(std::move(inOther)).swap(*this);
    return *this;
  }

  void reset(T* inObject = nullptr) { ResetBase(inObject); }
  void swap(XRefPtr& inOther) noexcept { SwapBase(inOther); }

  T* get() const noexcept {
    return const_cast<T*>(static_cast<const T*>(itsObject));
  }
  T* operator->() const noexcept { return get(); }
  T& operator*() const noexcept { return *get(); }

  friend bool operator==(const XRefPtr& inA, const XRefPtr& inB) { return inA.itsObject == inB.itsObject; }
  friend bool operator!=(const XRefPtr& inA, const XRefPtr& inB) { return inA.itsObject != inB.itsObject; }
};

template <class T, class... Args>
XRefPtr<T> MakeRefPtr(Args&&... inArgs) {
  return XRefPtr<T>(new T(std::forward<Args>(inArgs)...));
}

}  // namespace mirelan
