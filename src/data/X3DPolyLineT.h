// A polyline in 3-D is a graph: nodes with a position, joined by lines. A
// node may carry more than two lines, so a polyline can branch. It serves for
// drawn measurements, polygon outlines, tracks through time and branching
// structures.
//
// Invariants: every line's two nodes belong to this polyline; every line is
// listed in both its nodes' line vectors (twice in one node's vector for a
// line from a node to itself); node IDs are unique within a polyline.
#pragma once

#include "core/XContainers.h"
#include "core/XExport.h"
#include "core/XTypes.h"
#include "geometry/XPoint.h"
#include "volume/XColour.h"

namespace mirelan {

class XStream;

template <class T>
class MIRELAN_EXPORT X3DPolyLineT {
 public:
  using Point = T;
  class XPolyLine;

  class MIRELAN_EXPORT XPolyNode {
   public:
    XPolyNode(const T& inPosition, SInt32 inID) : itsPosition(inPosition), itsID(inID) {}
    XPolyNode(const XPolyNode&) = delete;
    XPolyNode& operator=(const XPolyNode&) = delete;
    virtual ~XPolyNode() = default;

    // A node of the same class, position, ID and data, without lines: how a
    // polyline copies nodes of richer kinds.
    virtual XPolyNode* CloneWithoutLines() const { return new XPolyNode(itsPosition, itsID); }

    const T& GetPosition() const { return itsPosition; }
    void SetPosition(const T& inPosition) { itsPosition = inPosition; }
    SInt32 GetID() const { return itsID; }
    const XVector<XPolyLine*>& GetLines() const { return itsLines; }
    XVector<XPolyLine*>& GetLines() { return itsLines; }

   private:
    T itsPosition;
    XVector<XPolyLine*> itsLines;  // not owned
    SInt32 itsID;
  };

  class MIRELAN_EXPORT XPolyLine {
   public:
    XPolyLine(XPolyNode* inNode1, XPolyNode* inNode2) : itsNode1(inNode1), itsNode2(inNode2) {}
    XPolyLine(const XPolyLine&) = delete;
    XPolyLine& operator=(const XPolyLine&) = delete;
    virtual ~XPolyLine() = default;

    // A line of the same class and data between two other nodes.
    virtual XPolyLine* CloneBetween(XPolyNode* inNode1, XPolyNode* inNode2) const {
      return new XPolyLine(inNode1, inNode2);
    }

    XPolyNode* GetNode1() const { return itsNode1; }
    XPolyNode* GetNode2() const { return itsNode2; }
    // The end that is not inNode; for a line from a node to itself, that node.
    XPolyNode* GetOtherNode(const XPolyNode* inNode) const { return itsNode1 == inNode ? itsNode2 : itsNode1; }
    // Joins the nodes of these IDs, in either direction.
    bool Joins(SInt32 inID1, SInt32 inID2) const {
      return (itsNode1->GetID() == inID1 && itsNode2->GetID() == inID2) ||
             (itsNode1->GetID() == inID2 && itsNode2->GetID() == inID1);
    }

   private:
    XPolyNode* itsNode1;  // not owned
    XPolyNode* itsNode2;  // not owned
  };

  X3DPolyLineT();
  // Deep copies: new nodes of the same classes and IDs, new lines between them.
  X3DPolyLineT(const X3DPolyLineT& inOther);
  X3DPolyLineT& operator=(const X3DPolyLineT& inOther);
  virtual ~X3DPolyLineT();

  SInt32 GetNextNodeID() const { return itsNextNodeID; }
  void SetNextNodeID(SInt32 inID) { itsNextNodeID = inID; }
  const XARGB32Colour& GetColour() const { return itsColour; }
  void SetColour(const XARGB32Colour& inColour) { itsColour = inColour; }
  UInt32 GetPopulationID() const { return itsPopulationID; }
  void SetPopulationID(UInt32 inID) { itsPopulationID = inID; }

  // A new node with the next ID and no line; returns the ID.
  SInt32 AddNode(const T& inPoint);
  // A new node with the next ID joined by a line to the node inNeighbourID,
  // which must exist; returns the ID.
  SInt32 AddNode(const T& inPoint, SInt32 inNeighbourID);
  // A new node with the next ID; from the second node on, a line joins the
  // last but one node to it. Returns the ID.
  SInt32 AppendNode(const T& inPoint);
  // A new node with the given ID, which must be free. Later IDs continue
  // above it, so that IDs stay unique.
  void AddUnconnectedNode(const T& inPoint, SInt32 inNodeID);
  // A line between two existing nodes.
  void AddLine(SInt32 inNodeID1, SInt32 inNodeID2);
  // Removes the line joining the two nodes; it must exist.
  void DeleteLine(SInt32 inNodeID1, SInt32 inNodeID2);
  // Removes the node's lines from the nodes at their other ends, deletes
  // them, then deletes the node, which must exist.
  void DeleteNode(SInt32 inNodeID);
  void MoveNode(SInt32 inNodeID, const T& inPoint);
  // Adds to every node; a float polyline keeps the sum in float.
  void Offset(typename T::Coord inDX, typename T::Coord inDY, typename T::Coord inDZ);
  // Removes every node and line; the next ID stays.
  void Clear();

  // Linear search by ID; null when absent.
  XPolyNode* GetNode(SInt32 inNodeID) const;
  XPolyNode* FindNode(SInt32 inNodeID) const { return GetNode(inNodeID); }
  // The node's index in the node vector. A node of another polyline is a
  // precondition failure.
  SInt32 LocateNode(const XPolyNode* inNode) const;
  const T& GetPositionOfNode(SInt32 inNodeID) const;
  // The number of nodes.
  UInt32 GetLength() const { return static_cast<UInt32>(itsNodes.size()); }
  bool IsEmpty() const { return itsNodes.empty(); }
  // Some node has more than two lines.
  bool IsBranching() const;

  const XPtrVector<XPolyNode>& GetNodes() const { return itsNodes; }
  XPtrVector<XPolyNode>& GetNodes() { return itsNodes; }
  const XPtrVector<XPolyLine>& GetLines() const { return itsLines; }
  XPtrVector<XPolyLine>& GetLines() { return itsLines; }

  // Sums over the lines of the plain and the calibrated Euclidean lengths.
  void CalculateLength(Float64 inXCal, Float64 inYCal, Float64 inZCal, Float64& outPixelLength,
                       Float64& outCalibratedLength) const;

  // Equal line and node counts, red, green, blue and population ID, and the
  // very same line objects (by address) in both, in any order. A copy is
  // therefore unequal to its source unless neither has lines.
  bool operator==(const X3DPolyLineT& inOther) const;
  bool operator!=(const X3DPolyLineT& inOther) const { return !(*this == inOther); }

  // Whether inPoint lies within 2 pixels of the line through the two ends,
  // inside their rectangle widened by 2 (right and bottom exclusive). Equal
  // ends give false.
  static bool IsPointCloseToLine(const XPoint& inPoint, const XPoint& inEnd1, const XPoint& inEnd2);

 protected:
  // Makers of nodes and lines; descendants return richer kinds.
  virtual XPolyNode* GenerateNode(const T& inPoint, SInt32 inID) const;
  virtual XPolyLine* GenerateLine(XPolyNode* inNode1, XPolyNode* inNode2) const;

  // Copies nodes (by GenerateNode, keeping IDs), lines, colour, population
  // ID and next ID from a polyline of either coordinate kind.
  template <class U>
  void AssignConverted(const X3DPolyLineT<U>& inOther);

  // The shared stream body: node count and positions, then (with inLines)
  // the lines as node indices, the colour and (with inPopulation) the
  // population ID.
  void WritePolyLineBody(XStream& inStream, bool inLines, bool inPopulation) const;
  // Replaces the content with the body read. Without lines the nodes are
  // chained in order; with them, nodes take IDs 0, 1, ... in order.
  void ReadPolyLineBody(XStream& inStream, bool inLines, bool inPopulation);
  // The bytes WritePolyLineBody takes.
  UInt64 GetPolyLineBodyBytes(bool inPopulation) const;

 private:
  SInt32 NewNodeID();
  // Takes over a line made by GenerateLine and lists it in both its nodes.
  void InsertLine(XPolyLine* inLine);
  void CopyFrom(const X3DPolyLineT& inOther);

  SInt32 itsNextNodeID = 0;
  XPtrVector<XPolyNode> itsNodes;
  XPtrVector<XPolyLine> itsLines;
  XARGB32Colour itsColour;  // opaque black until set
  UInt32 itsPopulationID = 0;
};

extern template class X3DPolyLineT<X3DPoint>;
extern template class X3DPolyLineT<X3DPointF>;

}  // namespace mirelan
