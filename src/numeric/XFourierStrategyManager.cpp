#include "numeric/XFourierStrategyManager.h"

#include <memory>

#include "core/XException.h"
#include "numeric/X3DFFTW3Strategy.h"

namespace mirelan {

XFourierStrategyManager* XFourierStrategyManager::sManager = nullptr;

XFourierStrategyManager::XFourierStrategyManager() {
  XAssert(sManager == nullptr);
  auto single = std::make_unique<X3DFFTW3Strategy>("FFTW31", false);
  fftwStrategyMT = new X3DFFTW3MTStrategy;
  fftwStrategy = single.release();
  sManager = this;
}

XFourierStrategyManager::~XFourierStrategyManager() {
  delete fftwStrategy;
  delete fftwStrategyMT;
  sManager = nullptr;
}

XFourierStrategy& XFourierStrategyManager::GetFFTStrategy(const X3DRect&) {
  XAssert(sManager);
  XAssert(sManager->fftwStrategy);
  return *sManager->fftwStrategy;
}

XFourierStrategy& XFourierStrategyManager::GetFFTStrategyMT(const X3DRect&) {
  XAssert(sManager);
  XAssert(sManager->fftwStrategyMT);
  return *sManager->fftwStrategyMT;
}

}  // namespace mirelan
