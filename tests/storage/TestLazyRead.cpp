// Reading stored objects lazily: nothing is loaded before the first lock, the
// right bytes after it, in both byte orders; the thresholds that choose between
// reading at once, fetching and mapping; coded images fetched on demand; and
// files that change, shrink or go away under a lazy object.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "CodecTestSupport.h"
#include "core/XHandleStream.h"
#include "storage/XJPEGStream.h"
#include "storage/XLazyReadFileStream.h"
#include "storage/XRegisterImagingClasses.h"
#include "volume/XFPVolume.h"

using namespace mirelan;
using namespace storagetest;
using namespace codectest;

namespace {

class LazyRead : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { XRegisterImagingClasses(); }

  // Writes the objects behind a stream header; inWrite writes them.
  template <class Write>
  XFileSpec WriteFile(const std::string& inName, XByteOrder inOrder, Write inWrite, UInt16 inFormat = 2) {
    const XFileSpec file = itsFolder.Path(inName);
    XFileStream stream(file, kCreateReadWrite, XFileStream::kDefaultBufferBytes, inOrder);
    stream.WriteStreamInfo(inFormat);
    inWrite(stream);
    stream.Flush();
    return file;
  }

  // A lazy stream on the file, behind its header.
  struct Reader {
    explicit Reader(const XFileSpec& inFile) : file(inFile, kReadOnly), stream(file, kReadOnly, 32) {
      stream.ReadStreamInfo();
    }
    template <class T>
    std::unique_ptr<T> Next() {
      std::unique_ptr<XStorable> object(stream.ReadObject());
      T* typed = dynamic_cast<T*>(object.get());
      EXPECT_TRUE(typed != nullptr);
      object.release();
      return std::unique_ptr<T>(typed);
    }
    XFile file;
    XLazyReadFileStream stream;
  };

  static XMemoryHandle Filled(UInt64 inSize, UInt8 inFirst) {
    XMemoryHandle h(inSize);
    XLock lock(h, kLockWrite);
    for (UInt64 i = 0; i < inSize; ++i) h.GetData()[i] = UInt8(inFirst + i * 7);
    return h;
  }

  static bool Present(const XVolume& inVolume) {
    return dynamic_cast<const XBasePackedVolume&>(inVolume).GetStorage().IsDataPresent();
  }

  TempFolder itsFolder;
};

// Rewrites a file in place with other bytes of the same length, late enough
// for the change time to move on.
void Scribble(const XFileSpec& inFile, UInt64 inOffset) {
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  XFile file(inFile, kReadWrite);
  const UInt8 bytes[4] = {1, 2, 3, 4};
  file.WriteAt(inOffset, bytes, 4);
}

}  // namespace

TEST_F(LazyRead, VolumesLoadNothingUntilLockedAndThenTheRightBytesInBothOrders) {
  const std::unique_ptr<XGrey16Volume> grey16 = PatternGrey16(X3DRect(-5, 3, 2, 59, 67, 5));
  std::unique_ptr<XFPVolume> floats(new XFPVolume(40, 30, 2));
  {
    XLock lock(*floats, kLockWrite);
    for (UInt64 i = 0; i < floats->GetVolumeVoxels(); ++i) floats->GetBaseVoxelPtr()[i] = Float32(i) * 0.25f - 7.f;
  }
  const std::unique_ptr<XGrey8Volume> small = PatternGrey8(X3DRect(4, 4, 1));  // 32 bytes: read at once
  for (XByteOrder order : {kLittleEndian, kBigEndian}) {
    SCOPED_TRACE(order == kBigEndian ? "big-endian" : "little-endian");
    const XFileSpec file = WriteFile("volumes.mis", order, [&](XStream& s) {
      s.WriteObject(*grey16);
      s.WriteObject(*floats);
      s.WriteObject(*small);
    });
    Reader reader(file);
    const UInt64 before = XMemoryHandle::GetAllocatedBytes();
    std::unique_ptr<XVolume> a = reader.Next<XVolume>();
    std::unique_ptr<XVolume> b = reader.Next<XVolume>();
    std::unique_ptr<XVolume> c = reader.Next<XVolume>();
    EXPECT_LT(XMemoryHandle::GetAllocatedBytes() - before, 4096u);  // no voxels yet
    EXPECT_FALSE(Present(*a));
    EXPECT_FALSE(Present(*b));
    EXPECT_TRUE(Present(*c));
    EXPECT_EQ(a->GetBounds(), grey16->GetBounds());
    EXPECT_TRUE(*a == *grey16);  // the first lock fetches and swaps
    EXPECT_TRUE(*b == *floats);
    EXPECT_TRUE(*c == *small);
  }
}

TEST_F(LazyRead, CopiesMadeBeforeTheFirstLockShareTheOneRead) {
  const std::unique_ptr<XGrey16Volume> grey16 = PatternGrey16(X3DRect(50, 40, 1));
  const XFileSpec file = WriteFile("one.mis", kBigEndian, [&](XStream& s) { s.WriteObject(*grey16); });
  Reader reader(file);
  std::unique_ptr<XVolume> lazy = reader.Next<XVolume>();
  std::unique_ptr<XVolume> copy(lazy->Clone());
  EXPECT_TRUE(*copy == *grey16);
  ASSERT_EQ(::unlink(file.GetPath().c_str()), 0);
  EXPECT_TRUE(*lazy == *grey16);  // from what the copy's fetch kept
}

TEST_F(LazyRead, BlocksAreReadAtOnceFetchedOrMappedBySizeAndCompression) {
  XMemoryHandle packed = Filled(0x400000, 9);
  packed.SetCompressionType(kZlibCompressed);
  const XFileSpec file = WriteFile("handles.mis", kLittleEndian, [&](XStream& s) {
    s.WriteObject(Filled(88, 1));
    s.WriteObject(Filled(89, 2));
    s.WriteObject(Filled(0x400000, 3));
    s.WriteObject(Filled(0x3FFFFF, 4));
    s.WriteObject(packed);
  });
  Reader reader(file);
  std::unique_ptr<XMemoryHandle> at88 = reader.Next<XMemoryHandle>();
  std::unique_ptr<XMemoryHandle> at89 = reader.Next<XMemoryHandle>();
  std::unique_ptr<XMemoryHandle> mapped = reader.Next<XMemoryHandle>();
  std::unique_ptr<XMemoryHandle> below = reader.Next<XMemoryHandle>();
  std::unique_ptr<XMemoryHandle> compressed = reader.Next<XMemoryHandle>();
  EXPECT_EQ(reader.stream.GetPosition(), reader.stream.GetExtent());
  EXPECT_TRUE(at88->IsDataPresent());
  EXPECT_EQ(at88->GetDataFetcher(), nullptr);
  EXPECT_FALSE(at89->IsDataPresent());
  EXPECT_NE(at89->GetDataFetcher(), nullptr);
  EXPECT_NE(dynamic_cast<XMappedFileMemoryHandle*>(mapped.get()), nullptr);
  EXPECT_EQ(mapped->GetDataFetcher(), nullptr);
  EXPECT_FALSE(below->IsDataPresent());
  EXPECT_FALSE(compressed->IsDataPresent());
  EXPECT_EQ(dynamic_cast<XMappedFileMemoryHandle*>(compressed.get()), nullptr);
  EXPECT_EQ(at88->GetByte(87), UInt8(1 + 87 * 7));
  EXPECT_EQ(at89->GetByte(88), UInt8(2 + 88 * 7));
  EXPECT_EQ(mapped->GetByte(0x3FFFFF), UInt8(3 + 0x3FFFFF * 7));
  EXPECT_EQ(below->GetByte(12345), UInt8(4 + 12345 * 7));
  EXPECT_EQ(compressed->GetByte(4000000), UInt8(9 + 4000000 * 7));
}

TEST_F(LazyRead, APurgedBlockComesBackFromTheFetchersCacheWithoutTheFile) {
  const XFileSpec file = WriteFile("purge.mis", kBigEndian, [&](XStream& s) { s.WriteObject(Filled(5000, 5)); });
  Reader reader(file);
  std::unique_ptr<XMemoryHandle> handle = reader.Next<XMemoryHandle>();
  EXPECT_EQ(handle->GetByte(4999), UInt8(5 + 4999 * 7));
  EXPECT_TRUE(handle->Purge());
  EXPECT_FALSE(handle->IsDataPresent());
  ASSERT_EQ(::unlink(file.GetPath().c_str()), 0);  // a second read would fail
  EXPECT_EQ(handle->GetByte(17), UInt8(5 + 17 * 7));
}

TEST_F(LazyRead, OlderStreamFormatsAreReadLazilyToo) {
  const std::unique_ptr<XGrey16Volume> grey16 = PatternGrey16(X3DRect(30, 20, 1));
  const XFileSpec file = WriteFile("old.mis", kBigEndian, [&](XStream& s) { s.WriteObject(*grey16); }, 1);
  Reader reader(file);
  std::unique_ptr<XVolume> lazy = reader.Next<XVolume>();
  EXPECT_FALSE(Present(*lazy));
  EXPECT_TRUE(*lazy == *grey16);
}

TEST_F(LazyRead, BlocksBeyond32BitsAreRefused) {
  // A compressed block may claim 1032 times its packed size: 4 GiB needs
  // about 4 MiB behind it, left as a hole in the file.
  const XFileSpec file = WriteFile("huge.mis", kLittleEndian, [&](XStream& s) {
    s.WriteVersion(XMemoryHandle::GetClassVersion());
    s.WriteVersion(XMemoryHandle::GetClassVersion());
    s.Write64S(SInt64(1) << 32);
    s.Write32(kZlibCompressed);
    s.Write64S(SInt64(5) << 20);
    s.SeekTo(s.GetPosition() + (UInt64(5) << 20) - 1);
    s.Write8(0);
  });
  Reader reader(file);
  EXPECT_EQ(ErrorOf([&] { delete reader.stream.ReadObject(); }), kErrOutOfMemory);
}

TEST_F(LazyRead, JPEGVolumesAreDecodedOnTheFirstLock) {
  const std::unique_ptr<XGrey8Volume> grey = PatternGrey8(X3DRect(3, -2, 0, 83, 58, 1));
  const std::unique_ptr<XARGB32Volume> colour = PatternARGB32(X3DRect(64, 48, 1));
  const XGrey8Volume empty(X3DRect(0, 0, 0));
  XMemoryStream coded;
  XJPEGStream(coded).WriteVolume(*colour, 75);
  const XFileSpec file = WriteFile("jpeg.mis", kBigEndian, [&](XStream& s) {
    grey->WriteStreamLossyCompressed(s, 75);
    colour->WriteStreamLossyCompressed(s, 75);
    empty.WriteStreamLossyCompressed(s, 75);
    // The older colour image form, version 2: a rectangle, the JPEG's length, the JPEG.
    s.WriteVersion(XVersion(514, 2));
    for (SInt32 v : {0, 0, 48, 64}) s.Write32(UInt32(v));  // left, top, bottom, right
    s.Write32(UInt32(coded.GetExtent()));
    s.WriteBuffer8(coded.GetBuffer(), coded.GetExtent());
    s.WriteObject(*grey);
  });
  // What an ordinary reader makes of the file.
  XFileStream plain(file, kReadOnly);
  plain.ReadStreamInfo();
  std::unique_ptr<XGrey8Volume> greyRead = plain.ReadObjectAs<XGrey8Volume>();
  std::unique_ptr<XARGB32Volume> colourRead = plain.ReadObjectAs<XARGB32Volume>();

  Reader reader(file);
  std::unique_ptr<XGrey8Volume> lazyGrey = reader.Next<XGrey8Volume>();
  std::unique_ptr<XARGB32Volume> lazyColour = reader.Next<XARGB32Volume>();
  std::unique_ptr<XGrey8Volume> lazyEmpty = reader.Next<XGrey8Volume>();
  std::unique_ptr<XARGB32Volume> lazyOlder = reader.Next<XARGB32Volume>();
  std::unique_ptr<XGrey8Volume> after = reader.Next<XGrey8Volume>();  // the stream went past the images
  EXPECT_FALSE(Present(*lazyOlder));
  EXPECT_TRUE(*lazyOlder == *colourRead);
  EXPECT_TRUE(*after == *grey);
  EXPECT_EQ(lazyGrey->GetBounds(), grey->GetBounds());
  EXPECT_FALSE(Present(*lazyGrey));
  EXPECT_FALSE(Present(*lazyColour));
  EXPECT_NE(lazyGrey->GetDataFetcher(), nullptr);
  EXPECT_TRUE(lazyEmpty->GetBounds().IsEmpty());
  EXPECT_EQ(lazyEmpty->GetDataFetcher(), nullptr);
  EXPECT_TRUE(*lazyGrey == *greyRead);
  EXPECT_TRUE(*lazyColour == *colourRead);
  EXPECT_LT(CompareGrey8(*lazyGrey, *grey).mean, 4);
  // The fetcher stays with the volume, which keeps its own bounds.
  EXPECT_NE(lazyGrey->GetDataFetcher(), nullptr);
  EXPECT_EQ(lazyGrey->GetBounds(), grey->GetBounds());
}

TEST_F(LazyRead, AFileCutShortChangedOrGoneFailsTheLockWithAnException) {
  const std::unique_ptr<XGrey16Volume> grey16 = PatternGrey16(X3DRect(64, 64, 2));
  const std::unique_ptr<XGrey8Volume> grey = PatternGrey8(X3DRect(40, 40, 1));
  auto write = [&](const std::string& inName) {
    return WriteFile(inName, kBigEndian, [&](XStream& s) {
      s.WriteObject(*grey16);
      grey->WriteStreamLossyCompressed(s, 75);
      s.WriteObject(Filled(0x500000, 1));  // mapped
    });
  };
  struct Lazy {
    std::unique_ptr<XVolume> block, image;
    std::unique_ptr<XMemoryHandle> mapped;
  };
  auto open = [&](const XFileSpec& inFile) {
    Reader reader(inFile);
    Lazy lazy;
    lazy.block = reader.Next<XVolume>();
    lazy.image = reader.Next<XVolume>();
    lazy.mapped = reader.Next<XMemoryHandle>();
    return lazy;
  };
  auto expectAllFail = [](Lazy& ioLazy) {
    EXPECT_EQ(ErrorOf([&] { XLock l(*ioLazy.block, kLockRead); }), kErrFileChanged);
    EXPECT_EQ(ErrorOf([&] { XLock l(*ioLazy.image, kLockRead); }), kErrFileChanged);
    EXPECT_EQ(ErrorOf([&] { XLock l(*ioLazy.mapped, kLockRead); }), kErrFileChanged);
  };
  {
    SCOPED_TRACE("cut short");
    const XFileSpec file = write("cut.mis");
    Lazy lazy = open(file);
    XFile(file, kReadWrite).SetSize(1000);
    expectAllFail(lazy);
  }
  {
    SCOPED_TRACE("rewritten in place");
    const XFileSpec file = write("changed.mis");
    Lazy lazy = open(file);
    Scribble(file, 2000);
    expectAllFail(lazy);
  }
  {
    SCOPED_TRACE("gone, then back");
    const XFileSpec file = write("gone.mis");
    const XFileSpec away = itsFolder.Path("away.mis");
    Lazy lazy = open(file);
    ASSERT_EQ(std::rename(file.GetPath().c_str(), away.GetPath().c_str()), 0);
    expectAllFail(lazy);
    // A failed fetch keeps nothing: once the file is back, the lock reads it.
    ASSERT_EQ(std::rename(away.GetPath().c_str(), file.GetPath().c_str()), 0);
    EXPECT_TRUE(*lazy.block == *grey16);
    EXPECT_LT(CompareGrey8(dynamic_cast<XGrey8Volume&>(*lazy.image), *grey).mean, 4);
    EXPECT_EQ(lazy.mapped->GetByte(5), 1 + 5 * 7);
  }
  {
    SCOPED_TRACE("another file in its place");
    const XFileSpec file = write("replaced.mis");
    Lazy lazy = open(file);
    const XFileSpec other = write("other.mis");
    ASSERT_EQ(std::rename(other.GetPath().c_str(), file.GetPath().c_str()), 0);
    expectAllFail(lazy);
  }
}

TEST_F(LazyRead, TheStreamOnlyReads) {
  const XFileSpec file = WriteFile("r.mis", kLittleEndian, [](XStream& s) { s.Write32(7); });
  XFile readWrite(file, kReadWrite);
  EXPECT_THROW(XLazyReadFileStream(readWrite, kReadWrite, 32), XInternalError);
  Reader reader(file);
  EXPECT_THROW(reader.stream.Write32(1), XInternalError);
  XLazyReadFileStream copy(reader.stream);
  EXPECT_EQ(copy.GetPosition(), reader.stream.GetPosition());
  EXPECT_EQ(copy.GetStreamInfo(), reader.stream.GetStreamInfo());
  EXPECT_EQ(copy.Read32(), 7u);
}
