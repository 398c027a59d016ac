#include "core/XStorable.h"

#include "core/XClassRegistry.h"
#include "core/XStream.h"

namespace mirelan {

XVersion XStorable::ReadClassVersion(XStream& inStream, const XVersion& inDefault) {
  if (inDefault.IsNull()) return inStream.ReadVersion();
  UInt8 bytes[4];
  if (inStream.PeekBuffer8(bytes, 4) == 4) {
    UInt64 position = inStream.GetPosition();
    XVersion next = inStream.ReadVersion();
    if (next.GetClassID() && XClassRegistry::IsRegistered(next.GetClassID()) && next.IsA(inDefault))
      return next;
    inStream.SeekTo(position);
  }
  XVersion creating = inStream.GetLastClassCreated();
  return creating.IsNull() ? inDefault : creating;
}

void XStorable::CheckClassVersion(const XVersion& inFound, const XVersion& inExpected) {
  if (!inFound.IsA(inExpected))
    throw XException(kErrWrongClass, "expected class " + std::to_string(inExpected.GetClassID()) +
                                         ", found " + std::to_string(inFound.GetClassID()));
  if (inFound.GetClassVersion() > inExpected.GetClassVersion())
    throw XException(kErrNewerVersion, "class " + std::to_string(inFound.GetClassID()) +
                                           " version " + std::to_string(inFound.GetClassVersion()));
}

XVersion XStorable::ReadCheckedClassVersion(XStream& inStream, const XVersion& inExpected) {
  XVersion found = inStream.ReadVersion();
  CheckClassVersion(found, inExpected);
  return found;
}

}  // namespace mirelan
