#include "core/XCoreClasses.h"

#include "core/XClassRegistry.h"
#include "core/XMemoryHandle.h"

namespace mirelan {

void XRegisterCoreClasses() {
  XClassRegistry::RegisterClass(XMemoryHandle::GetClassVersion(), XStorable::GetClassVersion(),
                                XStreamConstructorFactory<XMemoryHandle>,
                                XVersionedReaderFactory<XMemoryHandle>,
                                XDefaultConstructorFactory<XMemoryHandle>, "XMemoryHandle");
}

}  // namespace mirelan
