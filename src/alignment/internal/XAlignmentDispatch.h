// One class test per call for the alignment tools: the volume's class picks
// the typed body, never a test per voxel. Colour words are seen as arrays of
// their integer components, so that per-component arithmetic is one loop.
#pragma once

#include <type_traits>

#include "core/XException.h"
#include "volume/XColourVolumes.h"
#include "volume/XFPVolume.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey8Volume.h"
#include "volume/XMaskVolume.h"

namespace mirelan {
namespace alignment {

// Calls inBody with the volume as its packed class, in the order mask (as
// 8-bit), Grey8, Grey16, FP, ARGB32, RGB48; any other class throws 2500.
template <class V, class Body>
decltype(auto) DispatchMergeClass(V& inVolume, Body&& inBody) {
  using Grey8 = std::conditional_t<std::is_const_v<V>, const XPackedVolume<UInt8>, XPackedVolume<UInt8>>;
  using Grey16 = std::conditional_t<std::is_const_v<V>, const XPackedVolume<UInt16>, XPackedVolume<UInt16>>;
  using FP = std::conditional_t<std::is_const_v<V>, const XPackedVolume<Float32>, XPackedVolume<Float32>>;
  using ARGB = std::conditional_t<std::is_const_v<V>, const XPackedVolume<XARGB32Colour>, XPackedVolume<XARGB32Colour>>;
  using RGB48 = std::conditional_t<std::is_const_v<V>, const XPackedVolume<XRGB48Colour>, XPackedVolume<XRGB48Colour>>;
  if (inVolume.IsA(XMaskVolume::GetClassVersion()) || inVolume.IsA(XGrey8Volume::GetClassVersion()))
    return inBody(static_cast<Grey8&>(inVolume));
  if (inVolume.IsA(XGrey16Volume::GetClassVersion())) return inBody(static_cast<Grey16&>(inVolume));
  if (inVolume.IsA(XFPVolume::GetClassVersion())) return inBody(static_cast<FP&>(inVolume));
  if (inVolume.IsA(XARGB32Volume::GetClassVersion())) return inBody(static_cast<ARGB&>(inVolume));
  if (inVolume.IsA(XRGB48Volume::GetClassVersion())) return inBody(static_cast<RGB48&>(inVolume));
  throw XException(kErrNotForPixelType);
}

// The component type of a voxel and how many of them one voxel holds: an
// ARGB32 word is four bytes (alpha included), an RGB48 voxel three 16-bit words.
template <class T>
struct XComponents {
  using Type = T;
  static constexpr UInt32 kCount = 1;
};
template <>
struct XComponents<XARGB32Colour> {
  using Type = UInt8;
  static constexpr UInt32 kCount = 4;
};
template <>
struct XComponents<XRGB48Colour> {
  using Type = UInt16;
  static constexpr UInt32 kCount = 3;
};
static_assert(sizeof(XARGB32Colour) == 4 && sizeof(XRGB48Colour) == 6, "colour words are packed components");

// Row y (bounds coordinates) of plane z as components.
template <class T>
typename XComponents<T>::Type* RowComponents(XPackedVolume<T>& ioVolume, SInt32 inY, SInt32 inZ) {
  return reinterpret_cast<typename XComponents<T>::Type*>(ioVolume.GetVoxelPtr(ioVolume.GetBounds().left, inY, inZ));
}
template <class T>
const typename XComponents<T>::Type* RowComponents(const XPackedVolume<T>& inVolume, SInt32 inY, SInt32 inZ) {
  return reinterpret_cast<const typename XComponents<T>::Type*>(
      inVolume.GetVoxelPtr(inVolume.GetBounds().left, inY, inZ));
}

// The grey value of a voxel as the focus measure sees it: the value itself,
// or the integer mean of the three colour components.
inline float FocusValue(UInt8 inValue) { return float(inValue); }
inline float FocusValue(UInt16 inValue) { return float(inValue); }
inline float FocusValue(Float32 inValue) { return inValue; }
inline float FocusValue(const XARGB32Colour& inValue) {
  return float((UInt32(inValue.red) + inValue.green + inValue.blue) / 3);
}
inline float FocusValue(const XRGB48Colour& inValue) {
  return float((UInt32(inValue.red) + inValue.green + inValue.blue) / 3);
}

}  // namespace alignment
}  // namespace mirelan
