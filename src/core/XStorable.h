// Root of every class that can be written to and read from an XStream.
#pragma once

#include "core/XExport.h"
#include "core/XVersion.h"

namespace mirelan {

class XStream;

class MIRELAN_EXPORT XStorable : public XVersioned {
 public:
  // Reading options. 0 reads everything; 2 asks a volume for its header only.
  using XOptions = UInt32;
  static constexpr XOptions kReadAll = 0;
  static constexpr XOptions kReadHeaderOnly = 2;

  static constexpr UInt16 kClassID = 48;

  ~XStorable() override = default;
  XVersion GetVersion() const override = 0;
  virtual XStorable* Clone() const = 0;
  // Bytes the object takes on a stream, or an estimate; 0 when unknown.
  virtual UInt64 GetStreamUsage() const { return 0; }
  virtual void ReadStream2(XStream& inStream, XOptions inOptions = kReadAll) = 0;
  virtual void WriteStream2(XStream& inStream, XOptions inOptions = kReadAll) const = 0;
  // Called by the versioned-reader factory before the body; false means the
  // object has read all it needs.
  virtual bool PreReadStream(XStream& inStream, const XVersion& inVersion, XOptions inOptions) {
    return true;
  }
  virtual void WriteStream(XStream& inStream) const { WriteStream2(inStream, kReadAll); }

  static XVersion GetClassVersion() { return XVersion(kClassID, 0); }

 protected:
  // The tag of the next class layer. With a non-zero default, a stream whose
  // next word is no tag of that class is taken to carry none: the word is left
  // unread and the class now being created from the stream (or the default,
  // when there is none) stands in.
  static XVersion ReadClassVersion(XStream& inStream, const XVersion& inDefault = XVersion());
  // Reads a layer tag and checks it: 1005 unless it IsA inExpected's class,
  // 1015 if its version is above inExpected's.
  static XVersion ReadCheckedClassVersion(XStream& inStream, const XVersion& inExpected);
  // The same checks on a tag already read.
  static void CheckClassVersion(const XVersion& inFound, const XVersion& inExpected);
};

}  // namespace mirelan
