#include "storage/XLazyReadFileStream.h"

#include <string>

#include "core/XClassRegistry.h"
#include "core/XException.h"
#include "core/XMemoryHandle.h"
#include "volume/XColourVolumes.h"
#include "volume/XGrey8Volume.h"

namespace mirelan {

namespace {

constexpr UInt16 kHandleClassID = XMemoryHandle::kClassID;
constexpr UInt16 kLegacyLossyColourID = 514;
constexpr UInt16 kFirstLazyFormat = 2;

bool IsLossyColour(const XVersion& inVersion) {
  return inVersion.GetClassID() == XARGB32Volume::kLossyClassID ||
         (inVersion.GetClassID() == kLegacyLossyColourID && inVersion.GetClassVersion() >= 2);
}

// The class being created, for GetLastClassCreated, while an object is read
// here rather than by XStream::ReadObject.
class XCreatingScope {
 public:
  XCreatingScope(XStream& ioStream, const XVersion& inVersion) : itsStream(ioStream) {
    itsStream.PushClassCreated(inVersion);
  }
  ~XCreatingScope() { itsStream.PopClassCreated(); }
  XCreatingScope(const XCreatingScope&) = delete;
  XCreatingScope& operator=(const XCreatingScope&) = delete;

 private:
  XStream& itsStream;
};

// A volume read without its coded image: its block becomes one that is not
// in memory, so that the first lock asks the volume's fetcher for it. An
// empty volume has no image and needs none.
void LeaveToFetcher(XBasePackedVolume& ioVolume, const XFileSpec& inSpec, UInt64 inPosition,
                    XDataFetcher* (*inMake)(const XFileSpec&, const SInt64&)) {
  if (ioVolume.GetBounds().IsEmpty()) return;
  XMemoryHandle absent;
  absent.SetDataAbsent(ioVolume.GetStorage().GetDataSize());
  ioVolume.SetStorage(absent);
  ioVolume.SetDataFetcher(inMake(inSpec, SInt64(inPosition)));
}

template <class F>
XDataFetcher* MakeFetcher(const XFileSpec& inSpec, const SInt64& inPosition) {
  return new F(inSpec, inPosition);
}

}  // namespace

// ================================================================ XLazyReadFileStream

// A lazy stream only ever reads the file it was opened on.
XLazyReadFileStream::XLazyReadFileStream(XFile& ioFile, XFileMode inMode, UInt64 inBufferBytes)
    : XFileStream(ioFile, inMode, inBufferBytes) {
  XAssert(inMode == kReadOnly);
}

XLazyReadFileStream::XLazyReadFileStream(const XLazyReadFileStream& inOther)
    : XFileStream(const_cast<XLazyReadFileStream&>(inOther).GetFile(), kReadOnly, kDefaultBufferBytes,
                  inOther.GetByteOrder()) {
  SetStreamInfo(inOther.GetStreamInfo());
  SeekTo(inOther.GetPosition());
}

void XLazyReadFileStream::WriteBytes(const void*, UInt64) { DrainBuffer(); }

void XLazyReadFileStream::DrainBuffer() { XAssert(0); }

XStorable* XLazyReadFileStream::ReadObject(XStorable::XOptions inOptions) {
  const UInt64 position = GetPosition();
  const XVersion version = ReadVersion();
  if (version.GetClassID() == kHandleClassID) return ReadHandle(version, position);
  if (IsLossyColour(version)) return ReadLossyColourVolume(version, position);
  if (version.GetClassID() == XGrey8Volume::kLossyClassID) {
    XCreatingScope creating(*this, version);
    return ReadLossyGreyVolume(position);
  }
  SeekTo(position);
  return XFileStream::ReadObject(inOptions);
}

XStorable* XLazyReadFileStream::ReadHandle(const XVersion& inVersion, UInt64 inPosition) {
  XCreatingScope creating(*this, inVersion);
  const XFileSpec& file = GetFileSpec();
  if (GetStreamFormat() < kFirstLazyFormat) {
    std::unique_ptr<XMemoryHandle> handle(new XMemoryHandle(*this, true));
    handle->SetDataFetcher(new XLazyReadFileStreamDF(file, SInt64(inPosition)));
    return handle.release();
  }
  UInt64 size = 0, offset = 0;
  XCompressionType compression = kNotCompressed;
  XMemoryHandle::GetHandleInfoFromStream(*this, size, compression, offset, true);
  if (size > 0xFFFFFFFFu)
    throw XException(kErrOutOfMemory, "a stored block of " + std::to_string(size) + " bytes is beyond 32 bits");
  SeekTo(inPosition + 4);
  if (compression == kNotCompressed && size >= kMapThreshold) {
    // Only skips the object: its data is mapped, never read.
    delete XClassRegistry::CreateObject(inVersion, *this, XStorable::kReadHeaderOnly);
    return new XMappedFileMemoryHandle(file, offset, size, 0, 5, 0);
  }
  if (size <= kReadAtOnceBytes) return XClassRegistry::CreateObject(inVersion, *this, XStorable::kReadAll);
  std::unique_ptr<XStorable> object(XClassRegistry::CreateObject(inVersion, *this, XStorable::kReadHeaderOnly));
  auto* handle = dynamic_cast<XMemoryHandle*>(object.get());
  XAssert(handle);
  handle->SetDataFetcher(new XLazyReadFileStreamDF(file, SInt64(inPosition)));
  return object.release();
}

XStorable* XLazyReadFileStream::ReadLossyColourVolume(const XVersion& inVersion, UInt64 inPosition) {
  XCreatingScope creating(*this, inVersion);
  std::unique_ptr<XStorable> object;
  if (GetStreamFormat() < kFirstLazyFormat)
    object.reset(new XARGB32Volume(*this, true));
  else
    object.reset(XClassRegistry::CreateObject(inVersion, *this, XStorable::kReadHeaderOnly));
  auto* volume = dynamic_cast<XARGB32Volume*>(object.get());
  if (!volume) throw XException(kErrWrongClass, "a lossy colour volume that is no ARGB volume");
  LeaveToFetcher(*volume, GetFileSpec(), inPosition, MakeFetcher<XLazyReadFileStreamDFJPEG>);
  return object.release();
}

// The registry's header-only reader does not know the grey form (see
// XGrey8Volume): its stream constructor reads it, in either format.
XStorable* XLazyReadFileStream::ReadLossyGreyVolume(UInt64 inPosition) {
  std::unique_ptr<XGrey8Volume> volume(new XGrey8Volume(*this, true));
  LeaveToFetcher(*volume, GetFileSpec(), inPosition, MakeFetcher<XLazyReadFileStreamDFVolumeJPEG>);
  return volume.release();
}

// ================================================================ fetchers

namespace {

// Hands the cached image to the target volume. CopyFrom also takes the
// image's fetcher, which is none: this one is kept alive through the call
// and stays the target's, so that the target can be served again.
bool HandOverImage(XDataFetcher& ioFetcher, const std::unique_ptr<XVolume>& inImage, XLockable& ioTarget) {
  if (!inImage) return false;
  auto* target = dynamic_cast<XVolume*>(&ioTarget);
  XAssert(target);
  ioFetcher.AddClient();
  target->CopyFrom(*inImage);
  target->SetDataFetcher(&ioFetcher);
  ioFetcher.RemoveClient();
  return true;
}

// Takes the volume read from the file if it can stand for the target's
// voxels; a file that changed unnoticed could hold another one.
void CheckImageFits(const XStorable* inObject, const XLockable& inTarget, const XFileSpec& inSpec) {
  const auto* image = dynamic_cast<const XVolume*>(inObject);
  if (!image) throw XException(kErrWrongClass, "no volume where a JPEG volume was stored in " + inSpec.GetPath());
  const auto* target = dynamic_cast<const XVolume*>(&inTarget);
  XAssert(target);
  if (!image->GetBounds().IsSameSizeAs(target->GetBounds()) || !image->GetVersion().IsA(target->GetVersion()))
    throw XException(kErrFileChanged, "the file " + inSpec.GetPath() + " no longer holds the volume read from it");
}

}  // namespace

XLazyReadFileStreamDF::XLazyReadFileStreamDF(const XFileSpec& inSpec, const SInt64& inPosition)
    : XFileDataFetcher(inSpec), itsPosition(inPosition) {}

XLazyReadFileStreamDF::~XLazyReadFileStreamDF() = default;

std::unique_ptr<XStorable> XLazyReadFileStreamDF::ReadStoredObject(const XFileSpec&, UInt64 inBufferBytes) const {
  // The file is opened here and closed when the fetch is over.
  XFile file;
  OpenUnchangedFile(file);
  XFileStream stream(file, kReadOnly, inBufferBytes);
  stream.ReadStreamInfo();
  stream.SeekTo(UInt64(itsPosition));
  return std::unique_ptr<XStorable>(stream.ReadObject());
}

bool XLazyReadFileStreamDF::LoadDataFromCache(XLockable& ioTarget) {
  if (!itsCachedHandle) return false;
  auto* target = dynamic_cast<XMemoryHandle*>(&ioTarget);
  XAssert(target);
  // Handles share their block: no copy. The target keeps this fetcher.
  target->ShareBlockOf(*itsCachedHandle);
  return true;
}

bool XLazyReadFileStreamDF::LoadFromFile(const XFileSpec& inSpec, XLockable& ioTarget) {
  XAssert(itsCachedHandle == nullptr);
  auto* target = dynamic_cast<XMemoryHandle*>(&ioTarget);
  XAssert(target);
  std::unique_ptr<XStorable> object = ReadStoredObject(inSpec, kHandleBufferBytes);
  auto* handle = dynamic_cast<XMemoryHandle*>(object.get());
  if (!handle) throw XException(kErrWrongClass, "no memory block where one was stored in " + inSpec.GetPath());
  if (handle->GetDataSize() != target->GetDataSize())
    throw XException(kErrFileChanged, "the file " + inSpec.GetPath() + " no longer holds the block read from it");
  // A byte swap still pending for the target stays pending on its data.
  handle->SetSwapOnLock(target->GetSwapOnLock());
  object.release();
  itsCachedHandle.reset(handle);
  return LoadDataFromCache(ioTarget);
}

XLazyReadFileStreamDFJPEG::XLazyReadFileStreamDFJPEG(const XFileSpec& inSpec, const SInt64& inPosition)
    : XLazyReadFileStreamDF(inSpec, inPosition) {}

XLazyReadFileStreamDFJPEG::~XLazyReadFileStreamDFJPEG() = default;

bool XLazyReadFileStreamDFJPEG::LoadDataFromCache(XLockable& ioTarget) {
  return HandOverImage(*this, itsCachedImage, ioTarget);
}

bool XLazyReadFileStreamDFJPEG::LoadFromFile(const XFileSpec& inSpec, XLockable& ioTarget) {
  XAssert(itsCachedImage == nullptr);
  std::unique_ptr<XStorable> object = ReadStoredObject(inSpec, kImageBufferBytes);
  CheckImageFits(object.get(), ioTarget, inSpec);
  itsCachedImage.reset(dynamic_cast<XVolume*>(object.release()));
  return LoadDataFromCache(ioTarget);
}

XLazyReadFileStreamDFVolumeJPEG::XLazyReadFileStreamDFVolumeJPEG(const XFileSpec& inSpec, const SInt64& inPosition)
    : XLazyReadFileStreamDF(inSpec, inPosition) {}

XLazyReadFileStreamDFVolumeJPEG::~XLazyReadFileStreamDFVolumeJPEG() = default;

bool XLazyReadFileStreamDFVolumeJPEG::LoadDataFromCache(XLockable& ioTarget) {
  return HandOverImage(*this, itsCachedImage, ioTarget);
}

bool XLazyReadFileStreamDFVolumeJPEG::LoadFromFile(const XFileSpec& inSpec, XLockable& ioTarget) {
  XAssert(itsCachedImage == nullptr);
  std::unique_ptr<XStorable> object = ReadStoredObject(inSpec, kImageBufferBytes);
  CheckImageFits(object.get(), ioTarget, inSpec);
  itsCachedImage.reset(dynamic_cast<XVolume*>(object.release()));
  return LoadDataFromCache(ioTarget);
}

}  // namespace mirelan
