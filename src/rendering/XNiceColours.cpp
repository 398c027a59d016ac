#include "rendering/XNiceColours.h"

namespace mirelan {

XIntToColourLUT XNiceColours::GetContrastingLUT() {
  static const UInt8 kColours[18][3] = {
      {128, 128, 255}, {128, 255, 128}, {255, 128, 128}, {128, 255, 255}, {255, 128, 255},
      {255, 255, 128}, {64, 64, 255},   {64, 255, 64},   {255, 64, 64},   {64, 255, 255},
      {255, 64, 255},  {255, 255, 64},  {64, 128, 255},  {64, 128, 128},  {255, 128, 64},
      {64, 255, 128},  {128, 64, 255},  {128, 255, 64}};
  XIntToColourLUT table(18);
  {
    XLock lock(table, kLockReadWrite);
    for (UInt32 i = 0; i < 18; ++i)
      table.SetValue(i, XARGB32Colour(255, kColours[i][0], kColours[i][1], kColours[i][2]));
  }
  return table;
}

XIntToColourLUT XNiceColours::GetSystemColoursLUT() {
  static const UInt8 kRamp[10] = {238, 221, 187, 170, 136, 119, 85, 68, 34, 17};
  XIntToColourLUT table(256);
  {
    XLock lock(table, kLockReadWrite);
    // The 6 x 6 x 6 colour cube, white first.
    for (UInt32 i = 0; i <= 214; ++i)
      table.SetValue(i, XARGB32Colour(255, UInt8(255 - 51 * (i / 36)), UInt8(255 - 51 * ((i / 6) % 6)),
                                      UInt8(255 - 51 * (i % 6))));
    // The palette this one copies has this entry off the cube; keep it so.
    table.SetValue(130, XARGB32Colour(255, 102, 102, 53));
    for (UInt32 k = 0; k < 10; ++k) {
      const UInt8 v = kRamp[k];
      table.SetValue(215 + k, XARGB32Colour(255, v, 0, 0));
      table.SetValue(225 + k, XARGB32Colour(255, 0, v, 0));
      table.SetValue(235 + k, XARGB32Colour(255, 0, 0, v));
      table.SetValue(245 + k, XARGB32Colour(255, v, v, v));
    }
    table.SetValue(255, XARGB32Colour(255, 0, 0, 0));
  }
  return table;
}

XIntToColourLUT XNiceColours::GetWavelengthLUT() {
  XIntToColourLUT table(256);
  {
    XLock lock(table, kLockReadWrite);
    // The step is the integer 400 / 256, i.e. 1 nm: the table stops at 634 nm
    // rather than spreading over the visible 400 nm. Kept as the tables made
    // with it look.
    const UInt32 step = 400 / 256;
    for (UInt32 i = 0; i < 255; ++i) {
      XARGB32Colour colour(255, 0, 0, 0);
      colour.SetWavelength(380.0 + i * step);
      table.SetValue(i, colour);
    }
    table.SetValue(255, XARGB32Colour(255, 255, 255, 255));
  }
  return table;
}

}  // namespace mirelan
