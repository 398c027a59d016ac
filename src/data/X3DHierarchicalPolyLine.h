// A branching structure with a diameter per node and a type per line, such
// as a traced neuron or vessel tree: nodes are XPolyNodeWithDiameter, lines
// XPolyLineWithType. What the node numbers and line types mean is the host's.
#pragma once

#include "core/XExport.h"
#include "data/X3DPolyLine.h"

namespace mirelan {

using XPolyLineType = UInt32;

class MIRELAN_EXPORT XPolyNodeWithDiameter : public X3DPolyLineT<X3DPointF>::XPolyNode {
 public:
  XPolyNodeWithDiameter(const X3DPointF& inPosition, SInt32 inID, Float32 inDiameter = 0.0f,
                        SInt32 inNumber = 0)
      : XPolyNode(inPosition, inID), itsDiameter(inDiameter), itsNumber(inNumber) {}

  XPolyNode* CloneWithoutLines() const override {
    return new XPolyNodeWithDiameter(GetPosition(), GetID(), itsDiameter, itsNumber);
  }

  Float32 GetDiameter() const { return itsDiameter; }
  void SetDiameter(Float32 inDiameter) { itsDiameter = inDiameter; }
  SInt32 GetNumber() const { return itsNumber; }
  void SetNumber(SInt32 inNumber) { itsNumber = inNumber; }

 private:
  Float32 itsDiameter;
  SInt32 itsNumber;
};

class MIRELAN_EXPORT XPolyLineWithType : public X3DPolyLineT<X3DPointF>::XPolyLine {
 public:
  using XPolyNode = X3DPolyLineT<X3DPointF>::XPolyNode;

  XPolyLineWithType(XPolyNode* inNode1, XPolyNode* inNode2, XPolyLineType inType = 0)
      : XPolyLine(inNode1, inNode2), itsType(inType) {}

  XPolyLine* CloneBetween(XPolyNode* inNode1, XPolyNode* inNode2) const override {
    return new XPolyLineWithType(inNode1, inNode2, itsType);
  }

  XPolyLineType GetType() const { return itsType; }
  void SetType(XPolyLineType inType) { itsType = inType; }

 private:
  XPolyLineType itsType;
};

class MIRELAN_EXPORT X3DHierarchicalPolyLine : public X3DPolyLineF {
 public:
  static constexpr UInt16 kClassID = 121;
  // Entries of the branch order colour table.
  static constexpr UInt32 kBranchOrderColourCount = 14;

  X3DHierarchicalPolyLine() = default;
  X3DHierarchicalPolyLine(const X3DHierarchicalPolyLine& inOther) = default;
  X3DHierarchicalPolyLine& operator=(const X3DHierarchicalPolyLine& inOther) = default;

  static XVersion GetClassVersion() { return XVersion(kClassID, 0); }
  static XVersion GetSuperClassVersion() { return XStorable::GetClassVersion(); }

  XVersion GetVersion() const override { return GetClassVersion(); }
  X3DHierarchicalPolyLine* Clone() const override { return new X3DHierarchicalPolyLine(*this); }
  UInt64 GetStreamUsage() const override;
  void ReadStream2(XStream& inStream, XOptions inOptions = kReadAll) override;
  void WriteStream2(XStream& inStream, XOptions inOptions = kReadAll) const override;
  void ReadStream2_X3DHierarchicalPolyLine(XStream& inStream, XOptions inOptions = kReadAll);
  void ReadStreamSelf(XStream& inStream);
  void WriteStreamSelf(XStream& inStream) const;

  using X3DPolyLineF::AddNode;
  // A node of the given ID (which must be free) and diameter; with a
  // neighbour ID of 0 or more, a line of inLineType joins it to that node,
  // which must exist. Returns the ID.
  SInt32 AddNode(const X3DPointF& inPoint, Float32 inDiameter, SInt32 inNodeID, SInt32 inNeighbourID,
                 XPolyLineType inLineType);

  // The drawing colour of a branch order, opaque.
  static XARGB32Colour GetBranchOrderColour(UInt32 inOrder);

 protected:
  XPolyNode* GenerateNode(const X3DPointF& inPoint, SInt32 inID) const override;
  XPolyLine* GenerateLine(XPolyNode* inNode1, XPolyNode* inNode2) const override;
};

}  // namespace mirelan
