#include "data/X4DTrack.h"

#include "core/XStream.h"

namespace mirelan {

void X4DTrack::WriteStream2(XStream& inStream, XOptions inOptions) const {
  X3DPolyLineF::WriteStream2(inStream, inOptions);
  WriteStreamSelf(inStream);
}

void X4DTrack::WriteStreamSelf(XStream& inStream) const {
  inStream.WriteVersion(GetClassVersion());
  inStream.Write32(itsFirstTimepoint);
}

void X4DTrack::ReadStream2(XStream& inStream, XOptions inOptions) { ReadStream2_X4DTrack(inStream, inOptions); }

void X4DTrack::ReadStream2_X4DTrack(XStream& inStream, XOptions inOptions) {
  ReadStream2_X3DPolyLineF(inStream, inOptions);
  ReadStreamSelf(inStream);
}

void X4DTrack::ReadStreamSelf(XStream& inStream) {
  ReadCheckedClassVersion(inStream, GetClassVersion());
  itsFirstTimepoint = inStream.Read32();
}

}  // namespace mirelan
