// Renderer of 16-bit-per-channel colour pixels.
#pragma once

#include "core/XExport.h"
#include "rendering/XImageRenderer.h"

namespace mirelan {

class MIRELAN_EXPORT XRGB48ImageRenderer : public XImageRenderer {
 public:
  static constexpr UInt16 kClassID = 12009;

  XRGB48ImageRenderer() { itsWhite = 65535.0; }
  XRGB48ImageRenderer(const XRGB48ImageRenderer& inOther) = default;
  explicit XRGB48ImageRenderer(XStream& inStream);
  XRGB48ImageRenderer& operator=(const XRGB48ImageRenderer& inOther) = default;
  ~XRGB48ImageRenderer() override = default;

  static XVersion GetClassVersion() { return XVersion(kClassID, 0); }
  static XVersion GetSuperClassVersion() { return XImageRenderer::GetClassVersion(); }
  XVersion GetVersion() const override { return GetClassVersion(); }
  XRGB48ImageRenderer* Clone() const override { return new XRGB48ImageRenderer(*this); }
  void ReadStream2(XStream& inStream, XOptions inOptions = kReadAll) override;
  void WriteStream2(XStream& inStream, XOptions inOptions = kReadAll) const override;

  Float64 GetMaxInputValue() const override { return 65535.0; }

 protected:
  void ReadStream2_XRGB48ImageRenderer(XStream& inStream, XOptions inOptions);
};

}  // namespace mirelan
