// Reading stored objects from a file without their bulk data: headers come
// at once, voxels on the first lock, through data fetchers that read the
// object again from its place in the file.
#pragma once

#include <memory>

#include "core/XExport.h"
#include "core/XFileDataFetcher.h"
#include "core/XHandleStream.h"

namespace mirelan {

class XMemoryHandle;
class XVolume;

// A read-only file stream whose ReadObject leaves memory blocks and coded
// images in the file. What it returns keeps a fetcher that reopens the file
// when first locked; a file that has gone or changed by then makes that lock
// throw XException 1010.
class MIRELAN_EXPORT XLazyReadFileStream : public XFileStream {
 public:
  // Uncompressed blocks from this size on are mapped instead of read.
  static constexpr UInt64 kMapThreshold = 0x400000;
  // Blocks up to this size are read at once: a fetcher would cost more.
  static constexpr UInt64 kReadAtOnceBytes = 88;

  // inMode must be kReadOnly.
  XLazyReadFileStream(XFile& ioFile, XFileMode inMode, UInt64 inBufferBytes);
  // A second stream on the same file, at the same position and in the same
  // byte order and format.
  XLazyReadFileStream(const XLazyReadFileStream& inOther);

  XStorable* ReadObject(XStorable::XOptions inOptions = XStorable::kReadAll) override;

  // This stream never writes: both are failed preconditions.
  void WriteBytes(const void* inBuffer, UInt64 inBytes) override;
  void DrainBuffer();

 private:
  XStorable* ReadHandle(const XVersion& inVersion, UInt64 inPosition);
  XStorable* ReadLossyColourVolume(const XVersion& inVersion, UInt64 inPosition);
  XStorable* ReadLossyGreyVolume(UInt64 inPosition);
};

// Fetches a memory block: reads the handle object at its position again.
class MIRELAN_EXPORT XLazyReadFileStreamDF : public XFileDataFetcher {
 public:
  XLazyReadFileStreamDF(const XFileSpec& inSpec, const SInt64& inPosition);
  ~XLazyReadFileStreamDF() override;

  bool LoadDataFromCache(XLockable& ioTarget) override;
  bool LoadFromFile(const XFileSpec& inSpec, XLockable& ioTarget) override;

 protected:
  // The stream buffer of a fetch: small for a handle, whose one big read
  // goes past it; large for coded images, read in pieces.
  static constexpr UInt64 kHandleBufferBytes = 32;
  static constexpr UInt64 kImageBufferBytes = 65536;

  // Reads the object at the position, from the stream header on.
  std::unique_ptr<XStorable> ReadStoredObject(const XFileSpec& inSpec, UInt64 inBufferBytes) const;

  SInt64 itsPosition;

 private:
  std::unique_ptr<XMemoryHandle> itsCachedHandle;
};

// Fetches a volume stored as JPEG: decodes the object at its position and
// hands its voxels over by CopyFrom.
class MIRELAN_EXPORT XLazyReadFileStreamDFJPEG : public XLazyReadFileStreamDF {
 public:
  XLazyReadFileStreamDFJPEG(const XFileSpec& inSpec, const SInt64& inPosition);
  ~XLazyReadFileStreamDFJPEG() override;

  bool LoadDataFromCache(XLockable& ioTarget) override;
  bool LoadFromFile(const XFileSpec& inSpec, XLockable& ioTarget) override;

 private:
  std::unique_ptr<XVolume> itsCachedImage;
};

// The same for the grey JPEG form.
class MIRELAN_EXPORT XLazyReadFileStreamDFVolumeJPEG : public XLazyReadFileStreamDF {
 public:
  XLazyReadFileStreamDFVolumeJPEG(const XFileSpec& inSpec, const SInt64& inPosition);
  ~XLazyReadFileStreamDFVolumeJPEG() override;

  bool LoadDataFromCache(XLockable& ioTarget) override;
  bool LoadFromFile(const XFileSpec& inSpec, XLockable& ioTarget) override;

 private:
  std::unique_ptr<XVolume> itsCachedImage;
};

}  // namespace mirelan
