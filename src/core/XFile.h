// File names and plain files on the operating system.
#pragma once

#include "core/XExport.h"
#include "core/XTypes.h"

namespace mirelan {

// What tells one state of a file from another: the file itself (device and
// inode), its size and the time of its last change, in nanoseconds.
struct XFileStamp {
  UInt64 device = 0;
  UInt64 inode = 0;
  UInt64 size = 0;
  SInt64 modified = 0;
  bool operator==(const XFileStamp& inOther) const {
    return device == inOther.device && inode == inOther.inode && size == inOther.size &&
           modified == inOther.modified;
  }
  bool operator!=(const XFileStamp& inOther) const { return !(*this == inOther); }
};

class MIRELAN_EXPORT XFileSpec {
 public:
  XFileSpec() = default;
  XFileSpec(XString inPath) : itsPath(std::move(inPath)) {}  // NOLINT: paths convert freely
  XFileSpec(const char* inPath) : itsPath(inPath) {}         // NOLINT

  const XString& GetPath() const { return itsPath; }
  XString GetName() const;       // last component
  XString GetExtension() const;  // without the dot, empty if none
  XFileSpec GetParent() const;
  XFileSpec operator/(const XString& inChild) const;
  bool Exists() const;
  // The stamp of the file the path names now; false when there is none.
  bool GetStamp(XFileStamp& outStamp) const;
  bool IsEmpty() const { return itsPath.empty(); }
  bool operator==(const XFileSpec& inOther) const { return itsPath == inOther.itsPath; }

 private:
  XString itsPath;
};

enum XFileMode : UInt8 { kReadOnly = 0, kReadWrite = 1, kCreateReadWrite = 2 };

// An open file. Failures throw XException 1003 with the path and the system's reason.
class MIRELAN_EXPORT XFile {
 public:
  XFile() = default;
  XFile(const XFileSpec& inSpec, XFileMode inMode) { Open(inSpec, inMode); }
  ~XFile();
  XFile(const XFile&) = delete;
  XFile& operator=(const XFile&) = delete;

  // kCreateReadWrite creates the file or empties an existing one.
  void Open(const XFileSpec& inSpec, XFileMode inMode);
  void Close();
  bool IsOpen() const { return itsDescriptor >= 0; }
  const XFileSpec& GetSpec() const { return itsSpec; }
  XFileMode GetMode() const { return itsMode; }

  // Reads at most inBytes at inOffset; returns the count read (short at the end).
  UInt64 ReadAt(UInt64 inOffset, void* outBuffer, UInt64 inBytes) const;
  void WriteAt(UInt64 inOffset, const void* inBuffer, UInt64 inBytes);
  UInt64 GetSize() const;
  XFileStamp GetStamp() const;
  void SetSize(UInt64 inSize);
  int GetDescriptor() const { return itsDescriptor; }

 private:
  [[noreturn]] void Fail(const char* inWhat) const;

  XFileSpec itsSpec;
  XFileMode itsMode = kReadOnly;
  int itsDescriptor = -1;
};

}  // namespace mirelan
