#include "data/internal/XPolygonFill.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "core/XLockable.h"
#include "volume/XMaskVolume.h"

namespace mirelan {

namespace XPolygonFill {

// One pass over the rows: in each row the even-odd spans and then the
// outline pixels of that row are written while the row is in cache. Each
// edge is walked in step with the rows as a crossing of the scanline (rows
// min y <= y < max y). A steep edge's pen pixel in a row is its crossing
// rounded, so it needs nothing more but its lower end point; a flat edge
// is also walked as a pen line (rows min y to max y) that sets a run a row.
// All positions are exact integers: 128 bits where a clipped start is
// worked out, 64 bits while stepping.

namespace {

using Wide = __int128;

// floor(n / d) for d > 0; in 64 bits when n fits, as it nearly always
// does: a 128-bit division is a slow library call.
SInt64 FloorDiv(Wide inN, SInt64 inD) {
  if (inN >= Wide(INT64_MIN) && inN <= Wide(INT64_MAX)) {
    const SInt64 n = static_cast<SInt64>(inN);
    const SInt64 q = n / inD;
    return (n % inD != 0 && n < 0) ? q - 1 : q;
  }
  Wide q = inN / inD;
  if (inN % inD != 0 && inN < 0) --q;
  return static_cast<SInt64>(q);
}

// floor(N / D) as N grows by a fixed step from row to row: quotient and
// remainder, stepped by the step's own quotient and remainder.
struct XSteppedQuotient {
  SInt64 itsQuotient = 0;
  SInt64 itsRemainder = 0;  // in [0, D)
  SInt64 itsStepQuotient = 0;
  SInt64 itsStepRemainder = 0;
  SInt64 itsDenominator = 1;

  void Start(Wide inNumerator, SInt64 inStep, SInt64 inDenominator) {
    itsDenominator = inDenominator;
    itsQuotient = FloorDiv(inNumerator, inDenominator);
    itsRemainder = static_cast<SInt64>(inNumerator - Wide(itsQuotient) * inDenominator);
    itsStepQuotient = FloorDiv(inStep, inDenominator);
    itsStepRemainder = inStep - itsStepQuotient * inDenominator;
  }
  // Without a branch: the carry of a steep or shallow edge comes at no
  // rhythm a predictor could learn.
  void Next() {
    itsRemainder += itsStepRemainder;
    const SInt64 carry = SInt64(itsRemainder >= itsDenominator);
    itsQuotient += itsStepQuotient + carry;
    itsRemainder -= itsDenominator & -carry;
  }
};

// The plane being drawn: the mask's front plane and its box.
struct XCanvas {
  UInt8* itsBase;
  SInt64 itsRowVoxels;
  SInt64 itsLeft, itsTop, itsRight, itsBottom;

  UInt8* Row(SInt64 inY) const { return itsBase + (inY - itsTop) * itsRowVoxels; }
  // Rows [inFrom, inTo), padding included.
  void ClearRows(SInt64 inFrom, SInt64 inTo) const {
    if (inFrom < inTo) std::memset(Row(inFrom), 0, size_t((inTo - inFrom) * itsRowVoxels));
  }
  // Sets x = [inFrom, inTo] of a row, cut to the canvas.
  void SetRun(UInt8* inRow, SInt64 inFrom, SInt64 inTo) const {
    inFrom = std::max(inFrom, itsLeft);
    inTo = std::min(inTo, itsRight - 1);
    if (inFrom <= inTo) SetBytes(inRow + (inFrom - itsLeft), size_t(inTo - inFrom + 1));
  }
  // Most spans are short: two overlapping stores beat a call to memset.
  static void SetBytes(UInt8* outBytes, size_t inCount) {
    constexpr UInt64 kOnes8 = ~UInt64(0);
    constexpr UInt32 kOnes4 = ~UInt32(0);
    if (inCount >= 16) {
      std::memset(outBytes, 255, inCount);
    } else if (inCount >= 8) {
      std::memcpy(outBytes, &kOnes8, 8);
      std::memcpy(outBytes + inCount - 8, &kOnes8, 8);
    } else if (inCount >= 4) {
      std::memcpy(outBytes, &kOnes4, 4);
      std::memcpy(outBytes + inCount - 4, &kOnes4, 4);
    } else {
      for (size_t i = 0; i < inCount; ++i) outBytes[i] = 255;
    }
  }
};

// An edge as a crossing of the scanline: the crossing at row y is
// upper.x + (y - upper.y) * run / rise, kept as its ceiling. The ceiling is
// -floor(-N / rise), so the stepped quotient runs on the negated numerator.
struct XCrossing {
  XSteppedQuotient itsNegated;
  SInt64 itsFirstRow;
  SInt64 itsEndRow;  // first row no longer crossed
  bool itsSteep;     // the edge's pen pixel of each row is the crossing rounded

  SInt64 Ceil() const { return -itsNegated.itsQuotient; }
  // The crossing c = Ceil() - rem / rise to the nearest integer, a tie to
  // the smaller: Ceil() less one when rem / rise >= 1/2.
  SInt64 Nearest() const {
    return Ceil() - SInt64(2 * itsNegated.itsRemainder >= itsNegated.itsDenominator);
  }
};

// A flat edge (run >= rise) as a pen line, walked with y growing (the
// pixels do not depend on the direction): in row k a run of pixels
// x0 + sign * i for i up to floor((2k + 1) run / (2 rise)), ties going to
// the smaller y. A single point is a line of run and rise 0.
struct XPenLine {
  SInt64 itsFirstRow;
  SInt64 itsLastRow;  // inclusive
  SInt64 itsX0;
  SInt64 itsSign;
  SInt64 itsLength;          // the last step along x
  SInt64 itsLastEnd;         // the last step of the row before
  XSteppedQuotient itsStep;  // the last step of this row
};

// The working lists of one fill. Kept per thread and reused, so that
// filling polygons one after another allocates nothing new and touches no
// fresh pages.
struct XScratch {
  XVector<XCrossing> itsCrossings;  // by first row
  XVector<XPenLine> itsPenLines;    // by first row
  XVector<XCrossing> itsActiveCrossings;
  XVector<XPenLine> itsActiveLines;
  XVector<XCrossing> itsSortedCrossings;
  XVector<XPenLine> itsSortedLines;
  XVector<size_t> itsStarts;

  // A polygon of very many edges should not keep its memory for ever.
  void Release() {
    constexpr size_t kKeptBytes = size_t(32) << 20;
    if (itsCrossings.capacity() * sizeof(XCrossing) + itsPenLines.capacity() * sizeof(XPenLine) +
            itsStarts.capacity() * sizeof(size_t) >
        kKeptBytes)
      *this = XScratch();
  }
};

void AddCrossing(const XPoint& a, const XPoint& b, bool inSteep, const XCanvas& inCanvas,
                 XVector<XCrossing>& ioCrossings) {
  if (a.y == b.y) return;  // a horizontal edge crosses no row
  const XPoint& upper = a.y < b.y ? a : b;
  const XPoint& lower = a.y < b.y ? b : a;
  XCrossing crossing;
  crossing.itsFirstRow = std::max<SInt64>(upper.y, inCanvas.itsTop);
  crossing.itsEndRow = std::min<SInt64>(lower.y, inCanvas.itsBottom);
  if (crossing.itsFirstRow >= crossing.itsEndRow) return;
  const SInt64 rise = SInt64(lower.y) - upper.y;
  const SInt64 run = SInt64(lower.x) - upper.x;
  const Wide numerator = Wide(upper.x) * rise + Wide(crossing.itsFirstRow - upper.y) * run;
  crossing.itsNegated.Start(-numerator, -run, rise);
  crossing.itsSteep = inSteep;
  ioCrossings.push_back(crossing);
}

void AddPenLine(const XPoint& a, const XPoint& b, const XCanvas& inCanvas, XVector<XPenLine>& ioLines) {
  const XPoint& upper = a.y <= b.y ? a : b;
  const XPoint& lower = a.y <= b.y ? b : a;
  XPenLine line;
  line.itsFirstRow = std::max<SInt64>(upper.y, inCanvas.itsTop);
  line.itsLastRow = std::min<SInt64>(lower.y, inCanvas.itsBottom - 1);
  if (line.itsFirstRow > line.itsLastRow) return;
  const SInt64 dx = SInt64(lower.x) - upper.x;
  const SInt64 rise = SInt64(lower.y) - upper.y;  // >= 0
  const SInt64 run = std::abs(dx);
  const SInt64 k0 = line.itsFirstRow - upper.y;
  line.itsX0 = upper.x;
  line.itsSign = dx < 0 ? -1 : 1;
  line.itsLength = run;
  if (rise == 0) {
    line.itsStep.Start(run, 0, 1);  // the whole line lies in its one row
    line.itsLastEnd = -1;
  } else {
    line.itsStep.Start(Wide(2 * k0 + 1) * run, 2 * run, 2 * rise);
    line.itsLastEnd = k0 == 0 ? -1 : std::min(run, FloorDiv(Wide(2 * k0 - 1) * run, 2 * rise));
  }
  ioLines.push_back(line);
}

// By the row where each begins: a counting sort over the canvas rows, or a
// comparison sort when the rows far outnumber the edges.
template <class E>
void SortByFirstRow(XVector<E>& ioEdges, XVector<E>& ioSorted, XVector<size_t>& ioStarts, const XCanvas& inCanvas) {
  const UInt64 rows = UInt64(inCanvas.itsBottom - inCanvas.itsTop);
  if (rows > 4 * UInt64(ioEdges.size()) + 4096) {
    std::sort(ioEdges.begin(), ioEdges.end(), [](const E& l, const E& r) { return l.itsFirstRow < r.itsFirstRow; });
    return;
  }
  ioStarts.assign(size_t(rows) + 1, 0);
  for (const E& e : ioEdges) ++ioStarts[size_t(e.itsFirstRow - inCanvas.itsTop) + 1];
  for (size_t r = 1; r <= rows; ++r) ioStarts[r] += ioStarts[r - 1];
  ioSorted.resize(ioEdges.size());
  for (const E& e : ioEdges) ioSorted[ioStarts[size_t(e.itsFirstRow - inCanvas.itsTop)]++] = e;
  ioEdges.swap(ioSorted);
}

void MakeEdges(const XVector<XPoint>& inPoints, const XCanvas& inCanvas, XScratch& ioEdges) {
  XScratch& edges = ioEdges;
  const size_t n = inPoints.size();
  edges.itsCrossings.clear();
  edges.itsPenLines.clear();
  edges.itsCrossings.reserve(n);
  edges.itsPenLines.reserve(n);
  for (size_t i = 0; i < n; ++i) {
    const XPoint& a = inPoints[i];
    const XPoint& b = inPoints[i + 1 == n ? 0 : i + 1];
    const bool steep = std::abs(SInt64(b.y) - a.y) > std::abs(SInt64(b.x) - a.x);
    AddCrossing(a, b, steep, inCanvas, edges.itsCrossings);
    if (steep) {
      // The crossings stop short of the lower end point's row.
      const XPoint& lower = a.y < b.y ? b : a;
      AddPenLine(lower, lower, inCanvas, edges.itsPenLines);
    } else {
      AddPenLine(a, b, inCanvas, edges.itsPenLines);
    }
  }
  SortByFirstRow(edges.itsCrossings, edges.itsSortedCrossings, edges.itsStarts, inCanvas);
  SortByFirstRow(edges.itsPenLines, edges.itsSortedLines, edges.itsStarts, inCanvas);
}

// Insertion sort by crossing: from row to row the crossings mostly keep
// their order, so the active list stays sorted at little cost.
void SortByCrossing(XVector<XCrossing>& ioActive) {
  for (size_t i = 1; i < ioActive.size(); ++i) {
    if (ioActive[i - 1].Ceil() <= ioActive[i].Ceil()) continue;
    const XCrossing crossing = ioActive[i];
    size_t j = i;
    for (; j > 0 && ioActive[j - 1].Ceil() > crossing.Ceil(); --j) ioActive[j] = ioActive[j - 1];
    ioActive[j] = crossing;
  }
}

// Draws row inY of each pen line, steps the lines on and drops those that
// end in this row. Their order does not matter: a line that ends takes the
// last one's place, so no line is copied for the others' sake.
void DrawPenLines(const XCanvas& inCanvas, SInt64 inY, UInt8* inRow, XVector<XPenLine>& ioActive) {
  XPenLine* const active = ioActive.data();
  size_t count = ioActive.size();
  for (size_t i = 0; i < count;) {
    XPenLine& line = active[i];
    const SInt64 end = std::min(line.itsLength, line.itsStep.itsQuotient);
    const SInt64 from = line.itsX0 + line.itsSign * (line.itsLastEnd + 1);
    const SInt64 to = line.itsX0 + line.itsSign * end;
    if (end > line.itsLastEnd) inCanvas.SetRun(inRow, std::min(from, to), std::max(from, to));
    if (line.itsLastRow == inY) {
      line = active[--count];
      continue;
    }
    line.itsLastEnd = end;
    line.itsStep.Next();
    ++i;
  }
  ioActive.resize(count);
}

// Each row is cleared just before it is drawn, so the plane is written
// once, in cache, instead of cleared in one pass and drawn in another.
void Rasterise(const XVector<XPoint>& inPoints, const XCanvas& inCanvas) {
  static thread_local XScratch tScratch;
  MakeEdges(inPoints, inCanvas, tScratch);
  const XVector<XCrossing>& crossings = tScratch.itsCrossings;
  const XVector<XPenLine>& lines = tScratch.itsPenLines;
  XVector<XCrossing>& activeCrossings = tScratch.itsActiveCrossings;
  XVector<XPenLine>& activeLines = tScratch.itsActiveLines;
  activeCrossings.clear();
  activeLines.clear();
  size_t nextCrossing = 0, nextLine = 0;
  SInt64 y = inCanvas.itsTop;
  while (y < inCanvas.itsBottom) {
    while (nextCrossing < crossings.size() && crossings[nextCrossing].itsFirstRow == y)
      activeCrossings.push_back(crossings[nextCrossing++]);
    while (nextLine < lines.size() && lines[nextLine].itsFirstRow == y) activeLines.push_back(lines[nextLine++]);
    // Rows that no edge reaches are cleared together.
    if (activeLines.empty() && activeCrossings.empty()) {
      SInt64 next = nextLine < lines.size() ? lines[nextLine].itsFirstRow : inCanvas.itsBottom;
      if (nextCrossing < crossings.size()) next = std::min(next, crossings[nextCrossing].itsFirstRow);
      inCanvas.ClearRows(y, next);
      y = next;
      continue;
    }
    inCanvas.ClearRows(y, y + 1);
    UInt8* row = inCanvas.Row(y);
    SortByCrossing(activeCrossings);
    DrawPenLines(inCanvas, y, row, activeLines);
    // One walk over the crossings in order: the even-odd spans (a lattice
    // point x has an odd count of crossings at or left of it exactly when
    // it lies in [c0, c1), [c2, c3), ... of the sorted ceilings), the pen
    // pixels of steep edges, and the step to the next row, where finished
    // crossings leave and the order of the others stays.
    XCrossing* const active = activeCrossings.data();
    const size_t count = activeCrossings.size();
    size_t kept = 0;
    SInt64 spanStart = 0;
    for (size_t i = 0; i < count; ++i) {
      const XCrossing& crossing = active[i];
      if (i & 1)
        inCanvas.SetRun(row, spanStart, crossing.Ceil() - 1);
      else
        spanStart = crossing.Ceil();
      if (crossing.itsSteep) {
        const SInt64 x = crossing.Nearest();
        if (x >= inCanvas.itsLeft && x < inCanvas.itsRight) row[x - inCanvas.itsLeft] = 255;
      }
      if (crossing.itsEndRow == y + 1) continue;
      if (kept != i) active[kept] = crossing;
      active[kept++].itsNegated.Next();
    }
    activeCrossings.resize(kept);
    ++y;
  }
  tScratch.Release();
}

}  // namespace

void FillPolygon(XMaskVolume& ioMask, const XVector<XPoint>& inPoints) {
  if (ioMask.GetBounds().IsEmpty()) return;
  XLock lock(ioMask, kLockReadWrite);
  const X3DRect& bounds = ioMask.GetBounds();
  const XCanvas canvas{ioMask.GetPlane(bounds.front), SInt64(ioMask.GetRowVoxels()), bounds.left, bounds.top,
                       bounds.right, bounds.bottom};
  Rasterise(inPoints, canvas);
}

}  // namespace XPolygonFill

}  // namespace mirelan
