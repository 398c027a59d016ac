// Two- and three-dimensional points over integer and float coordinates.
// Plain values: copied freely, returned by value, no locks.
#pragma once

#include <cmath>
#include <type_traits>
#include <vector>

#include "core/XExport.h"
#include "core/XTypes.h"

namespace mirelan {

class X3DRect;

template <class T>
class MIRELAN_EXPORT XPointT {
 public:
  using Coord = T;

  T x;
  T y;

  constexpr XPointT() : x(0), y(0) {}
  constexpr XPointT(T inX, T inY) : x(inX), y(inY) {}
  // Between the integer and float forms; float to integer truncates.
  template <class U>
  constexpr explicit XPointT(const XPointT<U>& inPoint)
      : x(static_cast<T>(inPoint.x)), y(static_cast<T>(inPoint.y)) {}

  T GetX() const { return x; }
  T GetY() const { return y; }
  void SetX(T inX) { x = inX; }
  void SetY(T inY) { y = inY; }
  void SetXY(T inX, T inY) {
    x = inX;
    y = inY;
  }

  void Offset(T inDX, T inDY) {
    x += inDX;
    y += inDY;
  }
  void Offset(const XPointT& inDelta) { Offset(inDelta.x, inDelta.y); }

  XPointT operator+(const XPointT& p) const { return XPointT(x + p.x, y + p.y); }
  XPointT operator-(const XPointT& p) const { return XPointT(x - p.x, y - p.y); }
  XPointT operator*(const XPointT& p) const { return XPointT(x * p.x, y * p.y); }
  XPointT operator/(const XPointT& p) const { return XPointT(x / p.x, y / p.y); }
  XPointT operator*(T s) const { return XPointT(x * s, y * s); }
  XPointT operator/(T s) const { return XPointT(x / s, y / s); }
  XPointT operator-() const { return XPointT(-x, -y); }
  XPointT& operator+=(const XPointT& p) { return *this = *this + p; }
  XPointT& operator-=(const XPointT& p) { return *this = *this - p; }
  XPointT& operator*=(const XPointT& p) { return *this = *this * p; }
  XPointT& operator/=(const XPointT& p) { return *this = *this / p; }
  XPointT& operator*=(T s) { return *this = *this * s; }
  XPointT& operator/=(T s) { return *this = *this / s; }

  // Exact, also for floats.
  bool IsEqual(const XPointT& p) const { return x == p.x && y == p.y; }
  bool operator==(const XPointT& p) const { return IsEqual(p); }
  bool operator!=(const XPointT& p) const { return !IsEqual(p); }
  // Lexicographic, so points sort by x and then by y.
  bool operator<(const XPointT& p) const { return x < p.x || (x == p.x && y < p.y); }
  bool operator>(const XPointT& p) const { return p < *this; }
  bool operator<=(const XPointT& p) const { return !(p < *this); }
  bool operator>=(const XPointT& p) const { return !(*this < p); }

  Float64 Distance(const XPointT& p) const {
    Float64 dx = static_cast<Float64>(x) - static_cast<Float64>(p.x);
    Float64 dy = static_cast<Float64>(y) - static_cast<Float64>(p.y);
    return std::sqrt(dx * dx + dy * dy);
  }

  // About the origin, in radians; an integer point truncates towards zero.
  void Rotate(Float64 inAngle) {
    Float64 c = std::cos(inAngle), s = std::sin(inAngle);
    Float64 fx = static_cast<Float64>(x), fy = static_cast<Float64>(y);
    x = static_cast<T>(fx * c - fy * s);
    y = static_cast<T>(fx * s + fy * c);
  }

  bool IsNaN() const {
    if constexpr (std::is_floating_point_v<T>)
      return std::isnan(x) || std::isnan(y);
    else
      return false;
  }

  // inCount points strictly between a and b, evenly spaced, computed in float.
  template <class P>
  static void InterpolatePoints(const XPointT& a, const XPointT& b, UInt32 inCount,
                                std::vector<P>& outPoints) {
    outPoints.clear();
    outPoints.reserve(inCount);
    Float32 ax = static_cast<Float32>(a.x), ay = static_cast<Float32>(a.y);
    Float32 dx = static_cast<Float32>(b.x) - ax, dy = static_cast<Float32>(b.y) - ay;
    Float32 steps = static_cast<Float32>(inCount) + 1.0f;
    for (UInt32 i = 1; i <= inCount; ++i) {
      Float32 fi = static_cast<Float32>(i);
      outPoints.push_back(P(XPointT(static_cast<T>(ax + dx * fi / steps),
                                    static_cast<T>(ay + dy * fi / steps))));
    }
  }
};

template <class T>
class MIRELAN_EXPORT X3DPointT {
 public:
  using Coord = T;

  T x;
  T y;
  T z;

  constexpr X3DPointT() : x(0), y(0), z(0) {}
  constexpr X3DPointT(T inX, T inY, T inZ) : x(inX), y(inY), z(inZ) {}
  constexpr X3DPointT(const XPointT<T>& inXY, T inZ) : x(inXY.x), y(inXY.y), z(inZ) {}
  template <class U>
  constexpr explicit X3DPointT(const X3DPointT<U>& p)
      : x(static_cast<T>(p.x)), y(static_cast<T>(p.y)), z(static_cast<T>(p.z)) {}

  T GetX() const { return x; }
  T GetY() const { return y; }
  T GetZ() const { return z; }
  void SetX(T inX) { x = inX; }
  void SetY(T inY) { y = inY; }
  void SetZ(T inZ) { z = inZ; }
  void SetXY(T inX, T inY) {
    x = inX;
    y = inY;
  }
  void SetXYZ(T inX, T inY, T inZ) {
    x = inX;
    y = inY;
    z = inZ;
  }

  XPointT<T> GetXY() const { return XPointT<T>(x, y); }
  XPointT<T> GetXZ() const { return XPointT<T>(x, z); }
  XPointT<T> GetYZ() const { return XPointT<T>(y, z); }

  void Offset(T inDX, T inDY, T inDZ) {
    x += inDX;
    y += inDY;
    z += inDZ;
  }
  void Offset(const X3DPointT& d) { Offset(d.x, d.y, d.z); }

  X3DPointT operator+(const X3DPointT& p) const { return X3DPointT(x + p.x, y + p.y, z + p.z); }
  X3DPointT operator-(const X3DPointT& p) const { return X3DPointT(x - p.x, y - p.y, z - p.z); }
  X3DPointT operator*(const X3DPointT& p) const { return X3DPointT(x * p.x, y * p.y, z * p.z); }
  X3DPointT operator/(const X3DPointT& p) const { return X3DPointT(x / p.x, y / p.y, z / p.z); }
  X3DPointT operator*(T s) const { return X3DPointT(x * s, y * s, z * s); }
  X3DPointT operator/(T s) const { return X3DPointT(x / s, y / s, z / s); }
  X3DPointT operator-() const { return X3DPointT(-x, -y, -z); }
  X3DPointT& operator+=(const X3DPointT& p) { return *this = *this + p; }
  X3DPointT& operator-=(const X3DPointT& p) { return *this = *this - p; }
  X3DPointT& operator*=(const X3DPointT& p) { return *this = *this * p; }
  X3DPointT& operator/=(const X3DPointT& p) { return *this = *this / p; }
  X3DPointT& operator*=(T s) { return *this = *this * s; }
  X3DPointT& operator/=(T s) { return *this = *this / s; }

  bool IsEqual(const X3DPointT& p) const { return x == p.x && y == p.y && z == p.z; }
  bool operator==(const X3DPointT& p) const { return IsEqual(p); }
  bool operator!=(const X3DPointT& p) const { return !IsEqual(p); }
  bool operator<(const X3DPointT& p) const {
    if (x != p.x) return x < p.x;
    if (y != p.y) return y < p.y;
    return z < p.z;
  }
  bool operator>(const X3DPointT& p) const { return p < *this; }
  bool operator<=(const X3DPointT& p) const { return !(p < *this); }
  bool operator>=(const X3DPointT& p) const { return !(*this < p); }

  // Single precision is enough for voxel distances, and is what callers store.
  Float32 Distance(const X3DPointT& p) const {
    Float64 dx = static_cast<Float64>(x) - static_cast<Float64>(p.x);
    Float64 dy = static_cast<Float64>(y) - static_cast<Float64>(p.y);
    Float64 dz = static_cast<Float64>(z) - static_cast<Float64>(p.z);
    return static_cast<Float32>(std::sqrt(dx * dx + dy * dy + dz * dz));
  }

  bool IsNaN() const {
    if constexpr (std::is_floating_point_v<T>)
      return std::isnan(x) || std::isnan(y) || std::isnan(z);
    else
      return false;
  }

  template <class P>
  static void InterpolatePoints(const X3DPointT& a, const X3DPointT& b, UInt32 inCount,
                                std::vector<P>& outPoints) {
    outPoints.clear();
    outPoints.reserve(inCount);
    Float32 ax = static_cast<Float32>(a.x), ay = static_cast<Float32>(a.y),
            az = static_cast<Float32>(a.z);
    Float32 dx = static_cast<Float32>(b.x) - ax, dy = static_cast<Float32>(b.y) - ay,
            dz = static_cast<Float32>(b.z) - az;
    Float32 steps = static_cast<Float32>(inCount) + 1.0f;
    for (UInt32 i = 1; i <= inCount; ++i) {
      Float32 fi = static_cast<Float32>(i);
      outPoints.push_back(P(X3DPointT(static_cast<T>(ax + dx * fi / steps),
                                      static_cast<T>(ay + dy * fi / steps),
                                      static_cast<T>(az + dz * fi / steps))));
    }
  }
};

class MIRELAN_EXPORT XPoint : public XPointT<SInt32> {
 public:
  using XPointT<SInt32>::XPointT;
  constexpr XPoint() = default;
  constexpr XPoint(const XPointT<SInt32>& p) : XPointT<SInt32>(p) {}  // NOLINT: results of operators
  constexpr explicit XPoint(const XPointT<Float32>& p) : XPointT<SInt32>(p) {}
};

class MIRELAN_EXPORT XPointF : public XPointT<Float32> {
 public:
  using XPointT<Float32>::XPointT;
  constexpr XPointF() = default;
  constexpr XPointF(const XPointT<Float32>& p) : XPointT<Float32>(p) {}  // NOLINT
  constexpr XPointF(const XPointT<SInt32>& p) : XPointT<Float32>(p) {}   // NOLINT: widening

  // Each rounds, floors or ceils in place and returns the new value.
  XPointF Round() {
    x = std::floor(x + 0.5f);
    y = std::floor(y + 0.5f);
    return *this;
  }
  XPointF Floor() {
    x = std::floor(x);
    y = std::floor(y);
    return *this;
  }
  XPointF Ceil() {
    x = std::ceil(x);
    y = std::ceil(y);
    return *this;
  }
};

class MIRELAN_EXPORT X3DPoint : public X3DPointT<SInt32> {
 public:
  using X3DPointT<SInt32>::X3DPointT;
  constexpr X3DPoint() = default;
  constexpr X3DPoint(const X3DPointT<SInt32>& p) : X3DPointT<SInt32>(p) {}  // NOLINT
  constexpr explicit X3DPoint(const X3DPointT<Float32>& p) : X3DPointT<SInt32>(p) {}

  // Clamps each coordinate to the last voxel inside the box on its axis.
  void KeepWithin(const X3DRect& inBox);
};

class MIRELAN_EXPORT X3DPointF : public X3DPointT<Float32> {
 public:
  using X3DPointT<Float32>::X3DPointT;
  constexpr X3DPointF() = default;
  constexpr X3DPointF(const X3DPointT<Float32>& p) : X3DPointT<Float32>(p) {}  // NOLINT
  constexpr X3DPointF(const X3DPointT<SInt32>& p) : X3DPointT<Float32>(p) {}   // NOLINT

  X3DPointF Round() {
    x = std::floor(x + 0.5f);
    y = std::floor(y + 0.5f);
    z = std::floor(z + 0.5f);
    return *this;
  }
  X3DPointF Floor() {
    x = std::floor(x);
    y = std::floor(y);
    z = std::floor(z);
    return *this;
  }
  X3DPointF Ceil() {
    x = std::ceil(x);
    y = std::ceil(y);
    z = std::ceil(z);
    return *this;
  }
};

}  // namespace mirelan
