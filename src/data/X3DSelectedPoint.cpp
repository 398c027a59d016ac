#include "data/X3DSelectedPoint.h"

#include "core/XStream.h"

namespace mirelan {

void X3DSelectedPoint::WriteStream2(XStream& inStream, XOptions) const { WriteStreamSelf(inStream); }

void X3DSelectedPoint::WriteStreamSelf(XStream& inStream) const {
  inStream.WriteVersion(GetClassVersion());
  inStream.Write32(static_cast<UInt32>(x));
  inStream.Write32(static_cast<UInt32>(y));
  inStream.Write32(static_cast<UInt32>(z));
  inStream.Write8(itsColour.GetRed());
  inStream.Write8(itsColour.GetGreen());
  inStream.Write8(itsColour.GetBlue());
  inStream.Write8(itsColour.GetAlpha());
  inStream.Write32(itsPopulationID);
  inStream.Write32(itsPopulationIndex);
}

void X3DSelectedPoint::ReadStream2(XStream& inStream, XOptions inOptions) {
  ReadStream2_X3DSelectedPoint(inStream, inOptions);
}

void X3DSelectedPoint::ReadStream2_X3DSelectedPoint(XStream& inStream, XOptions) { ReadStreamSelf(inStream); }

void X3DSelectedPoint::ReadStreamSelf(XStream& inStream) {
  ReadCheckedClassVersion(inStream, GetClassVersion());
  x = static_cast<SInt32>(inStream.Read32());
  y = static_cast<SInt32>(inStream.Read32());
  z = static_cast<SInt32>(inStream.Read32());
  const UInt8 red = inStream.Read8();
  const UInt8 green = inStream.Read8();
  const UInt8 blue = inStream.Read8();
  const UInt8 alpha = inStream.Read8();
  itsColour = XARGB32Colour(alpha, red, green, blue);
  itsPopulationID = inStream.Read32();
  itsPopulationIndex = inStream.Read32();
}

}  // namespace mirelan
