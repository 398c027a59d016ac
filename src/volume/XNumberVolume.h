// Volumes of plain numbers (grey levels and floats): whole-volume arithmetic
// and reductions, and the integer layer that older streams gave a look-up table.
#pragma once

#include <memory>

#include "core/XExport.h"
#include "volume/XPackedVolume.h"

namespace mirelan {

template <class T>
class MIRELAN_EXPORT XNumberVolume : public XPackedVolume<T> {
 public:
  using Base = XPackedVolume<T>;
  using Traits = XPixelTraits<T>;
  using typename Base::XOptions;
  static constexpr UInt16 kClassID = 103;

  XNumberVolume() = default;
  XNumberVolume(UInt32 inWidth, UInt32 inHeight, UInt32 inDepth) : Base(inWidth, inHeight, inDepth) {}
  explicit XNumberVolume(const X3DRect& inBounds) : Base(inBounds) {}
  XNumberVolume(const XNumberVolume& inOther) = default;
  explicit XNumberVolume(XStream& inStream);

  static XVersion GetClassVersion() { return XVersion(kClassID, 0); }
  static XVersion GetSuperClassVersion() { return Base::GetClassVersion(); }

  void ReadStream2(XStream& inStream, XOptions inOptions = XStorable::kReadAll) override;
  void WriteStream2(XStream& inStream, XOptions inOptions = XStorable::kReadAll) const override;
  void ReadStream2_XNumberVolume(XStream& inStream, XOptions inOptions = XStorable::kReadAll);
  void WriteStreamSelf(XStream& inStream) const;

  // Plain arithmetic of the type on every element: integers wrap, with no
  // saturation. The volume forms need volumes of the same size.
  virtual XNumberVolume& operator+=(T inValue);
  virtual XNumberVolume& operator+=(const XNumberVolume& inVolume);
  virtual XNumberVolume& operator-=(T inValue);
  virtual XNumberVolume& operator-=(const XNumberVolume& inVolume);
  virtual XNumberVolume& operator*=(T inValue);
  virtual XNumberVolume& operator*=(const XNumberVolume& inVolume);
  // Multiplies by T(1.0 / inValue): for an integer type any value above 1
  // gives a factor of 0 and clears the volume.
  virtual XNumberVolume& operator/=(T inValue);
  // Element by element; for an integer type a zero divisor gives 0.
  virtual XNumberVolume& operator/=(const XNumberVolume& inVolume);
  // Natural logarithm and exponential, rounded to the type by the current
  // rounding mode; the square root truncates.
  virtual void Log();
  virtual void Exp();
  virtual void Sqrt();
  // voxel - inValue, floored at 0 for unsigned types.
  virtual void SubtractAndClamp(T inValue);
  // The gain and offset that carry this volume's band between the two
  // percentiles onto the same band of inReference: reference = gain * this + offset.
  // Each band comes from a 256-bin histogram of bin width (max - min) / 257.
  virtual void FindGainOffset(const XNumberVolume& inReference, Float64& outGain, Float64& outOffset,
                              Float64 inLowPercentile = 0.01, Float64 inHighPercentile = 0.99) const;
  virtual T FindMin() const;
  virtual T FindMax() const;
  virtual void FindMinMax(T& outMin, T& outMax) const;
  // Sum / (width * height * depth), converted to T.
  virtual T FindMean() const;
  virtual Float64 FindSum() const;
  virtual Float64 FindAbsSum() const;
  virtual Float64 FindAbsoluteDifference(const XNumberVolume& inVolume) const;

  // Trilinear interpolation between the eight voxels around (x, y, z), voxel
  // centres at integer coordinates, neighbours beyond the bounds clamped to
  // the edge. The caller holds a lock.
  Float32 GetInterpolatedVoxel(Float32 inX, Float32 inY, Float32 inZ) const;

 protected:
  // The percentile values of a histogram of this volume (FindGainOffset).
  void FindPercentiles(Float64 inLow, Float64 inHigh, Float64& outLow, Float64& outHigh) const;
  void ReadNumberLayer(XStream& inStream);
};

template <class T>
class MIRELAN_EXPORT XIntegerVolume : public XNumberVolume<T> {
 public:
  using Base = XNumberVolume<T>;
  using typename Base::XOptions;
  static constexpr UInt16 kClassID = 104;

  XIntegerVolume() = default;
  XIntegerVolume(UInt32 inWidth, UInt32 inHeight, UInt32 inDepth) : Base(inWidth, inHeight, inDepth) {}
  explicit XIntegerVolume(const X3DRect& inBounds) : Base(inBounds) {}
  XIntegerVolume(const XIntegerVolume& inOther) : Base(inOther) {}
  explicit XIntegerVolume(XStream& inStream);
  ~XIntegerVolume() override;

  static XVersion GetClassVersion() { return XVersion(kClassID, 1); }
  static XVersion GetSuperClassVersion() { return Base::GetClassVersion(); }

  void ReadStream2(XStream& inStream, XOptions inOptions = XStorable::kReadAll) override;
  void WriteStream2(XStream& inStream, XOptions inOptions = XStorable::kReadAll) const override;
  void ReadStream2_XIntegerVolume(XStream& inStream, XOptions inOptions = XStorable::kReadAll);
  void WriteStreamSelf(XStream& inStream) const;

 protected:
  // A version 0 layer carried a look-up table object; it waits here until
  // the concrete class turns it into a plane renderer.
  std::unique_ptr<XStorable> TakeLegacyLUT() { return std::move(itsLegacyLUT); }
  void ReadIntegerLayer(XStream& inStream, XOptions inOptions);

 private:
  std::unique_ptr<XStorable> itsLegacyLUT;
};

extern template class XNumberVolume<UInt8>;
extern template class XNumberVolume<UInt16>;
extern template class XNumberVolume<UInt32>;
extern template class XNumberVolume<Float32>;
extern template class XIntegerVolume<UInt8>;
extern template class XIntegerVolume<UInt16>;
extern template class XIntegerVolume<UInt32>;

}  // namespace mirelan
