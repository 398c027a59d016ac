// Uncompressed TIFF written the way ImageJ writes its stacks: the image data
// of every page in one unbroken run, the first page's directory before it and
// the others after it. Readers that take an ImageJ description as a promise of
// contiguous data (ImageJ itself, tifffile) read such files correctly, which
// libtiff's page-by-page layout does not give.
#pragma once

#include <functional>
#include <vector>

#include "core/XFile.h"
#include "core/XTypes.h"

namespace mirelan {

struct XTIFFPageLayout {
  UInt32 itsWidth = 0;
  UInt32 itsHeight = 0;
  UInt16 itsBits = 8;
  UInt16 itsSamples = 1;
  UInt16 itsSampleFormat = 1;  // 1 unsigned integer, 3 float
  UInt16 itsPhotometric = 1;   // 1 grey (0 is black), 2 RGB
  Float64 itsXResolution = 1.0;  // pixels per unit
  Float64 itsYResolution = 1.0;
};

// Fills one row of page inPage (pixels, samples together, in this machine's order).
using XTIFFRowSource = std::function<void(UInt32 inPage, UInt32 inRow, UInt8* outRow)>;

// Writes inPages pages of one layout to inFile; the description goes on the
// first page. BigTIFF when inBigTIFF. Progress is reported per page.
void XWriteContiguousTIFF(const XFileSpec& inFile, const XTIFFPageLayout& inLayout, UInt32 inPages,
                          const XString& inDescription, bool inBigTIFF, const XTIFFRowSource& inRows);

}  // namespace mirelan
