#include "core/XMemoryHandle.h"

#include <sys/mman.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include "core/XException.h"
#include "core/XStream.h"

namespace mirelan {

namespace {

// Bytes held by live blocks (mapped files aside), the most held since the
// last reset, and the largest single block allowed.
std::atomic<UInt64> sLiveBytes{0};
std::atomic<UInt64> sPeakBytes{0};

UInt64 PhysicalMemoryBytes() {
  long pages = ::sysconf(_SC_PHYS_PAGES), pageSize = ::sysconf(_SC_PAGESIZE);
  return pages > 0 && pageSize > 0 ? UInt64(pages) * UInt64(pageSize) : ~UInt64(0);
}

std::atomic<UInt64>& AllocationLimit() {
  static std::atomic<UInt64> sLimit{PhysicalMemoryBytes()};
  return sLimit;
}

void CountAllocation(UInt64 inOldBytes, UInt64 inNewBytes) {
  if (inNewBytes >= inOldBytes) {
    UInt64 live = sLiveBytes.fetch_add(inNewBytes - inOldBytes) + (inNewBytes - inOldBytes);
    UInt64 peak = sPeakBytes.load();
    while (live > peak && !sPeakBytes.compare_exchange_weak(peak, live)) {
    }
  } else {
    sLiveBytes.fetch_sub(inOldBytes - inNewBytes);
  }
}

}  // namespace

// The shared block behind handles.
struct XMemoryBlock {
  std::mutex itsMutex;
  UInt8* itsData = nullptr;
  UInt64 itsSize = 0;
  UInt64 itsCapacity = 0;
  UInt32 itsLockCount = 0;
  UInt32 itsWriteLocks = 0;
  XByteSwapMode itsPendingSwap = kNoByteSwap;
  bool itsPresent = true;
  // Mapped memory: not ours to free or write; unmapped on destruction.
  void* itsMapping = nullptr;
  UInt64 itsMappingBytes = 0;
  // The mapped file and its state when mapped: pages of a file that was cut
  // short would fault, and pages of one rewritten would show its new content.
  XString itsMappedPath;
  XFileStamp itsMappedStamp;
  // Host memory (WrapForeignMemory): handed back through itsForeignRelease.
  bool itsForeign = false;
  bool itsForeignReadOnly = false;
  std::function<void()> itsForeignRelease;

  XMemoryBlock() = default;
  explicit XMemoryBlock(UInt64 inSize) { Reallocate(inSize); }
  ~XMemoryBlock() { Release(); }
  XMemoryBlock(const XMemoryBlock&) = delete;
  XMemoryBlock& operator=(const XMemoryBlock&) = delete;

  bool IsReadOnly() const { return itsMapping != nullptr || itsForeignReadOnly; }

  void Release() {
    if (itsForeign) {
      if (itsForeignRelease) itsForeignRelease();
      itsForeignRelease = nullptr;
      itsForeign = itsForeignReadOnly = false;
    } else if (itsMapping) {
      ::munmap(itsMapping, itsMappingBytes);
    } else {
      if (itsAnonymousMap)
        ::munmap(itsData, itsCapacity);
      else
        std::free(itsData);
      if (itsData) CountAllocation(itsCapacity, 0);
    }
    itsMapping = nullptr;
    itsData = nullptr;
    itsCapacity = 0;
    itsAnonymousMap = false;
  }

  // Sets the size, keeping the content up to the smaller size.
  void Reallocate(UInt64 inSize) {
    XAssert(!IsReadOnly() && !itsForeign);
    // A block the machine cannot hold is refused before anything is mapped:
    // the system would grant it and fail only when the pages are touched.
    if (inSize > AllocationLimit().load())
      throw XException(kErrOutOfMemory, "a block of " + std::to_string(inSize) +
                                            " bytes is more than the allocation limit of " +
                                            std::to_string(AllocationLimit().load()));
    UInt64 capacity = (inSize + 15) & ~UInt64(15);
    if (capacity >= kLargeBlockBytes)
      capacity = (capacity + kLargeBlockBytes - 1) & ~(kLargeBlockBytes - 1);
    if (capacity != itsCapacity || !itsData) {
      if (capacity >= kLargeBlockBytes || itsAnonymousMap)
        ReallocateLarge(capacity);
      else
        ReallocateSmall(capacity);
    }
    itsSize = inSize;
  }

 private:
  // Large blocks are mapped with huge pages where the system allows it: the
  // first touch of a big volume then costs a few faults, not thousands.
  static constexpr UInt64 kLargeBlockBytes = 2u << 20;
  bool itsAnonymousMap = false;

  void ReallocateSmall(UInt64 inCapacity) {
    void* data = std::realloc(itsData, inCapacity ? inCapacity : 16);
    if (!data) throw XException(kErrOutOfMemory, std::to_string(inCapacity) + " bytes");
    CountAllocation(itsData ? itsCapacity : 0, inCapacity);
    itsData = static_cast<UInt8*>(data);
    itsCapacity = inCapacity;
  }

  void ReallocateLarge(UInt64 inCapacity) {
    void* data = ::mmap(nullptr, inCapacity, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (data == MAP_FAILED) throw XException(kErrOutOfMemory, std::to_string(inCapacity) + " bytes");
    ::madvise(data, inCapacity, MADV_HUGEPAGE);
    if (itsData) std::memcpy(data, itsData, std::min(itsSize, inCapacity));
    Release();
    CountAllocation(0, inCapacity);
    itsData = static_cast<UInt8*>(data);
    itsCapacity = inCapacity;
    itsAnonymousMap = true;
  }
};

namespace {

// zlib cannot expand by more than about this ratio; a larger claim is corrupt.
constexpr UInt64 kMaxInflateRatio = 1032;

void InflateInto(const UInt8* inSource, UInt64 inSourceBytes, UInt8* outDest, UInt64 inDestBytes) {
  uLongf destBytes = inDestBytes;
  int result = ::uncompress(outDest, &destBytes, inSource, inSourceBytes);
  if (result != Z_OK || destBytes != inDestBytes) throw XException(kErrBadCompressedData);
}

}  // namespace

XMemoryHandle::XMemoryHandle(UInt64 inSize) : itsBlock(std::make_shared<XMemoryBlock>(inSize)) {}

XMemoryHandle::XMemoryHandle(std::shared_ptr<XMemoryBlock> inBlock) : itsBlock(std::move(inBlock)) {}

XMemoryHandle::XMemoryHandle(const XMemoryHandle& inOther)
    : XStorable(inOther), XLockable(inOther), itsCompression(inOther.itsCompression) {
  ShareBlockOf(inOther);
}

XMemoryHandle::XMemoryHandle(XStream& inStream, bool inSkipData) : itsBlock(std::make_shared<XMemoryBlock>()) {
  ReadStream2(inStream, inSkipData ? kReadHeaderOnly : kReadAll);
}

XMemoryHandle& XMemoryHandle::operator=(const XMemoryHandle& inOther) {
  if (this == &inOther) return *this;
  XLockable::operator=(inOther);
  itsCompression = inOther.itsCompression;
  ShareBlockOf(inOther);
  return *this;
}

XMemoryHandle::~XMemoryHandle() {
  // A handle that dies locked gives its locks back to the block.
  if (itsOwnLocks && itsBlock) {
    std::lock_guard<std::mutex> guard(itsBlock->itsMutex);
    itsBlock->itsLockCount -= std::min(itsBlock->itsLockCount, itsOwnLocks.load());
  }
}

void XMemoryHandle::ShareBlockOf(const XMemoryHandle& inOther) {
  XAssert(itsOwnLocks == 0);
  XMemoryBlock& source = *inOther.itsBlock;
  // The share is taken under the block's mutex, where a writer's lock
  // decides whether the block is still to be copied (see LockSelf).
  std::lock_guard<std::mutex> guard(source.itsMutex);
  if (source.itsWriteLocks == 0 && !source.itsForeign) {
    itsBlock = inOther.itsBlock;
    return;
  }
  // A block being written through a pointer, or host memory that may be
  // written behind the locks, cannot be shared safely: the copy gets its own
  // content now.
  auto copy = std::make_shared<XMemoryBlock>(source.itsSize);
  std::memcpy(copy->itsData, source.itsData, source.itsSize);
  copy->itsPendingSwap = source.itsPendingSwap;
  itsBlock = copy;
}

UInt8* XMemoryHandle::GetData() const {
#if MIRELAN_CHECK_LOCKS
  // The pointer is valid only under a lock of this handle: touching voxels
  // without one would write into blocks that other handles share.
  XAssert(itsOwnLocks.load(std::memory_order_relaxed) > 0 || itsBlock->itsSize == 0);
#endif
  return itsBlock->itsData;
}
UInt64 XMemoryHandle::GetDataSize() const { return itsBlock->itsSize; }
UInt64 XMemoryHandle::GetPaddedSize() const { return (itsBlock->itsSize + 15) & ~UInt64(15); }
UInt64 XMemoryHandle::GetAddressSpaceMetric() const {
  return itsBlock->itsMapping ? itsBlock->itsMappingBytes : itsBlock->itsCapacity;
}

UInt8 XMemoryHandle::GetByte(UInt64 inIndex) const {
  XAssert(inIndex < GetDataSize());
  XLock lock(*this, kLockRead);
  return itsBlock->itsData[inIndex];
}

void XMemoryHandle::SetByte(UInt64 inIndex, UInt8 inValue) {
  XAssert(inIndex < GetDataSize());
  XLock lock(*this, kLockReadWrite);
  itsBlock->itsData[inIndex] = inValue;
}

void XMemoryHandle::SetSwapOnLock(XByteSwapMode inMode) {
  std::lock_guard<std::mutex> guard(itsBlock->itsMutex);
  itsBlock->itsPendingSwap = inMode;
}

XByteSwapMode XMemoryHandle::GetSwapOnLock() const {
  std::lock_guard<std::mutex> guard(itsBlock->itsMutex);
  return itsBlock->itsPendingSwap;
}

bool XMemoryHandle::IsDataPresent() const {
  std::lock_guard<std::mutex> guard(itsBlock->itsMutex);
  return itsBlock->itsPresent;
}
void XMemoryHandle::SetDataAbsent(UInt64 inSize) {
  XAssert(itsOwnLocks == 0);
  auto absent = std::make_shared<XMemoryBlock>();
  absent->itsSize = inSize;
  absent->itsPresent = false;
  itsBlock = absent;
}

bool XMemoryHandle::IsShared() const { return itsBlock.use_count() > 1; }
UInt32 XMemoryHandle::GetLockCount() const {
  std::lock_guard<std::mutex> guard(itsBlock->itsMutex);
  return itsBlock->itsLockCount;
}

void XMemoryHandle::Detach(bool inKeepContent) {
  auto copy = std::make_shared<XMemoryBlock>(itsBlock->itsSize);
  {
    std::lock_guard<std::mutex> guard(itsBlock->itsMutex);
    if (inKeepContent) {
      std::memcpy(copy->itsData, itsBlock->itsData, itsBlock->itsSize);
      copy->itsPendingSwap = itsBlock->itsPendingSwap;
    }
    // This handle's locks move with it to the new block.
    itsBlock->itsLockCount -= std::min(itsBlock->itsLockCount, itsOwnLocks.load());
  }
  copy->itsLockCount = itsOwnLocks;
  itsBlock = copy;
}

bool XMemoryHandle::NeedsOwnBlock(XLockMode inMode) const {
  std::lock_guard<std::mutex> guard(itsBlock->itsMutex);
  bool swapPending = itsBlock->itsPendingSwap != kNoByteSwap && inMode != kLockWrite;
  // Writes, and a pending swap on mapped memory, need a block of our own.
  return (IsWriteLock(inMode) && itsBlock.use_count() > 1) ||
         (itsBlock->IsReadOnly() && (IsWriteLock(inMode) || swapPending));
}

namespace {

// A lock on a mapping first makes sure the file is still what was mapped. A
// file cut short or rewritten while a lock is held cannot be caught here.
void CheckMappedFile(const XMemoryBlock& inBlock) {
  XFileStamp now;
  if (!XFileSpec(inBlock.itsMappedPath).GetStamp(now))
    throw XException(kErrFileChanged, "the file " + inBlock.itsMappedPath + " that mapped data comes from has gone");
  if (now != inBlock.itsMappedStamp)
    throw XException(kErrFileChanged, "the file " + inBlock.itsMappedPath + " has changed since its data was mapped");
}

}  // namespace

void XMemoryHandle::LockSelf(XLockMode inMode) {
  if (itsBlock->itsMapping) CheckMappedFile(*itsBlock);
  if (!IsDataPresent()) {
    // The fetcher hands its data over through ShareBlockOf, which takes the
    // block's mutex itself: it runs outside it.
    if (!FetchData() || !IsDataPresent())
      throw XException(kErrGeneral, "the data of a memory block could not be fetched");
  }
  if (NeedsOwnBlock(inMode)) Detach(inMode != kLockWrite);
  std::lock_guard<std::mutex> guard(itsBlock->itsMutex);
  if (itsBlock->itsPendingSwap != kNoByteSwap) {
    if (inMode != kLockWrite)
      SwapBufferBytes(itsBlock->itsData, itsBlock->itsData, itsBlock->itsSize, itsBlock->itsPendingSwap);
    itsBlock->itsPendingSwap = kNoByteSwap;
  }
  ++itsBlock->itsLockCount;
  if (IsWriteLock(inMode)) ++itsBlock->itsWriteLocks;
  ++itsOwnLocks;
}

void XMemoryHandle::UnlockSelf(XLockMode inMode) {
  XAssert(itsOwnLocks > 0);
  std::lock_guard<std::mutex> guard(itsBlock->itsMutex);
  --itsOwnLocks;
  if (itsBlock->itsLockCount) --itsBlock->itsLockCount;
  if (IsWriteLock(inMode) && itsBlock->itsWriteLocks) --itsBlock->itsWriteLocks;
}

void XMemoryHandle::SetAllocationLimit(UInt64 inBytes) { AllocationLimit() = inBytes; }
UInt64 XMemoryHandle::GetAllocationLimit() { return AllocationLimit().load(); }
UInt64 XMemoryHandle::GetAllocatedBytes() { return sLiveBytes.load(); }
UInt64 XMemoryHandle::GetPeakAllocatedBytes() { return sPeakBytes.load(); }
void XMemoryHandle::ResetPeakAllocatedBytes() { sPeakBytes = sLiveBytes.load(); }

void XMemoryHandle::Resize(UInt64 inSize) {
  if (IsShared() || itsBlock->IsReadOnly() || !itsBlock->itsPresent) {
    XLock lock(*this, kLockReadWrite);  // brings the data in and makes it ours
  }
  if (itsBlock->itsForeign) Detach(true);  // host memory cannot grow
  itsBlock->Reallocate(inSize);
}

void XMemoryHandle::Clear(UInt8 inByte) {
  XLock lock(*this, kLockWrite);
  std::memset(itsBlock->itsData, inByte, itsBlock->itsSize);
}

void XMemoryHandle::CopyDataFrom(const void* inSource, UInt64 inBytes, UInt64 inOffset) {
  XAssert(inOffset + inBytes <= GetDataSize());
  XLock lock(*this, inOffset == 0 && inBytes == GetDataSize() ? kLockWrite : kLockReadWrite);
  std::memcpy(itsBlock->itsData + inOffset, inSource, inBytes);
}

void XMemoryHandle::CopyDataTo(void* outDest, UInt64 inBytes, UInt64 inOffset) const {
  XAssert(inOffset + inBytes <= GetDataSize());
  XLock lock(*this, kLockRead);
  std::memcpy(outDest, itsBlock->itsData + inOffset, inBytes);
}

XMemoryHandle XMemoryHandle::CloneMemory() const {
  XLock lock(*this, kLockRead);
  XMemoryHandle copy(GetDataSize());
  std::memcpy(copy.itsBlock->itsData, itsBlock->itsData, GetDataSize());
  copy.itsCompression = itsCompression;
  return copy;
}

void XMemoryHandle::Empty() {
  XAssert(itsOwnLocks == 0);
  itsBlock = std::make_shared<XMemoryBlock>();
}

bool XMemoryHandle::Purge() {
  if (!GetDataFetcher() || itsBlock->IsReadOnly()) return false;
  auto absent = std::make_shared<XMemoryBlock>();
  {
    std::lock_guard<std::mutex> guard(itsBlock->itsMutex);
    if (itsBlock->itsLockCount || !itsBlock->itsPresent) return false;
    absent->itsSize = itsBlock->itsSize;
    absent->itsPendingSwap = itsBlock->itsPendingSwap;
  }
  absent->itsPresent = false;
  // Other handles on the block keep it; this one lets go of the data.
  itsBlock = absent;
  return true;
}

// ------------------------------------------------------------- stored form
// tag (33), data size (64-bit), compression type (32-bit), for zlib the
// compressed byte count (64-bit), then the bytes.

UInt64 XMemoryHandle::GetStreamUsage() const { return 4 + 8 + 4 + GetDataSize(); }

void XMemoryHandle::WriteStream2(XStream& inStream, XOptions) const {
  XLock lock(*this, kLockRead);
  inStream.WriteVersion(GetClassVersion());
  inStream.Write64S(static_cast<SInt64>(GetDataSize()));
  inStream.Write32(itsCompression);
  if (itsCompression == kZlibCompressed) {
    uLongf bound = ::compressBound(GetDataSize());
    std::unique_ptr<UInt8[]> packed(new UInt8[bound]);
    if (::compress2(packed.get(), &bound, GetData(), GetDataSize(), Z_DEFAULT_COMPRESSION) != Z_OK)
      throw XException(kErrGeneral, "zlib compression failed");
    inStream.Write64S(static_cast<SInt64>(bound));
    inStream.WriteBuffer8(packed.get(), bound);
  } else {
    inStream.WriteBuffer8(GetData(), GetDataSize());
  }
}

namespace {

// The stored form's header; outStoredBytes is what follows it on the stream.
void ReadStoredHeader(XStream& inStream, UInt64& outSize, XCompressionType& outCompression,
                      UInt64& outStoredBytes) {
  SInt64 size = inStream.Read64S();
  UInt32 compression = inStream.Read32();
  if (size < 0) throw XException(kErrBadStreamSize, "negative memory block size");
  if (compression > kZlibCompressed) throw XException(kErrBadStreamSize, "unknown compression type");
  UInt64 storedBytes = static_cast<UInt64>(size);
  if (compression == kZlibCompressed) {
    SInt64 packed = inStream.Read64S();
    if (packed < 0 || static_cast<UInt64>(size) > static_cast<UInt64>(packed) * kMaxInflateRatio + 64)
      throw XException(kErrBadStreamSize, "compressed block size");
    storedBytes = static_cast<UInt64>(packed);
  }
  inStream.CheckReadable(storedBytes);
  outSize = static_cast<UInt64>(size);
  outCompression = static_cast<XCompressionType>(compression);
  outStoredBytes = storedBytes;
}

}  // namespace

void XMemoryHandle::GetHandleInfoFromStream(XStream& inStream, UInt64& outSize,
                                            XCompressionType& outCompression, UInt64& outOffset,
                                            bool inRestore) {
  UInt64 start = inStream.GetPosition(), storedBytes = 0;
  ReadCheckedClassVersion(inStream, GetClassVersion());
  ReadStoredHeader(inStream, outSize, outCompression, storedBytes);
  outOffset = inStream.GetPosition();
  if (inRestore) inStream.SeekTo(start);
}

void XMemoryHandle::ReadStream2(XStream& inStream, XOptions inOptions) {
  XAssert(itsOwnLocks == 0);
  ReadCheckedClassVersion(inStream, GetClassVersion());
  UInt64 size = 0, storedBytes = 0;
  XCompressionType compression = kNotCompressed;
  ReadStoredHeader(inStream, size, compression, storedBytes);
  auto block = std::make_shared<XMemoryBlock>();
  block->itsSize = size;
  if (inOptions == kReadHeaderOnly) {
    block->itsPresent = false;
    inStream.Seek(static_cast<SInt64>(storedBytes));
  } else if (compression == kZlibCompressed) {
    std::unique_ptr<UInt8[]> packed(new UInt8[storedBytes ? storedBytes : 1]);
    inStream.ReadBuffer8(packed.get(), storedBytes);
    block->Reallocate(size);
    InflateInto(packed.get(), storedBytes, block->itsData, size);
  } else {
    block->Reallocate(size);
    inStream.ReadBuffer8(block->itsData, size);
  }
  itsBlock = block;
  itsCompression = compression;
}

// ------------------------------------------------------------- host memory

void XMemoryHandle::SetForeignMemory(void* inData, UInt64 inSize, bool inReadOnly,
                                     std::function<void()> inRelease) {
  XAssert(itsOwnLocks == 0);
  XAssert(inData != nullptr || inSize == 0);
  auto block = std::make_shared<XMemoryBlock>();
  block->itsData = static_cast<UInt8*>(inData);
  block->itsSize = inSize;
  block->itsCapacity = inSize;
  block->itsForeign = true;
  block->itsForeignReadOnly = inReadOnly;
  block->itsForeignRelease = std::move(inRelease);
  itsBlock = block;
}

bool XMemoryHandle::IsForeignMemory() const { return itsBlock->itsForeign; }

// ------------------------------------------------------------- mapped files

namespace {

std::shared_ptr<XMemoryBlock> MapFileRange(const XFileSpec& inSpec, UInt64 inOffset, UInt64 inSize) {
  XFile file(inSpec, kReadOnly);
  if (inOffset + inSize > file.GetSize() || inOffset + inSize < inOffset)
    throw XException(kErrBadStreamSize, "mapped range beyond the end of " + inSpec.GetPath());
  auto block = std::make_shared<XMemoryBlock>();
  block->itsSize = inSize;
  if (inSize == 0) return block;
  block->itsMappedPath = inSpec.GetPath();
  block->itsMappedStamp = file.GetStamp();
  UInt64 page = static_cast<UInt64>(::sysconf(_SC_PAGESIZE));
  UInt64 start = inOffset - inOffset % page;
  UInt64 bytes = inSize + (inOffset - start);
  void* mapping = ::mmap(nullptr, bytes, PROT_READ, MAP_PRIVATE, file.GetDescriptor(), static_cast<off_t>(start));
  if (mapping == MAP_FAILED) throw XException(kErrFile, "cannot map " + inSpec.GetPath());
  block->itsMapping = mapping;
  block->itsMappingBytes = bytes;
  block->itsData = static_cast<UInt8*>(mapping) + (inOffset - start);
  block->itsCapacity = inSize;
  return block;
}

}  // namespace

XMappedFileMemoryHandle::XMappedFileMemoryHandle(const XFileSpec& inSpec, UInt64 inOffset, UInt64 inSize,
                                                 UInt32, UInt32, UInt32)
    : XMemoryHandle(MapFileRange(inSpec, inOffset, inSize)) {}

}  // namespace mirelan
