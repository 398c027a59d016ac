// Colour volumes: 8-bit ARGB and BGRA words and 16-bit RGB triples.
#pragma once

#include "core/XExport.h"
#include "volume/XPackedVolume.h"

namespace mirelan {

class MIRELAN_EXPORT XARGB32Volume : public XPackedVolume<XARGB32Colour> {
 public:
  static constexpr UInt16 kClassID = 108;
  // The lossy colour form, read as this class.
  static constexpr UInt16 kLossyClassID = 12100;

  XARGB32Volume();
  XARGB32Volume(UInt32 inWidth, UInt32 inHeight, UInt32 inDepth);
  explicit XARGB32Volume(const X3DRect& inBounds);
  XARGB32Volume(const XARGB32Volume& inOther) = default;
  // Reads every stored form: layered, the lossy colour form and the older
  // colour image 514; with inSkipData the coded image is left undecoded
  // where its length allows.
  explicit XARGB32Volume(XStream& inStream, bool inSkipData = false);

  static XVersion GetClassVersion() { return XVersion(kClassID, 1); }
  static XVersion GetSuperClassVersion() { return XPackedVolume<XARGB32Colour>::GetClassVersion(); }
  XVersion GetVersion() const override { return GetClassVersion(); }

  using XVolume::Clone;
  using XVolume::CloneWithoutCopy;
  XARGB32Volume* Clone() const override { return new XARGB32Volume(*this); }
  XARGB32Volume* CloneWithoutCopy(const X3DRect& inRect) const override;
  XString GetDescription() const override { return "Millions of Colors Image"; }
  bool IsPlaneRendererSupported(const XImageRenderer& inRenderer) const override;
  UInt32 GetChannelCount() const override { return 3; }
  // "Red", "Green", "Blue" for 1 to 3.
  XString GetChannelName(UInt32 inChannel) const override;

  void ReadStream2(XStream& inStream, XOptions inOptions = kReadAll) override;
  void WriteStream2(XStream& inStream, XOptions inOptions = kReadAll) const override;
  void ReadStream2_XARGB32Volume(XStream& inStream, XOptions inOptions = kReadAll);
  // The older colour image (id 514): rectangle bounds, then for versions
  // from 2 a length and the coded image, before that the coded image alone.
  void ReadARGB32ImageStream(XStream& inStream, bool inHeaderOnly);
  void WriteStreamSelf(XStream& inStream) const;
  // Reads the lossy colour form (class 12100) and returns false; true for any other.
  bool PreReadStream(XStream& inStream, const XVersion& inVersion, XOptions inOptions) override;
  void WriteStreamLossyCompressed(XStream& inStream, SInt32 inQuality) const;

  // Sets alpha to inValue inside the region (everywhere without one) and, when
  // inOutside is given, to *inOutside elsewhere; red, green and blue stay.
  void FillAlphaChannel(UInt8 inValue, const X3DRegion* inRegion = nullptr, const UInt8* inOutside = nullptr);
  // Trilinear red, green and blue at (x, y, z), in channel units (0 to 255);
  // the caller holds a lock.
  XRGBFloat32Colour GetInterpolatedVoxel(Float32 inX, Float32 inY, Float32 inZ) const;

 protected:
  MIRELAN_DECLARE_COPY_OUT_CELLS
  void ReadARGB32Layer(XStream& inStream, XOptions inOptions);
};

// The same words in the other byte order; it adds no stream layer of its own.
class MIRELAN_EXPORT XBGRA32Volume : public XPackedVolume<XBGRA32Colour> {
 public:
  static constexpr UInt16 kClassID = 113;

  XBGRA32Volume();
  XBGRA32Volume(UInt32 inWidth, UInt32 inHeight, UInt32 inDepth);
  explicit XBGRA32Volume(const X3DRect& inBounds);
  XBGRA32Volume(const XBGRA32Volume& inOther) = default;
  explicit XBGRA32Volume(XStream& inStream);

  static XVersion GetClassVersion() { return XVersion(kClassID, 0); }
  static XVersion GetSuperClassVersion() { return XPackedVolume<XBGRA32Colour>::GetClassVersion(); }
  XVersion GetVersion() const override { return GetClassVersion(); }

  using XVolume::Clone;
  using XVolume::CloneWithoutCopy;
  XBGRA32Volume* Clone() const override { return new XBGRA32Volume(*this); }
  XBGRA32Volume* CloneWithoutCopy(const X3DRect& inRect) const override;
  XString GetDescription() const override { return "Millions of Colors Image"; }
  bool IsPlaneRendererSupported(const XImageRenderer& inRenderer) const override;

 protected:
  MIRELAN_DECLARE_COPY_OUT_CELLS
};

class MIRELAN_EXPORT XRGB48Volume : public XPackedVolume<XRGB48Colour> {
 public:
  static constexpr UInt16 kClassID = 112;
  static constexpr UInt16 kLegacyClassID = 6;

  XRGB48Volume();
  XRGB48Volume(UInt32 inWidth, UInt32 inHeight, UInt32 inDepth);
  explicit XRGB48Volume(const X3DRect& inBounds);
  XRGB48Volume(const XRGB48Volume& inOther) = default;
  explicit XRGB48Volume(XStream& inStream);

  static XVersion GetClassVersion() { return XVersion(kClassID, 0); }
  static XVersion GetSuperClassVersion() { return XPackedVolume<XRGB48Colour>::GetClassVersion(); }
  XVersion GetVersion() const override { return GetClassVersion(); }

  using XVolume::Clone;
  using XVolume::CloneWithoutCopy;
  XRGB48Volume* Clone() const override { return new XRGB48Volume(*this); }
  XRGB48Volume* CloneWithoutCopy(const X3DRect& inRect) const override;
  XString GetDescription() const override { return "48-bit Color Image"; }
  bool IsPlaneRendererSupported(const XImageRenderer& inRenderer) const override;
  UInt32 GetChannelCount() const override { return 3; }
  XString GetChannelName(UInt32 inChannel) const override;

  void ReadStream2(XStream& inStream, XOptions inOptions = kReadAll) override;
  void WriteStream2(XStream& inStream, XOptions inOptions = kReadAll) const override;
  void ReadStream2_XRGB48Volume(XStream& inStream, XOptions inOptions = kReadAll);
  void WriteStreamSelf(XStream& inStream) const;

  // Trilinear red, green and blue at (x, y, z), in channel units (0 to 65535);
  // the caller holds a lock.
  XRGBFloat32Colour GetInterpolatedVoxel(Float32 inX, Float32 inY, Float32 inZ) const;

 protected:
  MIRELAN_DECLARE_COPY_OUT_CELLS
  void ReadRGB48Layer(XStream& inStream, XOptions inOptions);
};

}  // namespace mirelan
