#include "rendering/XIntToIntLUT.h"

#include <array>
#include <memory>
#include <mutex>

#include "core/XException.h"
#include "core/XStream.h"

namespace mirelan {

namespace {

std::array<std::unique_ptr<XIntToIntLUT>, 17>& StandardLUTs() {
  static std::array<std::unique_ptr<XIntToIntLUT>, 17> sTables;
  return sTables;
}

// Guards the slots: the stream reader and the renderers make tables from
// any thread.
std::mutex& StandardLUTsMutex() {
  static std::mutex sMutex;
  return sMutex;
}

}  // namespace

XIntToIntLUT::XIntToIntLUT(UInt32 inSize) : XLUT<UInt8>(inSize) {}

XIntToIntLUT::XIntToIntLUT(XStream& inStream) : XLUT<UInt8>(0) { ReadStream2(inStream); }

XIntToIntLUT& XIntToIntLUT::operator=(const XIntToIntLUT& inOther) {
  XLUT<UInt8>::operator=(inOther);
  return *this;
}

void XIntToIntLUT::Blend(UInt32 inFrom, UInt32 inTo) {
  if (GetSize() == 0) return;
  XLock lock(*this, kLockReadWrite);
  inFrom = std::min(inFrom, GetLastEntry());
  inTo = std::min(inTo, GetLastEntry());
  if (inTo <= inFrom) return;
  const UInt8 start = Entries()[inFrom];
  const UInt32 difference = UInt8(Entries()[inTo] - start);  // zero-extended
  const UInt32 span = inTo - inFrom;
  for (UInt32 i = inFrom + 1; i <= inTo && i != 0; ++i)
    SetValue(i, UInt8(start + (difference * (i - inFrom)) / span));
}

const XIntToIntLUT& XIntToIntLUT::GetStandardLUT(UInt32 bitDepth) {
  XAssert(bitDepth > 0);
  XAssert(bitDepth <= 16);
  std::lock_guard<std::mutex> guard(StandardLUTsMutex());
  std::unique_ptr<XIntToIntLUT>& slot = StandardLUTs()[bitDepth];
  if (!slot) {
    const UInt32 max = (UInt32(1) << bitDepth) - 1;
    std::unique_ptr<XIntToIntLUT> table(new XIntToIntLUT(max < 256 ? 256 : 65536));
    // Entries above max are left as allocated.
    table->MakeLinearLUT(0, max, 0, 255);
    slot = std::move(table);
  }
  return *slot;
}

void XIntToIntLUT::DisposeStandardLUTs() {
  std::lock_guard<std::mutex> guard(StandardLUTsMutex());
  for (auto& slot : StandardLUTs()) slot.reset();
}

// version word 0x00000015, size (32), entries as a memory handle object (one
// byte an entry).

void XIntToIntLUT::WriteStream2(XStream& inStream, XOptions) const {
  XLock lock(*this, kLockRead);
  inStream.WriteVersion(GetClassVersion());
  inStream.Write32(GetSize());
  inStream.WriteObject(*itsData, kReadAll);
}

void XIntToIntLUT::ReadStream2(XStream& inStream, XOptions) {
  ReadCheckedClassVersion(inStream, GetClassVersion());
  const UInt32 size = inStream.Read32();
  std::unique_ptr<XMemoryHandle> data = inStream.ReadObjectAs<XMemoryHandle>();
  if (!data) throw XException(kErrWrongClass, "look-up table without entries");
  if (data->GetDataSize() != size)
    throw XException(kErrBadStreamSize, "look-up table size does not match its entries");
  AdoptData(std::move(data), size);
  XAssert(itsData->GetDataSize() == GetSize());
  ResetLookupCache();
  LUTChanged();
}

}  // namespace mirelan
