// How a volume is to be shown: the display parameters every pixel type
// shares (offset and gain on the normalised scale, gamma, black and white
// points in pixel units, colour balance), with their stored form.
#pragma once

#include "core/XException.h"
#include "core/XExport.h"
#include "core/XStorable.h"
#include "rendering/XHyperLayout.h"
#include "rendering/XPixelShaders.h"
#include "volume/XColour.h"

namespace mirelan {

class XStream;
class XIntToColourLUT;
class XVolume;
class XARGB32Volume;
class XBGRA32Volume;
class X3DRegion;

// A target of rendering: 32-bit words in a strided 3-D view.
using XRGB32Layout = XHyperLayout<3, UInt32>;

enum : SInt32 {
  kErrRendererHasNoLUT = 2506,  // this renderer has no look-up table
};

// Numbers under which hosts get and set renderer parameters generically.
enum XRendererProperty : UInt32 {
  kPropertyBlack = 1,
  kPropertyWhite = 2,
  kPropertyGain = 3,
  kPropertyOffset = 4,
  kPropertyGamma = 5,
  kPropertyRedBalance = 6,
  kPropertyGreenBalance = 7,
  kPropertyBlueBalance = 8,
  kPropertyBlackRed = 10,
  kPropertyBlackGreen = 11,
  kPropertyBlackBlue = 12,
  kPropertyWhiteRed = 13,
  kPropertyWhiteGreen = 14,
  kPropertyWhiteBlue = 15,
};

// How a grey renderer colours a level: along the ramp between its two
// colours, or through the rainbow.
enum XRendererType : UInt32 {
  kRendererRamp = 0,
  kRendererRainbow = 1,
};

class MIRELAN_EXPORT XImageRenderer : public XStorable {
 public:
  static constexpr UInt16 kClassID = 12001;

  ~XImageRenderer() override = default;

  static XVersion GetClassVersion() { return XVersion(kClassID, 0); }
  static XVersion GetSuperClassVersion() { return XStorable::GetClassVersion(); }
  XImageRenderer* Clone() const override = 0;
  UInt64 GetStreamUsage() const override { return 80; }
  void ReadStream2(XStream& inStream, XOptions inOptions = kReadAll) override;
  void WriteStream2(XStream& inStream, XOptions inOptions = kReadAll) const override;

  virtual void SetOffset(Float64 inOffset) { itsOffset = inOffset; }
  virtual void SetGain(Float64 inGain) { itsGain = inGain; }
  virtual void SetGamma(Float64 inGamma) { itsGamma = inGamma; }
  virtual void SetBlack(Float64 inBlack) { itsBlack = inBlack; }
  // Not checked against the black point: a white below black is refused at
  // render time only.
  virtual void SetWhite(Float64 inWhite) { itsWhite = inWhite; }
  virtual void SetColourBalance(Float64 inRed, Float64 inGreen, Float64 inBlue);
  // Only grey renderers have colours and a type; elsewhere these do nothing.
  virtual void SetBlackColour(const XARGB32Colour& inColour) {}
  virtual void SetWhiteColour(const XARGB32Colour& inColour) {}
  virtual void SetRendererType(XRendererType inType) {}

  virtual Float64 GetOffset() const { return itsOffset; }
  virtual Float64 GetGain() const { return itsGain; }
  virtual Float64 GetGamma() const { return itsGamma; }
  virtual Float64 GetBlack() const { return itsBlack; }
  virtual Float64 GetWhite() const { return itsWhite; }
  virtual Float64 GetRedBalance() const { return itsRedBalance; }
  virtual Float64 GetGreenBalance() const { return itsGreenBalance; }
  virtual Float64 GetBlueBalance() const { return itsBlueBalance; }
  virtual XARGB32Colour GetBlackColour() const { return XARGB32Colour(255, 0, 0, 0); }
  virtual XARGB32Colour GetWhiteColour() const { return XARGB32Colour(255, 255, 255, 255); }
  virtual XRendererType GetRendererType() const { return kRendererRamp; }

  // Properties 1 to 8 here; see XRendererProperty.
  virtual bool HasProperty(UInt32 inProperty) const;
  virtual void SetProperty(UInt32 inProperty, Float64 inValue);
  // 0 for a property this renderer does not know.
  virtual Float64 GetProperty(UInt32 inProperty) const;
  // Takes another renderer's settings; black and white are rescaled between
  // the two input ranges when the classes differ.
  virtual void CopyProperties(const XImageRenderer& inOther);

  virtual Float64 GetMaxInputValue() const { return 255.0; }
  virtual Float64 GetMinInputValue() const { return 0.0; }
  // Untouched display: the pixels show as they are.
  virtual bool IsNormal() const;
  virtual bool IsNormalExceptForWhitePoint() const;
  virtual void Normalise();
  virtual bool IsMonochromatic() const { return false; }

  // The colour of one pixel of this renderer's pixel type, by the same
  // arithmetic as the render loops.
  virtual void GetColour(const void* inPixel, XARGB32Colour& outColour) const = 0;

  // Draws inSourceRect of the source into inTargetRect of a colour volume,
  // scaling by nearest choice when the sizes differ. The region, in target
  // coordinates, limits the pixels written; the rest keep what they had.
  virtual void RenderToARGB32Volume(const XVolume& inSource, XARGB32Volume& ioTarget, const X3DRect& inSourceRect,
                                    const X3DRect& inTargetRect, const X3DRegion* inRegion) const;
  virtual void RenderToBGRA32Volume(const XVolume& inSource, XBGRA32Volume& ioTarget, const X3DRect& inSourceRect,
                                    const X3DRect& inTargetRect, const X3DRegion* inRegion) const;
  // The same into a caller's buffer of 32-bit words, such as a toolkit's
  // image: the layout gives its coordinates and steps, inTargetRect is in
  // those coordinates and the words are written in inFormat's byte order.
  // Nothing outside the layout or inTargetRect is touched.
  void RenderToRGB32Buffer(const XVolume& inSource, const XRGB32Layout& inTarget, const X3DRect& inSourceRect,
                           const X3DRect& inTargetRect, const X3DRegion* inRegion, XPixelFormat inFormat) const;

  // A new table of the current mapping, owned by the caller. Throws 2506
  // for renderers without one.
  virtual XIntToColourLUT* GetLUT() const;
  // Takes the mapping of a table. Throws 2506 for renderers without one.
  virtual void ApplyLUT(const XIntToColourLUT& inLUT);

  // The 8-bit display level of a pixel value, and back.
  virtual UInt8 GetLuminance(Float64 inValue) const;
  virtual Float64 GetValueForLuminance(UInt8 inLuminance) const;

 protected:
  // The common entry of every target: requires white >= black and the
  // source rectangle inside the source; cuts the layout to the region's
  // bounds; with black equal to white fills the layout (and region) with the
  // white colour, reading no pixel, else renders through the class.
  virtual void WriteToRGB32Buffer(const XVolume& inSource, const XRGB32Layout& inTarget, const X3DRect& inSourceRect,
                                  const X3DRect& inTargetRect, const X3DRegion* inRegion, XPixelFormat inFormat) const;
  // The class's own rendering: its volume type, its shader choice. The
  // region is null or not empty.
  virtual void WriteToRGB32BufferSelf(const XVolume& inSource, const XRGB32Layout& inTarget,
                                      const X3DRect& inSourceRect, const X3DRect& inTargetRect,
                                      const X3DRegion* inRegion, XPixelFormat inFormat) const = 0;

  XImageRenderer() = default;
  // Takes the other's settings through its getters.
  XImageRenderer(const XImageRenderer& inOther);
  XImageRenderer& operator=(const XImageRenderer& inOther);

  // This level's block: word 12001 and eight 64-bit floats.
  void WriteStreamSelf(XStream& inStream) const;
  void ReadStreamSelf(XStream& inStream);
  void ReadStream2_XImageRenderer(XStream& inStream, XOptions inOptions);

  // The stream word of a concrete class, which has no fields of its own.
  static void ReadConcreteWord(XStream& inStream, const XVersion& inExpected);

  Float64 itsOffset = 0.0;
  Float64 itsGain = 1.0;
  Float64 itsGamma = 1.0;
  Float64 itsBlack = 0.0;
  Float64 itsWhite = 255.0;
  Float64 itsRedBalance = 1.0;
  Float64 itsGreenBalance = 1.0;
  Float64 itsBlueBalance = 1.0;
};

// Float to 32-bit integer the way the processor's truncating conversion
// does it: NaN and values out of range give 0x80000000.
inline SInt32 XTruncateToSInt32(Float64 inValue) {
  if (!(inValue > -2147483649.0 && inValue < 2147483648.0)) return SInt32(0x80000000u);
  return SInt32(inValue);
}

}  // namespace mirelan
