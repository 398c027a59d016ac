// A handle on a block of managed memory. Copies share the block until one of
// them is locked for writing (copy-on-write); locks are counted per block.
#pragma once

#include <atomic>
#include <functional>
#include <memory>

#include "core/XByteOrder.h"
#include "core/XExport.h"
#include "core/XLockable.h"
#include "core/XFile.h"
#include "core/XStorable.h"

namespace mirelan {

class XStream;
struct XMemoryBlock;

// How a handle's data is kept on a stream.
enum XCompressionType : UInt32 { kNotCompressed = 0, kZlibCompressed = 1 };

class MIRELAN_EXPORT XMemoryHandle : public XStorable, public XLockable {
 public:
  static constexpr UInt16 kClassID = 33;

  explicit XMemoryHandle(UInt64 inSize = 0);
  XMemoryHandle(const XMemoryHandle& inOther);
  // Reads the stored form; with inSkipData the data is stepped over and left
  // for a data fetcher to supply.
  XMemoryHandle(XStream& inStream, bool inSkipData);
  explicit XMemoryHandle(XStream& inStream) : XMemoryHandle(inStream, false) {}
  XMemoryHandle& operator=(const XMemoryHandle& inOther);
  ~XMemoryHandle() override;

  static XVersion GetClassVersion() { return XVersion(kClassID, 0); }
  static XVersion GetSuperClassVersion() { return XStorable::GetClassVersion(); }
  XVersion GetVersion() const override { return GetClassVersion(); }
  XStorable* Clone() const override { return new XMemoryHandle(*this); }
  UInt64 GetStreamUsage() const override;
  void ReadStream2(XStream& inStream, XOptions inOptions = kReadAll) override;
  void WriteStream2(XStream& inStream, XOptions inOptions = kReadAll) const override;

  // Valid only while the handle is locked.
  UInt8* GetData() const;
  UInt64 GetDataSize() const;
  // The bytes actually reserved, a multiple of 16 at or above the data size.
  UInt64 GetPaddedSize() const;
  // Address space the block takes in this process.
  UInt64 GetAddressSpaceMetric() const;
  UInt8 GetByte(UInt64 inIndex) const;
  void SetByte(UInt64 inIndex, UInt8 inValue);

  // The next lock swaps the content in place by inMode, once.
  void SetSwapOnLock(XByteSwapMode inMode);
  XByteSwapMode GetSwapOnLock() const;

  // Whether the data is in memory (false after Purge or a header-only read).
  bool IsDataPresent() const;
  // Makes the handle stand for inSize bytes that are not in memory, on a
  // block of its own: the next lock asks the data fetcher for them and fails
  // without one.
  void SetDataAbsent(UInt64 inSize);
  // Whether another handle shares this one's block.
  bool IsShared() const;
  UInt32 GetLockCount() const;

  virtual void Resize(UInt64 inSize);
  virtual void Clear(UInt8 inByte);
  virtual void CopyDataFrom(const void* inSource, UInt64 inBytes, UInt64 inOffset = 0);
  virtual void CopyDataTo(void* outDest, UInt64 inBytes, UInt64 inOffset = 0) const;
  // A handle on a new block with the same content.
  virtual XMemoryHandle CloneMemory() const;
  // Releases the block: size 0.
  virtual void Empty();
  // Frees the data of an unlocked block that a fetcher can supply again.
  virtual bool Purge();

  // Makes the handle stand for memory that a host owns (a scripting
  // language's array), on a block of its own, with no copy. inRelease runs
  // once, when no handle uses the block any more. The host may write the
  // memory behind the library's locks, so such a block is never shared
  // lazily: a copy of the handle copies the content at once. With
  // inReadOnly the first write lock gives the handle a copy of its own;
  // resizing always does.
  void SetForeignMemory(void* inData, UInt64 inSize, bool inReadOnly, std::function<void()> inRelease);
  // Whether the handle's block is such host memory.
  bool IsForeignMemory() const;

  // Takes over another handle's block, keeping this handle's fetcher: how a
  // fetcher hands its cached data to the handle it serves.
  void ShareBlockOf(const XMemoryHandle& inOther);

  // How WriteStream2 stores the data.
  void SetCompressionType(XCompressionType inType) { itsCompression = inType; }
  XCompressionType GetCompressionType() const { return itsCompression; }

  // Reads the stored form's header at the current position (just behind the
  // class word). outOffset is where the raw data starts. With inRestore the
  // stream goes back to where it was.
  static void GetHandleInfoFromStream(XStream& inStream, UInt64& outSize,
                                      XCompressionType& outCompression, UInt64& outOffset,
                                      bool inRestore);

  void LockSelf(XLockMode inMode) override;
  void UnlockSelf(XLockMode inMode) override;

  // The largest block a handle may hold; a larger size throws 1012 before
  // anything is allocated. The default is the machine's physical memory.
  static void SetAllocationLimit(UInt64 inBytes);
  static UInt64 GetAllocationLimit();
  // Bytes held by all blocks of the process (mapped files aside), and the
  // most held at once since ResetPeakAllocatedBytes.
  static UInt64 GetAllocatedBytes();
  static UInt64 GetPeakAllocatedBytes();
  static void ResetPeakAllocatedBytes();

 protected:
  // For handles on memory that is not ours to free (mapped files).
  explicit XMemoryHandle(std::shared_ptr<XMemoryBlock> inBlock);

 private:
  void Detach(bool inKeepContent);
  bool NeedsOwnBlock(XLockMode inMode) const;

  std::shared_ptr<XMemoryBlock> itsBlock;
  // Locks taken through this handle; atomic so that the lock check of
  // GetData may read it from any thread.
  std::atomic<UInt32> itsOwnLocks{0};
  XCompressionType itsCompression = kNotCompressed;
};

// Read-only view of a file range through mmap. A write lock gives the handle
// a private copy, so the file is never changed.
class MIRELAN_EXPORT XMappedFileMemoryHandle : public XMemoryHandle {
 public:
  // inMode and inFlags are accepted for the callers' sake; the mapping is
  // always private and read-only.
  XMappedFileMemoryHandle(const XFileSpec& inSpec, UInt64 inOffset, UInt64 inSize,
                          UInt32 inReserved = 0, UInt32 inMode = 5, UInt32 inFlags = 0);
};

}  // namespace mirelan
