// An open libtiff handle whose errors and warnings stay with it: libtiff's
// messages are kept (never printed) and turned into XException objects that
// name the file. Reading comes from a file or from memory.
#pragma once

#include <tiffio.h>

#include <memory>

#include "core/XException.h"
#include "core/XFile.h"
#include "core/XTypes.h"

namespace mirelan {

class XTIFFHandle {
 public:
  // inMode as for TIFFOpen: "r", "w", "w8" (BigTIFF). Throws 1003 when the
  // system refuses the file and 1020 when it is no TIFF file. Messages name
  // inShownName when given (the final name of a file written under another).
  XTIFFHandle(const XFileSpec& inFile, const char* inMode, const XString& inShownName = XString());
  // Reads a TIFF file held in memory, which must outlive the handle.
  XTIFFHandle(const void* inData, UInt64 inBytes, const XString& inName);
  ~XTIFFHandle();
  XTIFFHandle(const XTIFFHandle&) = delete;
  XTIFFHandle& operator=(const XTIFFHandle&) = delete;

  TIFF* Get() const { return itsTIFF; }
  const XString& GetName() const { return itsName; }
  // Bytes of the whole file: the bound of what its pages can hold.
  UInt64 GetFileSize() const { return itsFileSize; }
  // Reads raw bytes of the file, for planes that lie behind the last page.
  void ReadRaw(UInt64 inOffset, void* outBuffer, UInt64 inBytes) const;

  // Throws inNumber with the file's name, inWhat and libtiff's last message.
  [[noreturn]] void Fail(SInt32 inNumber, const XString& inWhat) const;
  // Fails with 1020 unless inResult is positive (libtiff's success).
  void Check(int inResult, const char* inWhat) const;

  struct XState;

 private:
  TIFF* itsTIFF = nullptr;
  XString itsName;
  UInt64 itsFileSize = 0;
  std::unique_ptr<XState> itsState;
};

}  // namespace mirelan
