// A data fetcher that brings a lockable's data from a file on its first lock.
#pragma once

#include <mutex>

#include "core/XExport.h"
#include "core/XFile.h"
#include "core/XLockable.h"

namespace mirelan {

// Keeps what it read for later locks (after a purge) and reads the file at
// most once; a derived class says where its data lies and how to read it.
// The file is opened for each read and closed again, so that no file stays
// open between fetches. When the file has gone, or is no longer the file it
// was when the fetcher was made (another file, size or change time), a read
// throws XException 1010 rather than hand out other data.
class MIRELAN_EXPORT XFileDataFetcher : public XDataFetcher {
 public:
  explicit XFileDataFetcher(const XFileSpec& inSpec);
  ~XFileDataFetcher() override;

  // The cache, else the file. Fetches through one fetcher never overlap.
  bool LoadDataSelf(XLockable& ioTarget) override;
  // Hands what was read before to ioTarget; false when nothing is kept.
  virtual bool LoadDataFromCache(XLockable& ioTarget) = 0;
  // Reads the data from the file and hands it to ioTarget.
  virtual bool LoadFromFile(const XFileSpec& inSpec, XLockable& ioTarget) = 0;

  const XFileSpec& GetFileSpec() const { return itsSpec; }

 protected:
  // Opens the file for reading; 1010 when it is gone or has changed.
  void OpenUnchangedFile(XFile& outFile) const;

 private:
  XFileSpec itsSpec;
  XFileStamp itsStamp;
  bool itsStamped;
  std::mutex itsMutex;
};

}  // namespace mirelan
