#include "core/XHandleStream.h"

#include <algorithm>
#include <cstring>

namespace mirelan {

// ------------------------------------------------------------- handle stream

XHandleStream::XHandleStream(XMemoryHandle& ioHandle, XByteOrder inOrder)
    : XStream(inOrder), itsHandle(ioHandle), itsExtent(ioHandle.GetDataSize()) {
  itsHandle.LockSelf(kLockReadWrite);
}

XHandleStream::~XHandleStream() {
  try {
    Flush();
  } catch (...) {
    // Shrinking cannot fail for want of memory; nothing to report.
  }
  itsHandle.UnlockSelf(kLockReadWrite);
}

void XHandleStream::Flush() {
  if (itsHandle.GetDataSize() != itsExtent) itsHandle.Resize(itsExtent);
}

void XHandleStream::Truncate() {
  if (itsPosition < itsExtent) itsExtent = itsPosition;
}

void XHandleStream::ReadBytes(void* outBuffer, UInt64 inBytes) {
  if (inBytes > GetRemaining()) {
    itsPosition = std::max(itsPosition, itsExtent);
    throw XException(kErrEndOfStream);
  }
  if (inBytes) std::memcpy(outBuffer, itsHandle.GetData() + itsPosition, inBytes);
  itsPosition += inBytes;
}

void XHandleStream::WriteBytes(const void* inBuffer, UInt64 inBytes) {
  UInt64 end = itsPosition + inBytes;
  if (end > itsHandle.GetDataSize())
    itsHandle.Resize(std::max<UInt64>({end, itsHandle.GetDataSize() * 2, 256}));
  if (itsPosition > itsExtent) std::memset(itsHandle.GetData() + itsExtent, 0, itsPosition - itsExtent);
  if (inBytes) std::memcpy(itsHandle.GetData() + itsPosition, inBuffer, inBytes);
  itsPosition = end;
  itsExtent = std::max(itsExtent, end);
}

// ------------------------------------------------------------- file stream

XFileStream::XFileStream(XFile& ioFile, XFileMode inMode, UInt64 inBufferBytes, XByteOrder inOrder)
    : XStream(inOrder),
      itsFile(&ioFile),
      itsMode(inMode),
      itsBuffer(new UInt8[std::max<UInt64>(inBufferBytes, 16)]),
      itsBufferCapacity(std::max<UInt64>(inBufferBytes, 16)) {
  XAssert(ioFile.IsOpen());
}

XFileStream::XFileStream(const XFileSpec& inSpec, XFileMode inMode, UInt64 inBufferBytes, XByteOrder inOrder)
    : XStream(inOrder),
      itsOwnedFile(new XFile(inSpec, inMode)),
      itsFile(itsOwnedFile.get()),
      itsMode(inMode),
      itsBuffer(new UInt8[std::max<UInt64>(inBufferBytes, 16)]),
      itsBufferCapacity(std::max<UInt64>(inBufferBytes, 16)) {}

XFileStream::~XFileStream() {
  try {
    Flush();
  } catch (...) {
  }
}

UInt64 XFileStream::GetExtent() const {
  return std::max(itsFile->GetSize(), itsPendingStart + itsPendingBytes);
}

void XFileStream::Flush() {
  if (!itsPendingBytes) return;
  UInt64 bytes = itsPendingBytes;
  itsPendingBytes = 0;
  itsFile->WriteAt(itsPendingStart, itsBuffer.get(), bytes);
}

void XFileStream::SeekTo(UInt64 inPosition) {
  if (itsPendingBytes && inPosition != itsPendingStart + itsPendingBytes) Flush();
  itsPosition = inPosition;
}

void XFileStream::Truncate() {
  Flush();
  itsFile->SetSize(itsPosition);
  DropReadBuffer();
}

void XFileStream::ReadBytes(void* outBuffer, UInt64 inBytes) {
  Flush();
  auto* out = static_cast<UInt8*>(outBuffer);
  while (inBytes) {
    bool inBuffer = itsPosition >= itsBufferStart && itsPosition < itsBufferStart + itsBufferBytes;
    if (inBuffer) {
      UInt64 offset = itsPosition - itsBufferStart;
      UInt64 n = std::min(inBytes, itsBufferBytes - offset);
      std::memcpy(out, itsBuffer.get() + offset, n);
      out += n;
      inBytes -= n;
      itsPosition += n;
    } else if (inBytes >= itsBufferCapacity) {
      // Large reads go straight to the caller's memory.
      UInt64 n = itsFile->ReadAt(itsPosition, out, inBytes);
      itsPosition += n;
      if (n < inBytes) throw XException(kErrEndOfStream);
      return;
    } else {
      itsBufferStart = itsPosition;
      itsBufferBytes = itsFile->ReadAt(itsPosition, itsBuffer.get(), itsBufferCapacity);
      if (itsBufferBytes == 0) throw XException(kErrEndOfStream);
    }
  }
}

void XFileStream::WriteBytes(const void* inBuffer, UInt64 inBytes) {
  if (itsMode == kReadOnly) throw XException(kErrFile, "stream is read-only: " + GetFileSpec().GetPath());
  itsBufferBytes = 0;  // the read buffer would go stale
  const auto* in = static_cast<const UInt8*>(inBuffer);
  if (itsPendingBytes && itsPosition != itsPendingStart + itsPendingBytes) Flush();
  if (inBytes >= itsBufferCapacity) {
    Flush();
    itsFile->WriteAt(itsPosition, in, inBytes);
    itsPosition += inBytes;
    return;
  }
  if (itsPendingBytes + inBytes > itsBufferCapacity) Flush();
  if (!itsPendingBytes) itsPendingStart = itsPosition;
  std::memcpy(itsBuffer.get() + itsPendingBytes, in, inBytes);
  itsPendingBytes += inBytes;
  itsPosition += inBytes;
}

}  // namespace mirelan
