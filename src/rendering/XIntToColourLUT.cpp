#include "rendering/XIntToColourLUT.h"

#include <array>
#include <memory>
#include <mutex>

#include "core/XException.h"
#include "core/XStream.h"
#include "volume/XARGB32Volume.h"

namespace mirelan {

namespace {

const XARGB32Colour kOpaqueBlack(255, 0, 0, 0);
const XARGB32Colour kOpaqueWhite(255, 255, 255, 255);

std::array<std::unique_ptr<XIntToColourLUT>, 17>& StandardLUTs() {
  static std::array<std::unique_ptr<XIntToColourLUT>, 17> sTables;
  return sTables;
}

// Guards the slots: the stream reader and the renderers make tables from
// any thread.
std::mutex& StandardLUTsMutex() {
  static std::mutex sMutex;
  return sMutex;
}

}  // namespace

UInt32 XIntToColourLUT::FloorLog2(UInt32 inValue) {
  UInt32 result = 0;
  for (UInt32 shift : {16u, 8u, 4u, 2u, 1u}) {
    if (inValue >> shift) {
      inValue >>= shift;
      result += shift;
    }
  }
  return result;
}

XIntToColourLUT::XIntToColourLUT(UInt32 inSize)
    : XLUT<XARGB32Colour>(inSize), itsTrueDepth(FloorLog2(inSize)), itsLastTrueValue(inSize - 1) {}

XIntToColourLUT::XIntToColourLUT(const XIntToColourLUT& inOther)
    : XStorable(inOther),
      XLUT<XARGB32Colour>(inOther),
      itsTrueDepth(inOther.itsTrueDepth),
      itsLastTrueValue(inOther.itsLastTrueValue) {
  XThreadLock lock(inOther.itsMonotonicityMutex);
  itsCachedMonotonic = inOther.itsCachedMonotonic;
  itsCachedDirection = inOther.itsCachedDirection;
  itsCachedSeed = inOther.itsCachedSeed;
}

// Files from before the class word was written here hold the size straight
// away: when the word read is no tag of this class, it is given back and the
// tag under which the object is being created stands in.
XIntToColourLUT::XIntToColourLUT(XStream& inStream)
    : XLUT<XARGB32Colour>(0), itsTrueDepth(0), itsLastTrueValue(0) {
  XVersion version = inStream.ReadVersion();
  if (!version.IsA(GetClassVersion())) {
    inStream.Seek(-4);
    version = inStream.GetLastClassCreated();
  }
  CheckClassVersion(version, GetClassVersion());
  ReadBody(inStream, version);
}

XIntToColourLUT::~XIntToColourLUT() = default;

XIntToColourLUT& XIntToColourLUT::operator=(const XIntToColourLUT& inOther) {
  if (this == &inOther) return *this;
  if (inOther.GetSize() == GetSize()) {
    XLUT<XARGB32Colour>::operator=(inOther);
    itsTrueDepth = inOther.itsTrueDepth;
    itsLastTrueValue = inOther.itsLastTrueValue;
    XThreadLock lock(inOther.itsMonotonicityMutex);
    itsCachedMonotonic = inOther.itsCachedMonotonic;
    itsCachedDirection = inOther.itsCachedDirection;
    itsCachedSeed = inOther.itsCachedSeed;
  } else {
    // The depths decide the resampling, not the sizes: a 12-bit table in
    // 65536 entries maps its 4096 meaningful ones.
    const UInt32 max = GetLastValueForDepth(), sourceMax = inOther.GetLastValueForDepth();
    XAssert(max > 0 && max <= GetLastEntry() && sourceMax <= inOther.GetLastEntry());
    {
      XLock writeLock(*this, kLockReadWrite);
      XLock readLock(inOther, kLockRead);
      const XARGB32Colour* source = inOther.Entries();
      for (UInt32 i = 0; i <= max; ++i) Entries()[i] = source[sourceMax * i / max];
      Fill(max + 1, GetLastEntry(), Entries()[max]);
    }
    LUTChanged();
  }
  ResetLookupCache();
  return *this;
}

void XIntToColourLUT::SetTrueDepth(UInt32 inDepth) {
  itsTrueDepth = inDepth;
  itsLastTrueValue = MaxValueForDepth(inDepth);
}

void XIntToColourLUT::MakeChannelLUT(XRGBChannel inChannels) {
  const UInt32 max = GetLastValueForDepth();
  XAssert(max > 0);  // true depth 0 would divide by zero
  XAssert(max <= GetLastEntry());
  XLock lock(*this, kLockReadWrite);
  for (UInt32 i = 0; i <= max; ++i) {
    const UInt8 v = UInt8((255 * UInt64(i)) / max);
    SetValue(i, XARGB32Colour(255, (inChannels & kRedChannel) ? v : 0,
                              (inChannels & kGreenChannel) ? v : 0, (inChannels & kBlueChannel) ? v : 0));
  }
}

void XIntToColourLUT::MakeWavelengthLUT(Float64 inNanometres) {
  Wavelength(inNanometres, 0, MaxValueForDepth(itsTrueDepth));
}

void XIntToColourLUT::Wavelength(Float64 inNanometres, UInt32 inFrom, UInt32 inTo) {
  if (GetSize() == 0) return;
  XLock lock(*this, kLockReadWrite);
  inFrom = std::min(inFrom, GetLastEntry());
  inTo = std::min(inTo, GetLastEntry());
  // One colour serves both ends: black goes in first, so with inFrom equal
  // to inTo the spectral colour wins.
  XARGB32Colour colour = kOpaqueBlack;
  SetValue(inFrom, colour);
  colour.SetWavelength(inNanometres);
  SetValue(inTo, colour);
  Blend(inFrom, inTo);
}

bool XIntToColourLUT::IsMonotonic(XMonotonicityDirection direction) const {
  XAssert(direction < 3);
  XThreadLock guard(itsMonotonicityMutex);
  if (itsCachedSeed == GetSeed() && itsCachedDirection == direction) return itsCachedMonotonic;
  bool result = true;
  if (GetSize() != 0) {
    XLock lock(*this, kLockRead);
    const XARGB32Colour* entries = Entries();
    UInt8 previous = entries[0].GetIntensity();
    for (UInt32 i = 0; result; ++i) {
      const UInt8 current = entries[i].GetIntensity();
      if (current != previous) {
        if (direction == kMonotonicAny)
          direction = previous < current ? kMonotonicIncreasing : kMonotonicDecreasing;
        else if (direction == kMonotonicIncreasing)
          result = previous < current;
        else
          result = previous > current;
      }
      previous = current;
      if (i == GetLastEntry()) break;
    }
  }
  // An "any" query is cached under the direction it found, so the next
  // "any" scans again; cheap enough.
  itsCachedSeed = GetSeed();
  itsCachedMonotonic = result;
  itsCachedDirection = direction;
  return result;
}

XARGB32Volume* XIntToColourLUT::GetImageOfLUT(UInt32 inWidth, UInt32 inHeight) const {
  std::unique_ptr<XARGB32Volume> image(new XARGB32Volume(inWidth, inHeight, 1));
  if (inWidth == 0) return image.release();
  XAssert(GetSize() > 0);
  XLock imageLock(*image, kLockReadWrite);
  XLock lock(*this, kLockRead);
  const Float64 step = Float64(GetSize()) / inWidth;
  const X3DRect& bounds = image->GetBounds();
  for (UInt32 x = 0; x < inWidth; ++x) {
    const XARGB32Colour colour = Entries()[UInt32(step * x)];
    for (UInt32 y = 0; y < inHeight; ++y)
      image->SetVoxel(bounds.GetLeft() + SInt32(x), bounds.GetTop() + SInt32(y), bounds.GetFront(), colour);
  }
  return image.release();
}

void XIntToColourLUT::Dump() const {
  std::unique_ptr<XARGB32Volume> image(GetImageOfLUT(256, 50));
  image->Dump(kXYPlane, 0);
}

XVector<XARGB32Colour> XIntToColourLUT::GetVectorOfColours() const {
  XAssert(GetSize() >= 256);
  XLock lock(*this, kLockRead);
  return XVector<XARGB32Colour>(Entries(), Entries() + 256);
}

const XIntToColourLUT& XIntToColourLUT::GetStandardLUT(UInt32 bitDepth) {
  XAssert(bitDepth > 0);
  if (bitDepth > 16) bitDepth = 8;  // quietly, unlike the number tables
  std::lock_guard<std::mutex> guard(StandardLUTsMutex());
  std::unique_ptr<XIntToColourLUT>& slot = StandardLUTs()[bitDepth];
  if (!slot) {
    const UInt32 max = MaxValueForDepth(bitDepth);
    std::unique_ptr<XIntToColourLUT> table(new XIntToColourLUT(max > 255 ? 65536 : 256));
    table->MakeLinearLUT(0, max, kOpaqueBlack, kOpaqueWhite);
    // Entries past the depth's range stay white.
    table->Fill(max + 1, table->GetLastEntry(), kOpaqueWhite);
    table->SetTrueDepth(bitDepth);
    table->SetLastTrueValue(max);
    slot = std::move(table);
  }
  return *slot;
}

void XIntToColourLUT::DisposeStandardLUTs() {
  std::lock_guard<std::mutex> guard(StandardLUTsMutex());
  for (auto& slot : StandardLUTs()) slot.reset();
}

// ------------------------------------------------------------------ streams
// version word 0x00010017, size (32), entries as a memory handle object
// (four bytes an entry: alpha, red, green, blue), true depth (32), last true
// value (32, from version 1 on).

void XIntToColourLUT::WriteStream2(XStream& inStream, XOptions) const {
  XLock lock(*this, kLockRead);
  inStream.WriteVersion(GetClassVersion());
  inStream.Write32(GetSize());
  inStream.WriteObject(*itsData, kReadAll);
  inStream.Write32(itsTrueDepth);
  inStream.Write32(itsLastTrueValue);
}

void XIntToColourLUT::ReadStream2(XStream& inStream, XOptions) {
  ReadBody(inStream, ReadCheckedClassVersion(inStream, GetClassVersion()));
}

bool XIntToColourLUT::NextWordIsClassWord(XStream& inStream) {
  UInt8 bytes[4];
  if (inStream.PeekBuffer8(bytes, 4) < 4) return true;  // let the reader fail at the end
  const UInt64 position = inStream.GetPosition();
  const XVersion next = inStream.ReadVersion();
  inStream.SeekTo(position);
  return next.IsA(GetClassVersion());
}

// The registry may build tables through the default constructor and this
// call instead of the stream constructor; old files must read the same way.
bool XIntToColourLUT::PreReadStream(XStream& inStream, const XVersion& inVersion, XOptions) {
  if (NextWordIsClassWord(inStream)) return true;
  CheckClassVersion(inVersion, GetClassVersion());
  ReadBody(inStream, inVersion);
  return false;
}

void XIntToColourLUT::ReadBody(XStream& inStream, const XVersion& inVersion) {
  const UInt32 size = inStream.Read32();
  std::unique_ptr<XMemoryHandle> data = inStream.ReadObjectAs<XMemoryHandle>();
  if (!data) throw XException(kErrWrongClass, "look-up table without entries");
  if (data->GetDataSize() / sizeof(XARGB32Colour) != size)
    throw XException(kErrBadStreamSize, "look-up table size does not match its entries");
  // Tables stored under the older id carry no depth: the size gives it.
  const UInt32 depth = inVersion.GetClassID() == kClassID ? inStream.Read32() : FloorLog2(size);
  const UInt32 lastTrue = inVersion.GetClassVersion() != 0 ? inStream.Read32() : MaxValueForDepth(depth);
  AdoptData(std::move(data), size);
  XAssert((itsData->GetDataSize() / sizeof(XARGB32Colour)) == GetSize());
  itsTrueDepth = depth;
  itsLastTrueValue = lastTrue;
  ResetLookupCache();
  LUTChanged();
}

}  // namespace mirelan
