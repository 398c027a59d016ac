#include "data/X3DPolyLineT.h"

#include <algorithm>
#include <cmath>
#include <type_traits>
#include <unordered_map>

#include "core/XException.h"
#include "core/XStream.h"
#include "geometry/XRect.h"

namespace mirelan {

namespace {

void WriteCoord(XStream& inStream, SInt32 inValue) { inStream.Write32(static_cast<UInt32>(inValue)); }
void WriteCoord(XStream& inStream, Float32 inValue) { inStream.WriteFloat32S(inValue); }

template <class C>
C ReadCoord(XStream& inStream) {
  if constexpr (std::is_same_v<C, Float32>)
    return inStream.ReadFloat32S();
  else
    return static_cast<SInt32>(inStream.Read32());
}

}  // namespace

template <class T>
X3DPolyLineT<T>::X3DPolyLineT() : itsColour(255, 0, 0, 0) {}

template <class T>
X3DPolyLineT<T>::X3DPolyLineT(const X3DPolyLineT& inOther) {
  CopyFrom(inOther);
}

template <class T>
X3DPolyLineT<T>& X3DPolyLineT<T>::operator=(const X3DPolyLineT& inOther) {
  if (this != &inOther) CopyFrom(inOther);
  return *this;
}

template <class T>
X3DPolyLineT<T>::~X3DPolyLineT() {
  // Lines first: they point at nodes.
  itsLines.clear();
  itsNodes.clear();
}

template <class T>
void X3DPolyLineT<T>::CopyFrom(const X3DPolyLineT& inOther) {
  Clear();
  std::unordered_map<const XPolyNode*, XPolyNode*> nodeMap;
  nodeMap.reserve(inOther.itsNodes.size());
  itsNodes.reserve(inOther.itsNodes.size());
  for (XPolyNode* node : inOther.itsNodes) {
    itsNodes.push_back(node->CloneWithoutLines());
    nodeMap[node] = itsNodes.back();
  }
  std::unordered_map<const XPolyLine*, XPolyLine*> lineMap;
  lineMap.reserve(inOther.itsLines.size());
  itsLines.reserve(inOther.itsLines.size());
  for (XPolyLine* line : inOther.itsLines) {
    itsLines.push_back(line->CloneBetween(nodeMap.at(line->GetNode1()), nodeMap.at(line->GetNode2())));
    lineMap[line] = itsLines.back();
  }
  // Each node lists its lines in the source's order.
  for (size_t i = 0; i < itsNodes.size(); ++i) {
    XVector<XPolyLine*>& lines = itsNodes[i]->GetLines();
    for (XPolyLine* line : inOther.itsNodes[i]->GetLines()) lines.push_back(lineMap.at(line));
  }
  itsColour = inOther.itsColour;
  itsPopulationID = inOther.itsPopulationID;
  itsNextNodeID = inOther.itsNextNodeID;
}

template <class T>
template <class U>
void X3DPolyLineT<T>::AssignConverted(const X3DPolyLineT<U>& inOther) {
  Clear();
  using OtherNode = typename X3DPolyLineT<U>::XPolyNode;
  std::unordered_map<const OtherNode*, XPolyNode*> nodeMap;
  nodeMap.reserve(inOther.GetNodes().size());
  itsNodes.reserve(inOther.GetNodes().size());
  for (OtherNode* node : inOther.GetNodes()) {
    itsNodes.push_back(GenerateNode(T(node->GetPosition()), node->GetID()));
    nodeMap[node] = itsNodes.back();
  }
  itsLines.reserve(inOther.GetLines().size());
  for (auto* line : inOther.GetLines())
    InsertLine(GenerateLine(nodeMap.at(line->GetNode1()), nodeMap.at(line->GetNode2())));
  itsColour = inOther.GetColour();
  itsPopulationID = inOther.GetPopulationID();
  itsNextNodeID = inOther.GetNextNodeID();
}

template <class T>
void X3DPolyLineT<T>::Clear() {
  itsLines.clear();
  itsNodes.clear();
}

template <class T>
typename X3DPolyLineT<T>::XPolyNode* X3DPolyLineT<T>::GenerateNode(const T& inPoint, SInt32 inID) const {
  return new XPolyNode(inPoint, inID);
}

template <class T>
typename X3DPolyLineT<T>::XPolyLine* X3DPolyLineT<T>::GenerateLine(XPolyNode* inNode1, XPolyNode* inNode2) const {
  return new XPolyLine(inNode1, inNode2);
}

template <class T>
SInt32 X3DPolyLineT<T>::NewNodeID() {
  // Wraps rather than overflowing; a polyline never holds 2^32 nodes.
  const SInt32 id = itsNextNodeID;
  itsNextNodeID = XRectMath::Add(itsNextNodeID, SInt32(1));
  return id;
}

template <class T>
void X3DPolyLineT<T>::InsertLine(XPolyLine* inLine) {
  itsLines.push_back(inLine);
  inLine->GetNode1()->GetLines().push_back(inLine);
  inLine->GetNode2()->GetLines().push_back(inLine);
}

// ------------------------------------------------------------------ editing

template <class T>
SInt32 X3DPolyLineT<T>::AddNode(const T& inPoint) {
  const SInt32 id = NewNodeID();
  itsNodes.push_back(GenerateNode(inPoint, id));
  return id;
}

template <class T>
SInt32 X3DPolyLineT<T>::AddNode(const T& inPoint, SInt32 inNeighbourID) {
  XPolyNode* neighbour = GetNode(inNeighbourID);
  XAssert(neighbour);
  const SInt32 id = AddNode(inPoint);
  InsertLine(GenerateLine(neighbour, itsNodes.back()));
  return id;
}

template <class T>
SInt32 X3DPolyLineT<T>::AppendNode(const T& inPoint) {
  const SInt32 id = AddNode(inPoint);
  const size_t count = itsNodes.size();
  if (count >= 2) InsertLine(GenerateLine(itsNodes[count - 2], itsNodes[count - 1]));
  return id;
}

template <class T>
void X3DPolyLineT<T>::AddUnconnectedNode(const T& inPoint, SInt32 inNodeID) {
  XAssert(GetNode( inNodeID ) == 0);
  itsNodes.push_back(GenerateNode(inPoint, inNodeID));
  if (inNodeID >= itsNextNodeID) itsNextNodeID = XRectMath::Add(inNodeID, SInt32(1));
}

template <class T>
void X3DPolyLineT<T>::AddLine(SInt32 inNodeID1, SInt32 inNodeID2) {
  XPolyNode* node1 = GetNode(inNodeID1);
  XPolyNode* node2 = GetNode(inNodeID2);
  XAssert(node1);
  XAssert(node2);
  InsertLine(GenerateLine(node1, node2));
}

template <class T>
void X3DPolyLineT<T>::DeleteLine(SInt32 inNodeID1, SInt32 inNodeID2) {
  auto lineIt = std::find_if(itsLines.begin(), itsLines.end(),
                             [&](const XPolyLine* l) { return l->Joins(inNodeID1, inNodeID2); });
  XAssert(lineIt != itsLines.end());
  XPolyLine* line = *lineIt;
  XPolyNode* node1 = line->GetNode1();
  XPolyNode* node2 = line->GetNode2();
  {
    auto lineIt = std::find(node1->GetLines().begin(), node1->GetLines().end(), line);
    XAssert(lineIt != node1->GetLines().end());
    node1->GetLines().erase(lineIt);
  }
  {
    auto lineIt = std::find(node2->GetLines().begin(), node2->GetLines().end(), line);
    XAssert(lineIt != node2->GetLines().end());
    node2->GetLines().erase(lineIt);
  }
  itsLines.erase(lineIt);
}

template <class T>
void X3DPolyLineT<T>::DeleteNode(SInt32 inNodeID) {
  auto nodeIt = std::find_if(itsNodes.begin(), itsNodes.end(),
                             [&](const XPolyNode* n) { return n->GetID() == inNodeID; });
  XAssert(nodeIt != itsNodes.end());
  XPolyNode* node = *nodeIt;
  // A line from the node to itself is listed twice; it goes once.
  XVector<XPolyLine*> lines = node->GetLines();
  std::sort(lines.begin(), lines.end());
  lines.erase(std::unique(lines.begin(), lines.end()), lines.end());
  for (XPolyLine* line : lines) {
    XPolyNode* otherNode = line->GetOtherNode(node);
    if (otherNode != node) {
      auto otherLineIt = std::find(otherNode->GetLines().begin(), otherNode->GetLines().end(), line);
      XAssert(otherLineIt != otherNode->GetLines().end());
      otherNode->GetLines().erase(otherLineIt);
    }
    auto ourLineIt = std::find(itsLines.begin(), itsLines.end(), line);
    XAssert(ourLineIt != itsLines.end());
    itsLines.erase(ourLineIt);
  }
  node->GetLines().clear();
  itsNodes.erase(nodeIt);
}

template <class T>
void X3DPolyLineT<T>::MoveNode(SInt32 inNodeID, const T& inPoint) {
  XPolyNode* polyNode = GetNode(inNodeID);
  XAssert(polyNode);
  polyNode->SetPosition(inPoint);
}

template <class T>
void X3DPolyLineT<T>::Offset(typename T::Coord inDX, typename T::Coord inDY, typename T::Coord inDZ) {
  using C = typename T::Coord;
  for (XPolyNode* node : itsNodes) {
    T p = node->GetPosition();
    p.x = XRectMath::Add<C>(p.x, inDX);
    p.y = XRectMath::Add<C>(p.y, inDY);
    p.z = XRectMath::Add<C>(p.z, inDZ);
    node->SetPosition(p);
  }
}

// ------------------------------------------------------------------ queries

template <class T>
typename X3DPolyLineT<T>::XPolyNode* X3DPolyLineT<T>::GetNode(SInt32 inNodeID) const {
  for (XPolyNode* node : itsNodes)
    if (node->GetID() == inNodeID) return node;
  return nullptr;
}

template <class T>
SInt32 X3DPolyLineT<T>::LocateNode(const XPolyNode* inNode) const {
  for (size_t i = 0; i < itsNodes.size(); ++i)
    if (itsNodes[i] == inNode) return static_cast<SInt32>(i);
  XAssert(false);
  return -1;
}

template <class T>
const T& X3DPolyLineT<T>::GetPositionOfNode(SInt32 inNodeID) const {
  const XPolyNode* polyNode = GetNode(inNodeID);
  XAssert(polyNode);
  return polyNode->GetPosition();
}

template <class T>
bool X3DPolyLineT<T>::IsBranching() const {
  for (const XPolyNode* node : itsNodes)
    if (node->GetLines().size() > 2) return true;
  return false;
}

template <class T>
void X3DPolyLineT<T>::CalculateLength(Float64 inXCal, Float64 inYCal, Float64 inZCal, Float64& outPixelLength,
                                      Float64& outCalibratedLength) const {
  outPixelLength = 0.0;
  outCalibratedLength = 0.0;
  for (const XPolyLine* line : itsLines) {
    const T& a = line->GetNode1()->GetPosition();
    const T& b = line->GetNode2()->GetPosition();
    const Float64 dx = Float64(b.x) - Float64(a.x);
    const Float64 dy = Float64(b.y) - Float64(a.y);
    const Float64 dz = Float64(b.z) - Float64(a.z);
    outPixelLength += std::sqrt(dx * dx + dy * dy + dz * dz);
    const Float64 cx = dx * inXCal, cy = dy * inYCal, cz = dz * inZCal;
    outCalibratedLength += std::sqrt(cx * cx + cy * cy + cz * cz);
  }
}

template <class T>
bool X3DPolyLineT<T>::operator==(const X3DPolyLineT& inOther) const {
  if (itsLines.size() != inOther.itsLines.size() || itsNodes.size() != inOther.itsNodes.size()) return false;
  if (itsColour.GetRed() != inOther.itsColour.GetRed() || itsColour.GetGreen() != inOther.itsColour.GetGreen() ||
      itsColour.GetBlue() != inOther.itsColour.GetBlue())
    return false;
  if (itsPopulationID != inOther.itsPopulationID) return false;
  XVector<const XPolyLine*> ours(itsLines.begin(), itsLines.end());
  XVector<const XPolyLine*> theirs(inOther.itsLines.begin(), inOther.itsLines.end());
  std::sort(ours.begin(), ours.end());
  std::sort(theirs.begin(), theirs.end());
  return ours == theirs;
}

template <class T>
bool X3DPolyLineT<T>::IsPointCloseToLine(const XPoint& inPoint, const XPoint& inEnd1, const XPoint& inEnd2) {
  // In 64 bits: the widened rectangle may pass the ends of the 32-bit range.
  const SInt64 left = SInt64(std::min(inEnd1.x, inEnd2.x)) - 2;
  const SInt64 right = SInt64(std::max(inEnd1.x, inEnd2.x)) + 2;
  const SInt64 top = SInt64(std::min(inEnd1.y, inEnd2.y)) - 2;
  const SInt64 bottom = SInt64(std::max(inEnd1.y, inEnd2.y)) + 2;
  if (!(inPoint.x >= left && inPoint.x < right && inPoint.y >= top && inPoint.y < bottom)) return false;
  const Float64 dx = Float64(inEnd2.x) - Float64(inEnd1.x);
  const Float64 dy = Float64(inEnd2.y) - Float64(inEnd1.y);
  const Float64 cross = (Float64(inPoint.y) - Float64(inEnd1.y)) * dx - (Float64(inPoint.x) - Float64(inEnd1.x)) * dy;
  // Equal ends make 0 / 0, and no number compares true.
  const Float64 distance = std::sqrt(cross * cross / (dy * dy + dx * dx));
  return 2.0 >= distance;
}

// ------------------------------------------------------------------ streams

template <class T>
void X3DPolyLineT<T>::WritePolyLineBody(XStream& inStream, bool inLines, bool inPopulation) const {
  XAssert(itsNodes.size() <= 0xFFFFFFFFu);
  inStream.Write32(static_cast<UInt32>(itsNodes.size()));
  for (const XPolyNode* node : itsNodes) {
    const T& p = node->GetPosition();
    WriteCoord(inStream, p.x);
    WriteCoord(inStream, p.y);
    WriteCoord(inStream, p.z);
  }
  if (inLines) {
    // Indices by a table rather than LocateNode per line: the same numbers
    // without a quadratic walk.
    std::unordered_map<const XPolyNode*, UInt32> index;
    index.reserve(itsNodes.size());
    for (size_t i = 0; i < itsNodes.size(); ++i) index[itsNodes[i]] = static_cast<UInt32>(i);
    inStream.Write32(static_cast<UInt32>(itsLines.size()));
    for (const XPolyLine* line : itsLines) {
      inStream.Write32(index.at(line->GetNode1()));
      inStream.Write32(index.at(line->GetNode2()));
    }
  }
  inStream.Write8(itsColour.GetRed());
  inStream.Write8(itsColour.GetGreen());
  inStream.Write8(itsColour.GetBlue());
  inStream.Write8(itsColour.GetAlpha());
  if (inPopulation) inStream.Write32(itsPopulationID);
}

template <class T>
void X3DPolyLineT<T>::ReadPolyLineBody(XStream& inStream, bool inLines, bool inPopulation) {
  using C = typename T::Coord;
  Clear();
  itsNextNodeID = 0;
  const UInt32 nodeCount = inStream.Read32();
  inStream.CheckReadable(UInt64(nodeCount) * 12);
  itsNodes.reserve(nodeCount);
  for (UInt32 i = 0; i < nodeCount; ++i) {
    T p;
    p.x = ReadCoord<C>(inStream);
    p.y = ReadCoord<C>(inStream);
    p.z = ReadCoord<C>(inStream);
    if (inLines)
      itsNodes.push_back(GenerateNode(p, NewNodeID()));
    else
      AppendNode(p);
  }
  if (inLines) {
    const UInt32 lineCount = inStream.Read32();
    inStream.CheckReadable(UInt64(lineCount) * 8);
    itsLines.reserve(lineCount);
    for (UInt32 i = 0; i < lineCount; ++i) {
      const UInt32 first = inStream.Read32();
      const UInt32 second = inStream.Read32();
      if (first >= nodeCount || second >= nodeCount)
        throw XException(kErrBadStreamSize, "polyline line names a node it does not have");
      // The nodes' IDs are their indices here, so this is AddLine on them
      // without a search per line.
      InsertLine(GenerateLine(itsNodes[first], itsNodes[second]));
    }
  }
  const UInt8 red = inStream.Read8();
  const UInt8 green = inStream.Read8();
  const UInt8 blue = inStream.Read8();
  const UInt8 alpha = inStream.Read8();
  itsColour = XARGB32Colour(alpha, red, green, blue);
  itsPopulationID = inPopulation ? inStream.Read32() : 0;
}

template <class T>
UInt64 X3DPolyLineT<T>::GetPolyLineBodyBytes(bool inPopulation) const {
  return 4 + UInt64(itsNodes.size()) * 12 + 4 + UInt64(itsLines.size()) * 8 + 4 + (inPopulation ? 4 : 0);
}

template class X3DPolyLineT<X3DPoint>;
template class X3DPolyLineT<X3DPointF>;
template void X3DPolyLineT<X3DPoint>::AssignConverted(const X3DPolyLineT<X3DPointF>&);
template void X3DPolyLineT<X3DPointF>::AssignConverted(const X3DPolyLineT<X3DPoint>&);

}  // namespace mirelan
