// The polygon rasteriser behind XROI::Create2DRegionFromPoints. The covered
// set is what a 1-pixel pen and an alternate-mode fill give together:
//  - the outline: each edge p[i] -> p[i + 1] (the last back to the first)
//    as a Bresenham line: one pixel for each coordinate along the longer
//    axis (x when the two are equal), on the other axis the nearest to the
//    exact segment, a tie going to the smaller coordinate, so that a
//    segment is the same pixels whichever way it is drawn;
//  - the interior: the lattice points (x, y) inside by the even-odd rule,
//    counting the edges with min(y0, y1) <= y < max(y0, y1).
// Lattice points on an edge lie on its Bresenham line, so the rule needs no
// tie-break on the boundary.
#pragma once

#include "core/XContainers.h"
#include "geometry/XPoint.h"

namespace mirelan {

class XMaskVolume;

namespace XPolygonFill {

// Sets the front plane of ioMask to the closed polygon through inPoints:
// 255 where it covers, 0 elsewhere. The points are in the mask's
// coordinates and may lie outside it.
void FillPolygon(XMaskVolume& ioMask, const XVector<XPoint>& inPoints);

}  // namespace XPolygonFill

}  // namespace mirelan
