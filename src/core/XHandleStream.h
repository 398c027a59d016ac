// Streams on a memory handle and on a file.
#pragma once

#include <memory>

#include "core/XExport.h"
#include "core/XFile.h"
#include "core/XMemoryHandle.h"
#include "core/XStream.h"

namespace mirelan {

// A stream whose bytes live in the caller's XMemoryHandle. The handle stays
// locked while the stream is open; on closing it is cut to the stream's extent.
class MIRELAN_EXPORT XHandleStream : public XStream {
 public:
  explicit XHandleStream(XMemoryHandle& ioHandle, XByteOrder inOrder = GetByteOrderFromPlatform());
  ~XHandleStream() override;

  UInt64 GetPosition() const override { return itsPosition; }
  UInt64 GetExtent() const override { return itsExtent; }
  void SeekTo(UInt64 inPosition) override { itsPosition = inPosition; }
  void Truncate() override;
  void Flush() override;
  void ReadBytes(void* outBuffer, UInt64 inBytes) override;
  void WriteBytes(const void* inBuffer, UInt64 inBytes) override;

 private:
  XMemoryHandle& itsHandle;
  UInt64 itsExtent;
  UInt64 itsPosition = 0;
};

// A buffered stream on an open XFile, or on a file it opens itself.
class MIRELAN_EXPORT XFileStream : public XStream {
 public:
  static constexpr UInt64 kDefaultBufferBytes = 64 * 1024;

  XFileStream(XFile& ioFile, XFileMode inMode, UInt64 inBufferBytes = kDefaultBufferBytes,
              XByteOrder inOrder = GetByteOrderFromPlatform());
  XFileStream(const XFileSpec& inSpec, XFileMode inMode, UInt64 inBufferBytes = kDefaultBufferBytes,
              XByteOrder inOrder = GetByteOrderFromPlatform());
  // Writes what is buffered. Errors at this point cannot be thrown: call
  // Flush first to see them.
  ~XFileStream() override;

  UInt64 GetPosition() const override { return itsPosition; }
  UInt64 GetExtent() const override;
  void SeekTo(UInt64 inPosition) override;
  void Truncate() override;
  void Flush() override;
  void ReadBytes(void* outBuffer, UInt64 inBytes) override;
  void WriteBytes(const void* inBuffer, UInt64 inBytes) override;

  XFile& GetFile() { return *itsFile; }
  const XFileSpec& GetFileSpec() const { return itsFile->GetSpec(); }

 private:
  void DropReadBuffer() { itsBufferStart = itsPosition; itsBufferBytes = 0; }

  std::unique_ptr<XFile> itsOwnedFile;
  XFile* itsFile;
  XFileMode itsMode;
  std::unique_ptr<UInt8[]> itsBuffer;
  UInt64 itsBufferCapacity;
  // Read buffer: the bytes at [itsBufferStart, itsBufferStart + itsBufferBytes).
  UInt64 itsBufferStart = 0;
  UInt64 itsBufferBytes = 0;
  // Write buffer: pending bytes start at itsPendingStart.
  UInt64 itsPendingStart = 0;
  UInt64 itsPendingBytes = 0;
  UInt64 itsPosition = 0;
};

}  // namespace mirelan
