// Reading an object that a stored form requires at a given place.
#pragma once

#include <memory>

#include "core/XException.h"
#include "core/XStream.h"

namespace mirelan {

namespace XObjectReading {

// Looks at the next object word before anything is made, so that a crafted
// stream cannot nest unexpected objects (a collection inside a ROI inside a
// collection ...) until the stack runs out. A null word or an object of
// another class gives 1005.
template <class T>
std::unique_ptr<T> ReadRequired(XStream& inStream, const XVersion& inClass, const char* inWhat,
                                XStorable::XOptions inOptions = XStorable::kReadAll) {
  const UInt64 position = inStream.GetPosition();
  const XVersion next = inStream.ReadVersion();
  inStream.SeekTo(position);
  if (next.IsNull() || !next.IsA(inClass)) throw XException(kErrWrongClass, inWhat);
  std::unique_ptr<T> object = inStream.ReadObjectAs<T>(inOptions);
  if (!object) throw XException(kErrWrongClass, inWhat);
  return object;
}

}  // namespace XObjectReading

}  // namespace mirelan
