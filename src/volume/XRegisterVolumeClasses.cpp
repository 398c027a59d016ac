#include "volume/XRegisterVolumeClasses.h"

#include "core/XClassRegistry.h"
#include "core/XCoreClasses.h"
#include "core/XException.h"
#include "geometry/X3DRect.h"
#include "geometry/XRect.h"
#include "rendering/XARGB32ImageRenderer.h"
#include "rendering/XFPImageRenderer.h"
#include "rendering/XFloatToColourLUT.h"
#include "rendering/XGrey16ImageRenderer.h"
#include "rendering/XGrey8ImageRenderer.h"
#include "rendering/XIntToColourLUT.h"
#include "rendering/XIntToIntLUT.h"
#include "rendering/XMaskImageRenderer.h"
#include "rendering/XRGB48ImageRenderer.h"
#include "volume/XARGB32Volume.h"
#include "volume/XBGRA32Volume.h"
#include "volume/XFPVolume.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey8Volume.h"
#include "volume/XMaskVolume.h"
#include "volume/X3DRegion.h"
#include "volume/XRGB48Volume.h"

namespace mirelan {

namespace {

template <class C>
void RegisterReaders(const XString& inName) {
  XClassRegistry::RegisterClass(C::GetClassVersion(), C::GetSuperClassVersion(),
                                XStreamConstructorFactory<C>, XVersionedReaderFactory<C>, nullptr,
                                inName);
}

template <class C>
void RegisterVersionedReader(const XString& inName) {
  XClassRegistry::RegisterClass(C::GetClassVersion(), C::GetSuperClassVersion(), nullptr,
                                XVersionedReaderFactory<C>, nullptr, inName);
}

template <class C>
void RegisterDefault() {
  XClassRegistry::RegisterClass(C::GetClassVersion(), C::GetSuperClassVersion(), nullptr, nullptr,
                                XDefaultConstructorFactory<C>, XString());
}

void RegisterStreamClasses() {
  RegisterReaders<XIntToColourLUT>("XIntToColourLUT");
  RegisterReaders<XFloatToColourLUT>("XFloatToColourLUT");
  RegisterReaders<XIntToIntLUT>("XIntToIntLUT");
  RegisterReaders<XRect>("XRect");
  RegisterReaders<XFPVolume>("Floating-point Image");
  RegisterReaders<XMaskVolume>("1-bit Mask Image");
  RegisterReaders<XGrey8Volume>("256 Grays Image");
  RegisterReaders<XGrey16Volume>("16-bit Grayscale Image");
  RegisterReaders<XARGB32Volume>("Millions of Colors Image");
  RegisterReaders<XBGRA32Volume>("Millions of Colors Image");
  RegisterReaders<XRGB48Volume>("48-bit Color Image");
  RegisterReaders<X3DRect>("X3DRect");
  RegisterReaders<X3DRegion>("X3DRegion");
  RegisterReaders<XMaskImageRenderer>("XMaskImageRenderer");
  RegisterReaders<XGrey8ImageRenderer>("XGrey8ImageRenderer");
  RegisterReaders<XGrey16ImageRenderer>("XGrey16ImageRenderer");
  RegisterReaders<XARGB32ImageRenderer>("XARGB32ImageRenderer");
  RegisterReaders<XBGRA32ImageRenderer>("XBGRA32ImageRenderer");
  RegisterReaders<XRGB48ImageRenderer>("XRGB48ImageRenderer");
  RegisterReaders<XFPImageRenderer>("XFPImageRenderer");
}

void RegisterVersionedReaders() { RegisterVersionedReader<XRectF>("XRectF"); }

// The lossy stream tags are read by the plain volume classes.
void RegisterLossyForms() {
  XClassRegistry::RegisterClass(XVersion(12101, 1), XGrey8Volume::GetClassVersion(),
                                XStreamConstructorFactory<XGrey8Volume>,
                                XVersionedReaderFactory<XGrey8Volume>, nullptr,
                                "256 Grays JPEG Image");
  XClassRegistry::RegisterClass(XVersion(12100, 1), XARGB32Volume::GetClassVersion(),
                                XStreamConstructorFactory<XARGB32Volume>,
                                XVersionedReaderFactory<XARGB32Volume>, nullptr,
                                "Millions of Colors JPEG Image");
}

void RegisterDefaults() {
  RegisterDefault<XRect>();
  RegisterDefault<XFPVolume>();
  RegisterDefault<XMaskVolume>();
  RegisterDefault<XGrey8Volume>();
  RegisterDefault<XGrey16Volume>();
  RegisterDefault<XARGB32Volume>();
  RegisterDefault<XBGRA32Volume>();
  RegisterDefault<XRGB48Volume>();
  RegisterDefault<X3DRect>();
  RegisterDefault<X3DRegion>();
  RegisterDefault<X3DRegion>();  // entered twice; harmless
}

// Legacy ids: a stream that names one is read by the current class.
void RegisterAliases() {
  const UInt16 aliases[][2] = {{20, 23}, {101, 520}, {5, 115}, {4, 105}, {3, 106},
                               {1, 108},  {514, 108}, {6, 112}, {2, 107}};
  for (const auto& a : aliases) XClassRegistry::RegisterAlias(a[0], a[1]);
}

void RegisterInheritance() {
  const UInt16 tree[][2] = {{101, 48},    {114, 101},    {102, 114},   {103, 102},  {104, 103},
                            {12001, 48},  {12002, 12001}, {12003, 12002}, {802, 48}, {804, 802},
                            {805, 804},   {20, 48},      {1204, 1200}, {1453, 48},  {1462, 48},
                            {126, 48},    {47, 48},      {5, 47},      {4, 47},     {3, 47},
                            {1, 47},      {6, 47},       {2, 47},      {514, 1},    {515, 4}};
  for (const auto& t : tree) XClassRegistry::RegisterInheritance(t[0], t[1]);
}

}  // namespace

void XRegisterVolumeClasses() {
  XRegisterCoreClasses();
  XException::AddErrorStringToMap(2513, "this tool cannot work in-place");
  RegisterStreamClasses();
  RegisterVersionedReaders();
  RegisterLossyForms();
  RegisterDefaults();
  RegisterAliases();
  RegisterInheritance();
}

}  // namespace mirelan
