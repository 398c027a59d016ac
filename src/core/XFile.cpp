#include "core/XFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "core/XException.h"

namespace mirelan {

XString XFileSpec::GetName() const {
  auto slash = itsPath.find_last_of('/');
  return slash == XString::npos ? itsPath : itsPath.substr(slash + 1);
}

XString XFileSpec::GetExtension() const {
  XString name = GetName();
  auto dot = name.find_last_of('.');
  return dot == XString::npos || dot == 0 ? XString() : name.substr(dot + 1);
}

XFileSpec XFileSpec::GetParent() const {
  auto slash = itsPath.find_last_of('/');
  if (slash == XString::npos) return XFileSpec(".");
  return XFileSpec(slash == 0 ? XString("/") : itsPath.substr(0, slash));
}

XFileSpec XFileSpec::operator/(const XString& inChild) const {
  if (itsPath.empty()) return XFileSpec(inChild);
  return XFileSpec(itsPath.back() == '/' ? itsPath + inChild : itsPath + "/" + inChild);
}

bool XFileSpec::Exists() const {
  struct stat info;
  return ::stat(itsPath.c_str(), &info) == 0;
}

namespace {

XFileStamp StampOf(const struct stat& inInfo) {
  XFileStamp stamp;
  stamp.device = static_cast<UInt64>(inInfo.st_dev);
  stamp.inode = static_cast<UInt64>(inInfo.st_ino);
  stamp.size = static_cast<UInt64>(inInfo.st_size);
  stamp.modified = SInt64(inInfo.st_mtim.tv_sec) * 1000000000 + SInt64(inInfo.st_mtim.tv_nsec);
  return stamp;
}

}  // namespace

bool XFileSpec::GetStamp(XFileStamp& outStamp) const {
  struct stat info;
  if (::stat(itsPath.c_str(), &info) != 0) return false;
  outStamp = StampOf(info);
  return true;
}

XFile::~XFile() { Close(); }

void XFile::Fail(const char* inWhat) const {
  throw XException(kErrFile, XString(inWhat) + " " + itsSpec.GetPath() + ": " + std::strerror(errno));
}

void XFile::Open(const XFileSpec& inSpec, XFileMode inMode) {
  Close();
  itsSpec = inSpec;
  itsMode = inMode;
  int flags = inMode == kReadOnly ? O_RDONLY : inMode == kReadWrite ? O_RDWR : O_RDWR | O_CREAT | O_TRUNC;
  itsDescriptor = ::open(inSpec.GetPath().c_str(), flags | O_CLOEXEC, 0644);
  if (itsDescriptor < 0) Fail("cannot open");
}

void XFile::Close() {
  if (itsDescriptor >= 0) ::close(itsDescriptor);
  itsDescriptor = -1;
}

UInt64 XFile::ReadAt(UInt64 inOffset, void* outBuffer, UInt64 inBytes) const {
  UInt64 done = 0;
  auto* out = static_cast<char*>(outBuffer);
  while (done < inBytes) {
    ssize_t n = ::pread(itsDescriptor, out + done, inBytes - done, static_cast<off_t>(inOffset + done));
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) Fail("cannot read");
    if (n == 0) break;
    done += static_cast<UInt64>(n);
  }
  return done;
}

void XFile::WriteAt(UInt64 inOffset, const void* inBuffer, UInt64 inBytes) {
  // A large write has its blocks reserved in one call first, which the file
  // system does far faster than growing the file page by page as the data
  // arrives. Only a hint: where it is not supported the write goes on alone.
  constexpr UInt64 kReserveFrom = 1 << 20;
  if (inBytes >= kReserveFrom)
    (void)::fallocate(itsDescriptor, FALLOC_FL_KEEP_SIZE, static_cast<off_t>(inOffset), static_cast<off_t>(inBytes));
  UInt64 done = 0;
  const auto* in = static_cast<const char*>(inBuffer);
  while (done < inBytes) {
    ssize_t n = ::pwrite(itsDescriptor, in + done, inBytes - done, static_cast<off_t>(inOffset + done));
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) Fail("cannot write");
    done += static_cast<UInt64>(n);
  }
}

UInt64 XFile::GetSize() const {
  struct stat info;
  if (::fstat(itsDescriptor, &info) != 0) Fail("cannot stat");
  return static_cast<UInt64>(info.st_size);
}

XFileStamp XFile::GetStamp() const {
  struct stat info;
  if (::fstat(itsDescriptor, &info) != 0) Fail("cannot stat");
  return StampOf(info);
}

void XFile::SetSize(UInt64 inSize) {
  if (::ftruncate(itsDescriptor, static_cast<off_t>(inSize)) != 0) Fail("cannot resize");
}

}  // namespace mirelan
