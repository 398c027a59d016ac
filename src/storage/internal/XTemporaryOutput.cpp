#include "storage/internal/XTemporaryOutput.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "core/XException.h"

namespace mirelan {

XTemporaryOutput::XTemporaryOutput(const XFileSpec& inTarget)
    : itsTarget(inTarget),
      itsTemporary(inTarget.GetParent() / ("." + inTarget.GetName() + ".part-" + std::to_string(::getpid()))) {}

XTemporaryOutput::~XTemporaryOutput() {
  if (!itsCommitted) std::remove(itsTemporary.GetPath().c_str());
}

void XTemporaryOutput::Commit() {
  if (std::rename(itsTemporary.GetPath().c_str(), itsTarget.GetPath().c_str()) != 0)
    throw XException(kErrFile, itsTarget.GetPath() + ": cannot be written: " + std::strerror(errno));
  itsCommitted = true;
}

}  // namespace mirelan
