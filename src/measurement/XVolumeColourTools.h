// Colour census of ARGB32 images: the share of nine named colours and the
// mean brightness (XVolumeColourTool), and the pixels whose hue lies in a
// band of wavelengths (XVolumeWavelengthTool). BGRA32 images are read as
// ARGB32; other pixel types throw XException 2500.
#pragma once

#include "core/XExport.h"
#include "core/XTypes.h"
#include "tools/XVolumeScanningTool.h"

namespace mirelan {

class XARGB32Colour;

class MIRELAN_EXPORT XVolumeColourTool : public XVolumeScanningTool {
 public:
  static constexpr UInt32 kClassCount = 9;

  // The scan: each pixel falls in one of 8 x 8 x 8 cells by the top three
  // bits of red, green and blue; the sum of R + G + B and the pixel count
  // are kept for the brightness.
  class MIRELAN_EXPORT XARGB32Helper {
   public:
    template <class V>
    void SetupForScan(V&) {
      Clear();
    }
    template <class V>
    void FinishedScanning(V&) {}
    template <class V>
    void ScanPixel(const XARGB32Colour* inVoxel, V&, SInt32, SInt32, SInt32) {
      Add(*inVoxel);
    }

    void Clear();
    void Add(const XARGB32Colour& inColour);
    UInt32 GetCellCount(UInt32 inR, UInt32 inG, UInt32 inB) const { return itsCells[inR * 64 + inG * 8 + inB]; }
    UInt64 GetSum() const { return itsSum; }
    UInt32 GetPixelCount() const { return itsPixelCount; }

   private:
    UInt32 itsCells[512];
    UInt64 itsSum = 0;
    UInt32 itsPixelCount = 0;
  };

  XVolumeColourTool();

  // The percentage of pixels in class 0 black, 1 blue, 2 green, 3 cyan,
  // 4 red, 5 magenta, 6 yellow, 7 white, 8 skin (corner 7, 4, 4 of the cell
  // cube). Classes overlap: a cell belongs to every class whose corner lies
  // less than 6.0 cells away, greys only to black and white and the others
  // only to the colour classes, so the nine need not add up to 100.
  UInt32 GetColourPercent(UInt32 inIndex) const;
  // sum(R + G + B) * 100 / (pixels * 765).
  UInt32 GetBrightnessPercent() const { return itsBrightnessPercent; }

  // Euclidean distance of two cells.
  static Float64 CalcDistance(SInt32 inR1, SInt32 inG1, SInt32 inB1, SInt32 inR2, SInt32 inG2, SInt32 inB2);

 protected:
  void ApplyToolARGB32(XARGB32Volume& ioVolume, const X3DRegion* inRegion) override;
  void ApplyToolBGRA32(XBGRA32Volume& ioVolume, const X3DRegion* inRegion) override;
  // Turns the cells into the class percentages; the scan must have seen a pixel.
  virtual void GetValuesFromHelper(const XARGB32Helper& inHelper);

 private:
  UInt32 itsColourPercent[kClassCount];
  UInt32 itsBrightnessPercent = 0;
};

class MIRELAN_EXPORT XVolumeWavelengthTool : public XVolumeScanningTool {
 public:
  // Pixels with black level * 3 <= R + G + B <= white level * 3 are not
  // black. The defaults take every pixel: 0 and 255.
  void SetBlackLevel(UInt32 inLevel) { itsBlackLevel = inLevel * 3; }
  void SetWhiteLevel(UInt32 inLevel) { itsWhiteLevel = inLevel * 3; }
  // The band in nanometres: the hue of inB is the lower limit and that of
  // inA the upper (XARGB32Colour::SetWavelength, then GetHue).
  void SetWaveBand(Float64 inA, Float64 inB) {
    itsWaveA = inA;
    itsWaveB = inB;
  }

  UInt32 GetNonBlackCount() const { return itsNonBlackCount; }
  // Pixels that are not black and whose hue lies in the band, limits included.
  UInt32 GetMatchCount() const { return itsMatchCount; }

 protected:
  void ApplyToolARGB32(XARGB32Volume& ioVolume, const X3DRegion* inRegion) override;
  void ApplyToolBGRA32(XBGRA32Volume& ioVolume, const X3DRegion* inRegion) override;

 private:
  UInt32 itsBlackLevel = 0;
  UInt32 itsWhiteLevel = 255 * 3;
  Float64 itsWaveA = 0.0;
  Float64 itsWaveB = 0.0;
  UInt32 itsNonBlackCount = 0;
  UInt32 itsMatchCount = 0;
};

}  // namespace mirelan
