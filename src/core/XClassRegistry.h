// The table of storable classes: factories by class id, and the alias and
// inheritance tree that XVersion::IsA walks.
#pragma once

#include <memory>

#include "core/XExport.h"
#include "core/XStorable.h"

namespace mirelan {

class XStream;

using XStreamFactory = XStorable* (*)(XStream& inStream, const XVersion& inVersion,
                                      XStorable::XOptions inOptions);
using XDefaultFactory = XStorable* (*)();

class MIRELAN_EXPORT XClassRegistry {
 public:
  // Adds factories to a class (any may be null; a class may be registered
  // again to add more) and enters inBase as its parent.
  static void RegisterClass(const XVersion& inClass, const XVersion& inBase,
                            XStreamFactory inStreamConstructor, XStreamFactory inVersionedReader,
                            XDefaultFactory inDefaultConstructor, const XString& inName);
  // A stream that names inAlias is read by inClass.
  static void RegisterAlias(UInt16 inAlias, UInt16 inClass);
  static void RegisterInheritance(UInt16 inDerived, UInt16 inBase);

  static bool IsA(const XVersion& inClass, const XVersion& inBase);
  static bool IsRegistered(UInt16 inClassID);
  static XString GetClassName(UInt16 inClassID);

  // Makes an object from the stream for the class the version names.
  // Throws XException 1005 when no factory can make that class.
  static XStorable* CreateObject(const XVersion& inVersion, XStream& inStream,
                                 XStorable::XOptions inOptions);
  // Makes an empty object with the default factory; null if there is none.
  static XStorable* CreateObject(const XVersion& inVersion);
};

template <class C>
XStorable* XStreamConstructorFactory(XStream& inStream, const XVersion&, XStorable::XOptions) {
  return new C(inStream);
}

template <class C>
XStorable* XVersionedReaderFactory(XStream& inStream, const XVersion& inVersion,
                                   XStorable::XOptions inOptions) {
  std::unique_ptr<C> object(new C);
  if (object->PreReadStream(inStream, inVersion, inOptions)) object->ReadStream2(inStream, inOptions);
  return object.release();
}

template <class C>
XStorable* XDefaultConstructorFactory() {
  return new C;
}

}  // namespace mirelan
