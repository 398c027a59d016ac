// Thin names over the standard containers, and a vector that owns its pointers.
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <set>
#include <tuple>
#include <utility>
#include <vector>

#include "core/XException.h"
#include "core/XExport.h"

namespace mirelan {

template <class T>
using XVector = std::vector<T>;

template <class T, class Compare = std::less<T>>
using XSet = std::set<T, Compare>;

template <class K, class V, class Compare = std::less<K>>
using XMap = std::map<K, V, Compare>;

// A pair with a third member; compares lexicographically like std::pair.
template <class A, class B, class C>
struct MIRELAN_EXPORT XTriplet {
  A first;
  B second;
  C third;

  constexpr XTriplet() : first(), second(), third() {}
  constexpr XTriplet(const A& inFirst, const B& inSecond, const C& inThird)
      : first(inFirst), second(inSecond), third(inThird) {}

  friend constexpr bool operator==(const XTriplet& inA, const XTriplet& inB) {
    return inA.first == inB.first && inA.second == inB.second && inA.third == inB.third;
  }
  friend constexpr bool operator!=(const XTriplet& inA, const XTriplet& inB) { return !(inA == inB); }
  friend constexpr bool operator<(const XTriplet& inA, const XTriplet& inB) {
    return std::tie(inA.first, inA.second, inA.third) < std::tie(inB.first, inB.second, inB.third);
  }
  friend constexpr bool operator>(const XTriplet& inA, const XTriplet& inB) { return inB < inA; }
  friend constexpr bool operator<=(const XTriplet& inA, const XTriplet& inB) { return !(inB < inA); }
  friend constexpr bool operator>=(const XTriplet& inA, const XTriplet& inB) { return !(inA < inB); }
};

template <class A, class B, class C>
constexpr XTriplet<A, B, C> MakeTriplet(const A& inFirst, const B& inSecond, const C& inThird) {
  return XTriplet<A, B, C>(inFirst, inSecond, inThird);
}

// A vector of pointers that owns what they point to: removing an entry, clearing
// or destroying the vector deletes the objects. Entries may be null. Move-only,
// since two owners of one object would delete it twice. Iteration yields the raw
// pointers; Release hands an object back to the caller.
template <class T>
class MIRELAN_EXPORT XPtrVector {
 public:
  using value_type = T*;
  using size_type = std::size_t;
  using iterator = typename std::vector<T*>::const_iterator;
  using const_iterator = iterator;

  XPtrVector() = default;
  XPtrVector(const XPtrVector&) = delete;
  XPtrVector& operator=(const XPtrVector&) = delete;
  XPtrVector(XPtrVector&& inOther) noexcept : itsItems(std::move(inOther.itsItems)) {
    inOther.itsItems.clear();
  }
  XPtrVector& operator=(XPtrVector&& inOther) noexcept {
    if (this != &inOther) {
      clear();
      itsItems.swap(inOther.itsItems);
    }
    return *this;
  }
  ~XPtrVector() { clear(); }

  size_type size() const { return itsItems.size(); }
  bool empty() const { return itsItems.empty(); }
  void reserve(size_type inCount) { itsItems.reserve(inCount); }

  // Takes ownership. If growing the vector fails, the object is deleted so that it does not leak.
  void push_back(T* inItem) {
    std::unique_ptr<T> guard(inItem);
    itsItems.push_back(inItem);
    guard.release();
  }
  void push_back(std::unique_ptr<T> inItem) {
    itsItems.push_back(inItem.get());
    inItem.release();
  }
  template <class... Args>
  T* emplace_back(Args&&... inArgs) {
    T* item = new T(std::forward<Args>(inArgs)...);
    push_back(item);
    return item;
  }

  T* operator[](size_type inIndex) const { return itsItems[inIndex]; }
  T* at(size_type inIndex) const {
    XAssert(inIndex < itsItems.size());
    return itsItems[inIndex];
  }
  T* front() const { return itsItems.front(); }
  T* back() const { return itsItems.back(); }

  iterator begin() const { return itsItems.begin(); }
  iterator end() const { return itsItems.end(); }

  // Deletes the old object at the index and owns the new one.
  void Replace(size_type inIndex, T* inItem) {
    XAssert(inIndex < itsItems.size());
    T* old = itsItems[inIndex];
    itsItems[inIndex] = inItem;
    delete old;
  }

  // Removes the entry without deleting its object, which the caller now owns.
  T* Release(size_type inIndex) {
    XAssert(inIndex < itsItems.size());
    T* item = itsItems[inIndex];
    itsItems.erase(itsItems.begin() + static_cast<std::ptrdiff_t>(inIndex));
    return item;
  }
  // Gives up every object; the vector is left empty.
  std::vector<T*> ReleaseAll() {
    std::vector<T*> items;
    items.swap(itsItems);
    return items;
  }

  void erase(size_type inIndex) { delete Release(inIndex); }
  iterator erase(iterator inPosition) {
    size_type index = static_cast<size_type>(inPosition - itsItems.cbegin());
    erase(index);
    return itsItems.cbegin() + static_cast<std::ptrdiff_t>(index);
  }
  void pop_back() {
    XAssert(!itsItems.empty());
    delete itsItems.back();
    itsItems.pop_back();
  }
  void clear() {
    // Detach first: a destructor that looks at this vector must not see dead pointers.
    std::vector<T*> items;
    items.swap(itsItems);
    for (T* item : items) delete item;
  }
  void swap(XPtrVector& inOther) noexcept { itsItems.swap(inOther.itsItems); }

 private:
  std::vector<T*> itsItems;
};

}  // namespace mirelan
