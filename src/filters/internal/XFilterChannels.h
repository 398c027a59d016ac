// Which components of a volume class the per-component filters work on.
#pragma once

#include "filters/internal/XFilterWalk.h"
#include "volume/XColourVolumes.h"
#include "volume/XFPVolume.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey8Volume.h"

namespace mirelan {
namespace XFilterDetail {

// The component type, its step within the voxel, the first component and
// how many. Grey and float volumes: the voxel. ARGB32: bytes 1, 2, 3 (red,
// green, blue; the alpha byte first in the word is left alone). RGB48: the
// three 16-bit channels.
template <class V>
struct XFilterChannels;
template <>
struct XFilterChannels<XGrey8Volume> {
  using Volume = XGrey8Volume;
  using Channel = UInt8;
  static constexpr int kStep = 1;
  static constexpr UInt32 kFirst = 0, kCount = 1;
};
template <>
struct XFilterChannels<XGrey16Volume> {
  using Volume = XGrey16Volume;
  using Channel = UInt16;
  static constexpr int kStep = 1;
  static constexpr UInt32 kFirst = 0, kCount = 1;
};
template <>
struct XFilterChannels<XFPVolume> {
  using Volume = XFPVolume;
  using Channel = Float32;
  static constexpr int kStep = 1;
  static constexpr UInt32 kFirst = 0, kCount = 1;
};
template <>
struct XFilterChannels<XARGB32Volume> {
  using Volume = XARGB32Volume;
  using Channel = UInt8;
  static constexpr int kStep = 4;
  static constexpr UInt32 kFirst = 1, kCount = 3;
};
template <>
struct XFilterChannels<XRGB48Volume> {
  using Volume = XRGB48Volume;
  using Channel = UInt16;
  static constexpr int kStep = 3;
  static constexpr UInt32 kFirst = 0, kCount = 3;
};

// Views of each filtered component of a locked source and destination.
template <class Channels>
struct XComponentViews {
  using C = typename Channels::Channel;
  using SourceView = XChannelView<const C, Channels::kStep>;
  using DestView = XChannelView<C, Channels::kStep>;
  std::vector<SourceView> source;
  std::vector<DestView> dest;

  XComponentViews(const typename Channels::Volume& inSource, typename Channels::Volume& ioDest) {
    for (UInt32 c = 0; c < Channels::kCount; ++c) {
      source.emplace_back(inSource, Channels::kFirst + c);
      dest.emplace_back(ioDest, Channels::kFirst + c);
    }
  }
};

}  // namespace XFilterDetail
}  // namespace mirelan
