#include "core/XFileDataFetcher.h"

#include "core/XException.h"

namespace mirelan {

XFileDataFetcher::XFileDataFetcher(const XFileSpec& inSpec)
    : itsSpec(inSpec), itsStamped(inSpec.GetStamp(itsStamp)) {}

XFileDataFetcher::~XFileDataFetcher() = default;

bool XFileDataFetcher::LoadDataSelf(XLockable& ioTarget) {
  std::lock_guard<std::mutex> guard(itsMutex);
  if (LoadDataFromCache(ioTarget)) return true;
  return LoadFromFile(itsSpec, ioTarget);
}

void XFileDataFetcher::OpenUnchangedFile(XFile& outFile) const {
  const XString& path = itsSpec.GetPath();
  if (!itsSpec.Exists()) throw XException(kErrFileChanged, "the file " + path + " has gone since it was opened");
  outFile.Open(itsSpec, kReadOnly);
  // The stamp of the open file, not of the path, so that a file put in the
  // path's place after this test is caught too.
  if (!itsStamped || outFile.GetStamp() != itsStamp) {
    outFile.Close();
    throw XException(kErrFileChanged, "the file " + path + " has changed since it was opened");
  }
}

}  // namespace mirelan
