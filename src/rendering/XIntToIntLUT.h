// A storable table from integer values to 8-bit numbers.
#pragma once

#include "core/XExport.h"
#include "core/XStorable.h"
#include "rendering/XLUT.h"

namespace mirelan {

class XStream;

class MIRELAN_EXPORT XIntToIntLUT : public XLUT<UInt8>, public XStorable {
 public:
  static constexpr UInt16 kClassID = 21;

  explicit XIntToIntLUT(UInt32 inSize = 0);
  XIntToIntLUT(const XIntToIntLUT& inOther) = default;
  explicit XIntToIntLUT(XStream& inStream);
  XIntToIntLUT& operator=(const XIntToIntLUT& inOther);
  ~XIntToIntLUT() override = default;

  static XVersion GetClassVersion() { return XVersion(kClassID, 0); }
  static XVersion GetSuperClassVersion() { return XStorable::GetClassVersion(); }
  XVersion GetVersion() const override { return GetClassVersion(); }
  XStorable* Clone() const override { return new XIntToIntLUT(*this); }
  UInt64 GetStreamUsage() const override { return GetDataSize(); }
  void ReadStream2(XStream& inStream, XOptions inOptions = kReadAll) override;
  void WriteStream2(XStream& inStream, XOptions inOptions = kReadAll) const override;

  // Unlike the colour table's, this ramp works in unsigned 8-bit steps: the
  // difference end - start is taken modulo 256, so a descending ramp wraps
  // and only its last entry comes out right. Kept for the tables it made.
  void Blend(UInt32 inFrom, UInt32 inTo) override;

  // The shared linear table of a depth, 1 to 16. Never change it: copy it.
  static const XIntToIntLUT& GetStandardLUT(UInt32 bitDepth);
  static void DisposeStandardLUTs();
};

}  // namespace mirelan
