#include <gtest/gtest.h>

#include <cstdio>
#include <thread>
#include <unistd.h>

#include <utility>
#include <vector>

#include "core/XClassRegistry.h"
#include "core/XCoreClasses.h"
#include "core/XHandleStream.h"
#include "core/XMemoryHandle.h"
#include "core/XZCompressor.h"

using namespace mirelan;

namespace {

XMemoryHandle Filled(UInt64 inSize, UInt8 inFirst) {
  XMemoryHandle h(inSize);
  XLock lock(h, kLockWrite);
  for (UInt64 i = 0; i < inSize; ++i) h.GetData()[i] = static_cast<UInt8>(inFirst + i);
  return h;
}

SInt32 ErrorOf(const std::function<void()>& inCall) {
  try {
    inCall();
  } catch (const XException& e) {
    return e.GetErrorNumber();
  }
  return 0;
}

std::string TempPath(const char* inName) {
  return std::string(::testing::TempDir()) + "/mirelan_" + std::to_string(::getpid()) + "_" + inName;
}

}  // namespace

TEST(MemoryHandle, CopiesShareUntilOneIsWritten) {
  XMemoryHandle a = Filled(64, 0);
  XMemoryHandle b = a;
  EXPECT_TRUE(a.IsShared());
  {
    XLock read(b, kLockRead), readA(a, kLockRead);
    EXPECT_EQ(a.GetData(), b.GetData());  // reading shares
  }
  {
    XLock write(b, kLockReadWrite), readA(a, kLockRead);
    EXPECT_NE(a.GetData(), b.GetData());
    EXPECT_EQ(b.GetData()[5], 5);  // mode 1 keeps the content
    b.GetData()[5] = 99;
    XMemoryHandle snapshot = b;  // a copy of a block being written is private
    b.GetData()[6] = 42;
    EXPECT_EQ(snapshot.GetByte(6), 6);
  }
  EXPECT_EQ(a.GetByte(5), 5);
  EXPECT_EQ(b.GetByte(5), 99);
  EXPECT_FALSE(a.IsShared());
}

TEST(MemoryHandle, LocksCountPerBlockAndMoveWithADetach) {
  XMemoryHandle a(32);
  XMemoryHandle b = a;
  XLock l1(a, kLockRead);
  {
    XLock l2(b, kLockRead);
    EXPECT_EQ(a.GetLockCount(), 2u);
    XLock l3(b, kLockWrite);  // b leaves the block, taking its two locks along
    EXPECT_EQ(a.GetLockCount(), 1u);
    EXPECT_EQ(b.GetLockCount(), 2u);
  }
  EXPECT_EQ(b.GetLockCount(), 0u);
  EXPECT_EQ(a.GetLockCount(), 1u);
}

TEST(MemoryHandle, SwapOnLockHappensOnceAndNotForAWholeWrite) {
  XMemoryHandle h = Filled(8, 1);
  h.SetSwapOnLock(kByteSwap32);
  XMemoryHandle copy = h;  // the pending swap belongs to the shared content
  {
    XLock r(h, kLockRead);
    EXPECT_EQ(h.GetData()[0], 4);
    EXPECT_EQ(h.GetData()[7], 5);
  }
  EXPECT_EQ(h.GetByte(0), 4);  // not swapped twice
  EXPECT_EQ(copy.GetByte(0), 4);
  h.SetSwapOnLock(kByteSwap16);
  { XLock w(h, kLockWrite); }  // the old content is of no interest: no swap
  EXPECT_EQ(h.GetSwapOnLock(), kNoByteSwap);
  EXPECT_EQ(copy.GetSwapOnLock(), kByteSwap16);  // the copy still owes its swap
  EXPECT_EQ(copy.GetByte(0), 3);
}

TEST(MemoryHandle, ResizeClearCloneAndEmpty) {
  XMemoryHandle h = Filled(10, 0);
  XMemoryHandle shared = h;
  h.Resize(20);
  EXPECT_EQ(h.GetByte(9), 9);
  EXPECT_EQ(shared.GetDataSize(), 10u);
  XMemoryHandle clone = h.CloneMemory();
  h.Clear(0xAB);
  EXPECT_EQ(clone.GetByte(3), 3);
  EXPECT_EQ(h.GetByte(19), 0xAB);
  h.Empty();
  EXPECT_EQ(h.GetDataSize(), 0u);
  EXPECT_THROW(h.GetByte(0), XInternalError);
}

TEST(MemoryHandle, PaddedSizeIsTheNextMultipleOfSixteen) {
  const std::pair<UInt64, UInt64> cases[] = {{0, 0}, {1, 16}, {15, 16}, {16, 16}, {17, 32}, {31, 32}, {33, 48}};
  for (auto [size, padded] : cases) EXPECT_EQ(XMemoryHandle(size).GetPaddedSize(), padded) << size;
}

TEST(MemoryHandle, BlocksBeyondTheLimitAreRefusedBeforeAllocating) {
  const UInt64 limit = XMemoryHandle::GetAllocationLimit();
  XMemoryHandle::SetAllocationLimit(1 << 20);
  XMemoryHandle::ResetPeakAllocatedBytes();
  const UInt64 before = XMemoryHandle::GetPeakAllocatedBytes();
  EXPECT_EQ(ErrorOf([] { XMemoryHandle h((1 << 20) + 1); }), kErrOutOfMemory);
  XMemoryHandle kept(1 << 20);  // at the limit is allowed
  EXPECT_EQ(ErrorOf([&] { kept.Resize(1 << 21); }), kErrOutOfMemory);
  EXPECT_EQ(kept.GetDataSize(), UInt64(1) << 20);  // nothing lost
  XMemoryHandle::SetAllocationLimit(limit);
  EXPECT_GE(XMemoryHandle::GetPeakAllocatedBytes(), before + (1 << 20));
  EXPECT_LT(XMemoryHandle::GetPeakAllocatedBytes(), before + (2 << 20));
}

TEST(ByteOrder, SwapModesCopyAndSwapTheirUnits) {
  const UInt8 source[7] = {1, 2, 3, 4, 5, 6, 7};
  auto swapped = [&](XByteSwapMode inMode) {
    std::vector<UInt8> dest(7, 0);
    SwapBufferBytes(dest.data(), source, 7, inMode);
    return dest;
  };
  EXPECT_EQ(swapped(kNoByteSwap), (std::vector<UInt8>{1, 2, 3, 4, 5, 6, 7}));
  EXPECT_EQ(swapped(kByteSwap16), (std::vector<UInt8>{2, 1, 4, 3, 6, 5, 7}));  // a short tail is copied
  EXPECT_EQ(swapped(kByteSwap32), (std::vector<UInt8>{4, 3, 2, 1, 5, 6, 7}));
  std::vector<UInt8> inPlace(source, source + 7);
  SwapBufferBytes(inPlace.data(), inPlace.data(), 7, kByteSwap32);
  EXPECT_EQ(inPlace, swapped(kByteSwap32));
}

// Serves a handle's data from a private copy, as a lazy file reader would.
class XCountingFetcher : public XDataFetcher {
 public:
  explicit XCountingFetcher(XMemoryHandle inData, int* outCount) : itsData(inData), itsCount(outCount) {}
  bool LoadDataSelf(XLockable& ioTarget) override {
    ++*itsCount;
    static_cast<XMemoryHandle&>(ioTarget).ShareBlockOf(itsData);
    return true;
  }

 private:
  XMemoryHandle itsData;
  int* itsCount;
};

TEST(MemoryHandle, FetcherSuppliesDataOnFirstLockAndAfterPurge) {
  XRegisterCoreClasses();
  XMemoryStream s;
  s.WriteObject(Filled(100, 3));
  s.SeekTo(0);
  auto lazy = s.ReadObjectAs<XMemoryHandle>(XStorable::kReadHeaderOnly);
  EXPECT_EQ(s.GetRemaining(), 0u);  // the data was stepped over
  EXPECT_EQ(lazy->GetDataSize(), 100u);
  EXPECT_FALSE(lazy->IsDataPresent());
  EXPECT_EQ(ErrorOf([&] { XLock l(*lazy, kLockRead); }), kErrGeneral);  // no fetcher

  int fetches = 0;
  lazy->SetDataFetcher(new XCountingFetcher(Filled(100, 3), &fetches));
  EXPECT_EQ(lazy->GetByte(1), 4);
  EXPECT_EQ(lazy->GetByte(2), 5);
  EXPECT_EQ(fetches, 1);
  EXPECT_TRUE(lazy->Purge());
  EXPECT_EQ(lazy->GetByte(99), 102);
  EXPECT_EQ(fetches, 2);
  XLock held(*lazy, kLockRead);
  EXPECT_FALSE(lazy->Purge());  // locked data stays
}

TEST(MemoryHandle, StoredFormRoundTripsPlainAndCompressed) {
  XRegisterCoreClasses();
  XMemoryHandle packed(5000);
  packed.Clear(0x11);
  packed.SetCompressionType(kZlibCompressed);
  XMemoryStream s(kBigEndian);
  s.WriteObject(Filled(1000, 7));
  UInt64 afterPlain = s.GetPosition();
  s.WriteObject(packed);
  EXPECT_LT(s.GetExtent() - afterPlain, 200u);
  const UInt8* b = s.GetBuffer();
  EXPECT_EQ(std::vector<UInt8>(b, b + 20),
            (std::vector<UInt8>{0, 0, 0, 33, 0, 0, 0, 33, 0, 0, 0, 0, 0, 0, 0x03, 0xE8, 0, 0, 0, 0}));
  s.SeekTo(0);
  EXPECT_EQ(s.ReadObjectAs<XMemoryHandle>()->GetByte(999), static_cast<UInt8>(7 + 999));
  EXPECT_EQ(s.ReadObjectAs<XMemoryHandle>()->GetByte(4999), 0x11);

  UInt64 size = 0, offset = 0;
  XCompressionType type = kNotCompressed;
  s.SeekTo(afterPlain + 4);  // after the object's tag
  XMemoryHandle::GetHandleInfoFromStream(s, size, type, offset, true);
  EXPECT_TRUE(size == 5000u && type == kZlibCompressed);
  EXPECT_EQ(offset, afterPlain + 4 + 4 + 8 + 4 + 8);
  EXPECT_EQ(s.GetPosition(), afterPlain + 4);
}

TEST(MemoryHandle, CorruptStoredFormsFailBeforeAllocating) {
  XRegisterCoreClasses();
  struct { SInt64 size; UInt32 compression; SInt32 error; } cases[] = {
      {SInt64(1) << 40, kNotCompressed, kErrBadStreamSize},
      {-5, kNotCompressed, kErrBadStreamSize},
      {10, 9, kErrBadStreamSize},  // no such compression
      {SInt64(1) << 40, kZlibCompressed, kErrBadStreamSize},
      {100, kZlibCompressed, kErrBadCompressedData}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.size);
    XMemoryStream s;
    s.WriteVersion(XMemoryHandle::GetClassVersion());
    s.WriteVersion(XMemoryHandle::GetClassVersion());
    s.Write64S(c.size);
    s.Write32(c.compression);
    if (c.compression == kZlibCompressed) s.Write64S(4);  // the packed size
    s.Write32(0);
    s.SeekTo(0);
    EXPECT_EQ(ErrorOf([&] { delete s.ReadObject(); }), c.error);
  }
}

TEST(MemoryHandle, ConcurrentReadersShareOneBlock) {
  XMemoryHandle h = Filled(1 << 16, 0);
  std::vector<std::thread> readers;
  std::atomic<UInt64> sum{0};
  for (int t = 0; t < 4; ++t)
    readers.emplace_back([&] {
      for (int i = 0; i < 200; ++i) {
        XLock l(h, kLockRead);
        sum += h.GetData()[i];
      }
    });
  for (auto& t : readers) t.join();
  EXPECT_EQ(h.GetLockCount(), 0u);
  EXPECT_GT(sum.load(), 0u);
}

TEST(Files, MappedRangeCopiesOnWriteAndBufferedStreamReadsBack) {
  std::string path = TempPath("file.bin");
  {
    XFileStream out(path, kCreateReadWrite, 64, kBigEndian);
    for (UInt32 i = 0; i < 1000; ++i) out.Write32(i);
    std::vector<UInt8> big(5000, 0x5A);
    out.WriteBuffer8(big.data(), big.size());  // larger than the buffer: written straight
    out.SeekTo(2);
    out.Write32(0xFFFFFFFF);  // patch across two values already written
  }
  XFileStream in(path, kReadOnly, 64, kBigEndian);
  EXPECT_EQ(in.Read32(), 0x0000FFFFu);
  EXPECT_EQ(in.Read32(), 0xFFFF0001u);
  in.SeekTo(4 * 999);
  EXPECT_EQ(in.Read32(), 999u);
  std::vector<UInt8> back(5000);
  in.ReadBuffer8(back.data(), back.size());
  EXPECT_EQ(back[4999], 0x5A);
  EXPECT_EQ(ErrorOf([&] { in.Read8(); }), kErrEndOfStream);
  EXPECT_EQ(ErrorOf([&] { in.Write8(1); }), kErrFile);
  EXPECT_EQ(ErrorOf([] { XFile missing("/nonexistent/dir/file", kReadOnly); }), kErrFile);

  XMappedFileMemoryHandle mapped(path, 4000, 3000);  // bytes 0x5A from 4000 on
  mapped.SetByte(0, 1);  // a private copy: the file stays as it was
  EXPECT_EQ(mapped.GetByte(0), 1);
  EXPECT_EQ(XMappedFileMemoryHandle(path, 4000, 10).GetByte(0), 0x5A);
  EXPECT_EQ(ErrorOf([&] { XMappedFileMemoryHandle beyond(path, 8000, 2000); }), kErrBadStreamSize);
  {
    XFileStream cut(path, kReadWrite);
    cut.SeekTo(14);
    cut.Truncate();
    EXPECT_EQ(cut.GetExtent(), 14u);
  }
  std::remove(path.c_str());
}

TEST(Compressor, RoundTripAndDamage) {
  XMemoryHandle packed = XZCompressor(0, -1).CompressToMemory(Filled(100000, 0));
  EXPECT_LT(packed.GetDataSize(), 100000u);
  XMemoryHandle back = XZDecompressor().DecompressFromMemory(packed);
  EXPECT_EQ(back.GetDataSize(), 100000u);
  EXPECT_EQ(back.GetByte(12345), static_cast<UInt8>(12345));
  packed.SetByte(20, packed.GetByte(20) ^ 0xFF);
  EXPECT_EQ(ErrorOf([&] { XZDecompressor().DecompressFromMemory(packed); }), kErrBadCompressedData);
  UInt8 lying[12] = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 1, 2, 3, 4};
  EXPECT_EQ(ErrorOf([&] { XZDecompressor().DecompressFromMemory(lying, 12); }), kErrBadCompressedData);
}
