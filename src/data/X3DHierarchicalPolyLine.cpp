#include "data/X3DHierarchicalPolyLine.h"

#include "core/XStream.h"

namespace mirelan {

X3DPolyLineT<X3DPointF>::XPolyNode* X3DHierarchicalPolyLine::GenerateNode(const X3DPointF& inPoint,
                                                                          SInt32 inID) const {
  return new XPolyNodeWithDiameter(inPoint, inID);
}

X3DPolyLineT<X3DPointF>::XPolyLine* X3DHierarchicalPolyLine::GenerateLine(XPolyNode* inNode1,
                                                                          XPolyNode* inNode2) const {
  return new XPolyLineWithType(inNode1, inNode2);
}

SInt32 X3DHierarchicalPolyLine::AddNode(const X3DPointF& inPoint, Float32 inDiameter, SInt32 inNodeID,
                                        SInt32 inNeighbourID, XPolyLineType inLineType) {
  XPolyNode* neighbour = nullptr;
  if (inNeighbourID >= 0) {
    neighbour = GetNode(inNeighbourID);
    XAssert(neighbour);
  }
  AddUnconnectedNode(inPoint, inNodeID);
  XPolyNode* node = GetNodes().back();
  static_cast<XPolyNodeWithDiameter*>(node)->SetDiameter(inDiameter);
  if (neighbour) {
    AddLine(inNeighbourID, inNodeID);
    static_cast<XPolyLineWithType*>(GetLines().back())->SetType(inLineType);
  }
  return inNodeID;
}

XARGB32Colour X3DHierarchicalPolyLine::GetBranchOrderColour(UInt32 inOrder) {
  static const UInt8 kColours[kBranchOrderColourCount][3] = {
      {0, 0, 255},     {255, 255, 0}, {255, 255, 255}, {255, 0, 255}, {0, 255, 0},
      {0, 255, 255},   {192, 220, 192}, {128, 128, 0}, {128, 0, 128}, {0, 128, 128},
      {100, 100, 100}, {166, 202, 240}, {128, 0, 0},   {0, 128, 0}};
  XAssert(inOrder < kBranchOrderColourCount);
  return XARGB32Colour(kColours[inOrder][0], kColours[inOrder][1], kColours[inOrder][2]);
}

// ------------------------------------------------------------------ streams

UInt64 X3DHierarchicalPolyLine::GetStreamUsage() const {
  return X3DPolyLineF::GetStreamUsage() + 4 + 4 + UInt64(GetLength()) * 8 + 4 + UInt64(GetLines().size()) * 4;
}

void X3DHierarchicalPolyLine::WriteStream2(XStream& inStream, XOptions inOptions) const {
  X3DPolyLineF::WriteStream2(inStream, inOptions);
  WriteStreamSelf(inStream);
}

void X3DHierarchicalPolyLine::WriteStreamSelf(XStream& inStream) const {
  inStream.WriteVersion(GetClassVersion());
  inStream.Write32(GetLength());
  for (const XPolyNode* node : GetNodes()) {
    // A node of the plain kind, which only direct use of GetNodes can put
    // here, is stored with diameter and number 0.
    const auto* rich = dynamic_cast<const XPolyNodeWithDiameter*>(node);
    inStream.WriteFloat32S(rich ? rich->GetDiameter() : 0.0f);
    inStream.Write32(static_cast<UInt32>(rich ? rich->GetNumber() : 0));
  }
  inStream.Write32(static_cast<UInt32>(GetLines().size()));
  for (const XPolyLine* line : GetLines()) {
    const auto* typed = dynamic_cast<const XPolyLineWithType*>(line);
    inStream.Write32(typed ? typed->GetType() : 0);
  }
}

void X3DHierarchicalPolyLine::ReadStream2(XStream& inStream, XOptions inOptions) {
  ReadStream2_X3DHierarchicalPolyLine(inStream, inOptions);
}

void X3DHierarchicalPolyLine::ReadStream2_X3DHierarchicalPolyLine(XStream& inStream, XOptions inOptions) {
  ReadStream2_X3DPolyLineF(inStream, inOptions);
  ReadStreamSelf(inStream);
}

void X3DHierarchicalPolyLine::ReadStreamSelf(XStream& inStream) {
  ReadCheckedClassVersion(inStream, GetClassVersion());
  // The node and line data must match the graph just read, one for one.
  if (inStream.Read32() != GetLength())
    throw XException(kErrBadStreamSize, "hierarchical polyline node data do not match its nodes");
  for (XPolyNode* node : GetNodes()) {
    auto* rich = static_cast<XPolyNodeWithDiameter*>(node);
    rich->SetDiameter(inStream.ReadFloat32S());
    rich->SetNumber(static_cast<SInt32>(inStream.Read32()));
  }
  if (inStream.Read32() != GetLines().size())
    throw XException(kErrBadStreamSize, "hierarchical polyline line types do not match its lines");
  for (XPolyLine* line : GetLines()) static_cast<XPolyLineWithType*>(line)->SetType(inStream.Read32());
}

}  // namespace mirelan
