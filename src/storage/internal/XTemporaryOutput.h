// An output file that appears under its name only when it is complete: work
// goes to a hidden name beside it, Commit renames, and a destructor without a
// commit removes the partial file.
#pragma once

#include "core/XFile.h"

namespace mirelan {

class XTemporaryOutput {
 public:
  explicit XTemporaryOutput(const XFileSpec& inTarget);
  ~XTemporaryOutput();
  XTemporaryOutput(const XTemporaryOutput&) = delete;
  XTemporaryOutput& operator=(const XTemporaryOutput&) = delete;

  const XFileSpec& GetTemporary() const { return itsTemporary; }
  // Throws XException 1003 when the rename fails.
  void Commit();

 private:
  XFileSpec itsTarget;
  XFileSpec itsTemporary;
  bool itsCommitted = false;
};

}  // namespace mirelan
