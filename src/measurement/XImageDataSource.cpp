#include "measurement/XImageDataSource.h"

#include "measurement/XHistogramGenerator.h"

namespace mirelan {

XImageDataSource::XImageDataSource() : itsHistogramGeneratorMutex(4000, false) {}

XImageDataSource::XImageDataSource(const XImageDataSource& inOther)
    : XSpeaker(inOther), itsHistogramGeneratorMutex(4000, false) {
  XThreadLock lock(inOther.itsHistogramGeneratorMutex);
  itsHistogramGenerators = inOther.itsHistogramGenerators;
}

XImageDataSource::~XImageDataSource() = default;

std::shared_ptr<XHistogramGenerator> XImageDataSource::GetHistogramGenerator(UInt32 inTimepoint, UInt32 inChannel,
                                                                             XHistogramMode) {
  XThreadLock lock(itsHistogramGeneratorMutex);
  return itsHistogramGenerators[inTimepoint][inChannel];
}

void XImageDataSource::CacheHistogramGenerator(const std::shared_ptr<XHistogramGenerator>& inGenerator) {
  XAssert(inGenerator);
  XThreadLock lock(itsHistogramGeneratorMutex);
  itsHistogramGenerators[inGenerator->GetTimepoint()][inGenerator->GetChannel()] = inGenerator;
}

void XImageDataSource::ForgetHistogramGenerators() {
  XMap<UInt32, XMap<UInt32, std::shared_ptr<XHistogramGenerator>>> generators;  // let go outside the lock
  XThreadLock lock(itsHistogramGeneratorMutex);
  generators.swap(itsHistogramGenerators);
}

}  // namespace mirelan
