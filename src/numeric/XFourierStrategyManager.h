// The process's Fourier strategies. The host makes one manager at start,
// before any XFourierVolume exists, and destroys it at the end (which stores
// FFTW's wisdom for the next run).
#pragma once

#include "core/XExport.h"
#include "geometry/X3DRect.h"

namespace mirelan {

class XFourierStrategy;
class X3DFFTW3Strategy;
class X3DFFTW3MTStrategy;

class MIRELAN_EXPORT XFourierStrategyManager {
 public:
  // Precondition: no other manager exists. Makes the single-threaded
  // strategy first, so that it reads the stored wisdom.
  XFourierStrategyManager();
  // Destroys the single-threaded strategy first, so that it writes the wisdom.
  ~XFourierStrategyManager();
  XFourierStrategyManager(const XFourierStrategyManager&) = delete;
  XFourierStrategyManager& operator=(const XFourierStrategyManager&) = delete;

  // The strategies; the rectangle is not used. Precondition: a manager exists.
  static XFourierStrategy& GetFFTStrategy(const X3DRect& inRect);
  static XFourierStrategy& GetFFTStrategyMT(const X3DRect& inRect);
  static XFourierStrategyManager* GetManager() { return sManager; }

 private:
  X3DFFTW3Strategy* fftwStrategy;
  X3DFFTW3MTStrategy* fftwStrategyMT;

  static XFourierStrategyManager* sManager;
};

}  // namespace mirelan
