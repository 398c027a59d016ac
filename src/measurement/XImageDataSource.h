// The library's view of one multi-dimensional image: volumes by timepoint
// and channel (both numbered from 1), handed out as private copies. This is
// the abstract part that histogram generators rely on: the image copies and
// the cache of one generator per timepoint and channel.
#pragma once

#include <memory>

#include "core/XContainers.h"
#include "core/XExport.h"
#include "core/XMessage.h"
#include "core/XMutex.h"
#include "core/XTypes.h"
#include "measurement/XHistogramMode.h"

namespace mirelan {

class XVolume;
class XHistogramGenerator;

class MIRELAN_EXPORT XImageDataSource : public XSpeaker {
 public:
  XImageDataSource();
  // A copy shares the generators cached so far with the source copied.
  XImageDataSource(const XImageDataSource& inOther);
  XImageDataSource& operator=(const XImageDataSource&) = delete;
  ~XImageDataSource() override;

  // A copy of the volume at a timepoint and channel, which the caller owns;
  // null when there is no image there.
  virtual XVolume* GetImageCopy(UInt32 inTimepoint, UInt32 inChannel) = 0;

  // The generator cached for the timepoint and channel, or an empty pointer:
  // the source makes none itself, and the mode is no part of the key. May be
  // called on any thread.
  virtual std::shared_ptr<XHistogramGenerator> GetHistogramGenerator(UInt32 inTimepoint, UInt32 inChannel,
                                                                     XHistogramMode inMode);
  // Keeps the generator under the timepoint and channel it holds.
  virtual void CacheHistogramGenerator(const std::shared_ptr<XHistogramGenerator>& inGenerator);

  // Guards the generator cache; XHistogramGenerator holds it across a look-up
  // and the caching of a new generator.
  XMutex& GetHistogramGeneratorMutex() const { return itsHistogramGeneratorMutex; }

 protected:
  // Empties the generator cache. A generator keeps its source, and the
  // source's cache keeps the generator, so the two only go once the cache
  // has let go of it: a source that changes its data, or is done with it,
  // calls this (never from a generator's thread).
  void ForgetHistogramGenerators();

 private:
  mutable XMutex itsHistogramGeneratorMutex;
  XMap<UInt32, XMap<UInt32, std::shared_ptr<XHistogramGenerator>>> itsHistogramGenerators;
};

}  // namespace mirelan
