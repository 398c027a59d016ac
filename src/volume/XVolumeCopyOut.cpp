// The conversion matrix: the seven destination cells of every source class,
// each one call of XCopyCell, which picks the converter from the two voxel types.
#include "volume/XColourVolumes.h"
#include "volume/XFPVolume.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey32Volume.h"
#include "volume/XMaskVolume.h"
#include "volume/internal/XVolumeConversion.h"

namespace mirelan {

#define XDEFINE_COPY_OUT_CELL(Source, Cell, Dest)                                                 \
  void Source::Cell(Dest& outDest, const X3DRect& inSourceRect, const X3DRect& inDestRect,       \
                    const X3DRegion* inRegion) const {                                            \
    XCopyCell(*this, outDest, inSourceRect, inDestRect, inRegion);                                \
  }

#define XDEFINE_COPY_OUT_CELLS(Source)                        \
  XDEFINE_COPY_OUT_CELL(Source, CopyOutMask, XMaskVolume)     \
  XDEFINE_COPY_OUT_CELL(Source, CopyOutGrey8, XGrey8Volume)   \
  XDEFINE_COPY_OUT_CELL(Source, CopyOutGrey16, XGrey16Volume) \
  XDEFINE_COPY_OUT_CELL(Source, CopyOutARGB32, XARGB32Volume) \
  XDEFINE_COPY_OUT_CELL(Source, CopyOutBGRA32, XBGRA32Volume) \
  XDEFINE_COPY_OUT_CELL(Source, CopyOutRGB48, XRGB48Volume)   \
  XDEFINE_COPY_OUT_CELL(Source, CopyOutFP, XFPVolume)

// XMaskVolume takes its cells from XGrey8Volume: the converters of the two
// sources are the same.
XDEFINE_COPY_OUT_CELLS(XGrey8Volume)
XDEFINE_COPY_OUT_CELLS(XGrey16Volume)
XDEFINE_COPY_OUT_CELLS(XGrey32Volume)
XDEFINE_COPY_OUT_CELLS(XFPVolume)
XDEFINE_COPY_OUT_CELLS(XARGB32Volume)
XDEFINE_COPY_OUT_CELLS(XBGRA32Volume)
XDEFINE_COPY_OUT_CELLS(XRGB48Volume)

}  // namespace mirelan
