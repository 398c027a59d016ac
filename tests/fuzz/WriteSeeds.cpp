// Writes the seed corpus of the object reader: one file for each stored form
// the library makes or reads, in both byte orders. Usage: fuzz_write_seeds <folder>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "core/XMemoryHandle.h"
#include "core/XStream.h"
#include "data/X3DHierarchicalPolyLine.h"
#include "data/X3DPolyLine.h"
#include "data/X3DSelectedPoint.h"
#include "data/X4DTrack.h"
#include "data/XCuboidROI.h"
#include "data/XEllipseROI.h"
#include "data/XIrregularROI.h"
#include "data/XPolygonROI.h"
#include "data/XROICollection.h"
#include "geometry/X3DRect.h"
#include "geometry/XRect.h"
#include "rendering/XARGB32ImageRenderer.h"
#include "rendering/XFPImageRenderer.h"
#include "rendering/XFloatToColourLUT.h"
#include "rendering/XGrey16ImageRenderer.h"
#include "rendering/XGrey8ImageRenderer.h"
#include "rendering/XIntToIntLUT.h"
#include "rendering/XMaskImageRenderer.h"
#include "rendering/XRGB48ImageRenderer.h"
#include "volume/X3DRegion.h"
#include "volume/XColourVolumes.h"
#include "volume/XFPVolume.h"
#include "volume/XGrey16Volume.h"
#include "volume/XMaskVolume.h"
#include "storage/XRegisterImagingClasses.h"

using namespace mirelan;

namespace {

std::string sFolder;

void Save(const std::string& inName, UInt8 inControl, const std::vector<UInt8>& inStream) {
  std::string path = sFolder + "/" + inName;
  std::FILE* file = std::fopen(path.c_str(), "wb");
  if (!file) {
    std::perror(path.c_str());
    std::exit(1);
  }
  std::fputc(inControl, file);
  std::fwrite(inStream.data(), 1, inStream.size(), file);
  std::fclose(file);
}

// The object in both byte orders.
void SaveObject(const std::string& inName, const XStorable& inObject) {
  for (XByteOrder order : {kLittleEndian, kBigEndian}) {
    XMemoryStream stream(order);
    stream.WriteObject(inObject);
    Save(inName + (order == kBigEndian ? "_be" : "_le"), order == kBigEndian ? 1 : 0, stream.GetBytes());
  }
}

// Hand-made little-endian bytes, for forms the library reads but never writes.
struct Bytes {
  std::vector<UInt8> itsBytes;
  Bytes& U8(UInt8 v) {
    itsBytes.push_back(v);
    return *this;
  }
  Bytes& U32(UInt32 v) {
    for (int i = 0; i < 4; ++i) itsBytes.push_back(UInt8(v >> (8 * i)));
    return *this;
  }
  Bytes& U64(UInt64 v) { return U32(UInt32(v)).U32(UInt32(v >> 32)); }
  Bytes& Handle(const std::vector<UInt8>& inData) {
    U32(33).U32(33).U64(inData.size()).U32(0);
    itsBytes.insert(itsBytes.end(), inData.begin(), inData.end());
    return *this;
  }
};

template <class V>
void SaveVolume(const std::string& inName, std::function<typename V::Voxel(SInt32)> inValue) {
  V volume(X3DRect(-2, 1, 3, 2, 4, 5));
  volume.SetZCalibration(2.5);
  {
    XLock lock(volume, kLockWrite);
    typename V::Voxel* voxel = volume.GetBaseVoxelPtr();
    for (UInt64 i = 0; i < volume.GetVolumeVoxels(); ++i) voxel[i] = inValue(SInt32(i));
  }
  SaveObject(inName, volume);
}

void SaveVolumes() {
  SaveVolume<XGrey8Volume>("grey8", [](SInt32 i) { return UInt8(i * 7); });
  SaveVolume<XMaskVolume>("mask", [](SInt32 i) { return UInt8(i % 3 ? 255 : 0); });
  SaveVolume<XGrey16Volume>("grey16", [](SInt32 i) { return UInt16(i * 1021); });
  SaveVolume<XFPVolume>("float", [](SInt32 i) { return Float32(i) / 3.0f; });
  SaveVolume<XARGB32Volume>("argb32", [](SInt32 i) { return XARGB32Colour(255, UInt8(i), UInt8(2 * i), 9); });
  SaveVolume<XBGRA32Volume>("bgra32", [](SInt32 i) { return XBGRA32Colour(UInt8(i), 3, 4, 255); });
  SaveVolume<XRGB48Volume>("rgb48", [](SInt32 i) { return XRGB48Colour(UInt16(i), 600, 7000); });
  // A block kept compressed on the stream.
  XGrey8Volume packed(40, 30, 2);
  packed.Clear();
  XMemoryHandle storage = packed.GetStorage();
  storage.SetCompressionType(kZlibCompressed);
  packed.SetStorage(storage);
  SaveObject("grey8_zlib", packed);
}

void SaveRegions() {
  SaveObject("region_simple", X3DRegion(X3DRect(1, 2, 3, 9, 8, 7)));
  XMaskVolume mask(X3DRect(0, 0, 0, 5, 4, 2));
  {
    XLock lock(mask, kLockWrite);
    UInt8* voxel = mask.GetBaseVoxelPtr();
    for (UInt64 i = 0; i < mask.GetVolumeVoxels(); ++i) voxel[i] = i % 4 == 1 ? 0 : 255;
  }
  SaveObject("region_complex", X3DRegion(mask));
}

void SaveTablesAndRenderers() {
  XIntToColourLUT colours(16);
  colours.MakeDefaultLUT();
  SaveObject("lut_colour", colours);
  SaveObject("lut_float", XFloatToColourLUT(-1.0, 4.0));
  SaveObject("lut_int", XIntToIntLUT::GetStandardLUT(8));
  SaveObject("renderer_grey8", XGrey8ImageRenderer());
  SaveObject("renderer_mask", XMaskImageRenderer());
  SaveObject("renderer_grey16", XGrey16ImageRenderer());
  SaveObject("renderer_float", XFPImageRenderer());
  SaveObject("renderer_argb32", XARGB32ImageRenderer());
  SaveObject("renderer_bgra32", XBGRA32ImageRenderer());
  SaveObject("renderer_rgb48", XRGB48ImageRenderer());
  SaveObject("rect", XRect(1, 2, 30, 40));
  SaveObject("rectf", XRectF(0.5f, 1.5f, 9.0f, 7.25f));
  SaveObject("box", X3DRect(-1, -2, -3, 4, 5, 6));
}

// Older forms: legacy images, the lossy frame with nothing coded, a version 0 region.
void SaveOlderForms() {
  Bytes grey;
  grey.U32(4).U32(0).U32(0).U32(2).U32(3).U8(1).Handle({1, 2, 3, 4, 5, 6});
  Save("legacy_grey8", 0, grey.itsBytes);
  Bytes mask;
  mask.U32(5).U32(0).U32(0).U32(2).U32(3).U8(1).Handle({0, 0xFF, 0, 0xAA, 0xFF, 0xFF, 0, 0xAA});
  Save("legacy_mask", 0, mask.itsBytes);
  Bytes blank;
  blank.U32(1).U32(0).U32(0).U32(4).U32(4).U8(0);
  Save("legacy_colour_blank", 0, blank.itsBytes);
  Bytes lossy;
  lossy.U32(XVersion(12101, 1).GetValue()).U32(0).U32(4).U32(4).U32(0).U32(0).U32(0);
  for (int i = 0; i < 6; ++i) lossy.U32(0);  // three doubles of 0
  lossy.U32(4);
  Save("lossy_grey_empty", 0, lossy.itsBytes);
  Bytes region0;
  region0.U32(109).U32(109).U32(100).U32(100).U32(0).U32(2).U32(0).U32(3).U32(0).U32(1).U8(1);
  region0.U32(4).U32(0).U32(0).U32(3).U32(2).U8(1).Handle({255, 0, 255, 0, 255, 0});
  Save("region_version0", 0, region0.itsBytes);
  XMemoryHandle handle(24);
  handle.Clear(5);
  SaveObject("handle", handle);
}


// Polylines, tracks, selected points, each kind of ROI and a collection;
// older forms of the polyline and the ROI block by hand.
void SaveAnnotations() {
  X3DPolyLine line;
  line.AppendNode(X3DPoint(1, 2, 0));
  line.AppendNode(X3DPoint(5, -3, 1));
  line.AddNode(X3DPoint(7, 7, 2), 1);
  line.SetPopulationID(4);
  SaveObject("polyline", line);
  SaveObject("polyline_float", X3DPolyLineF(line));
  X4DTrack track(3);
  track.AppendNode(X3DPointF(0.5f, 1.5f, 2.0f));
  track.AppendNode(X3DPointF(2.5f, 1.0f, 2.0f));
  SaveObject("track", track);
  X3DHierarchicalPolyLine tree;
  tree.AddNode(X3DPointF(0, 0, 0), 3.0f, 0, -1, 0);
  tree.AddNode(X3DPointF(4, 1, 0), 2.0f, 1, 0, 1);
  tree.AddNode(X3DPointF(4, 5, 1), 1.5f, 2, 1, 2);
  SaveObject("polyline_tree", tree);
  SaveObject("selected_point", X3DSelectedPoint(3, 4, 5));

  XMaskVolume mask(X3DRect(0, 0, 0, 4, 3, 1));
  {
    XLock lock(mask, kLockWrite);
    UInt8* voxel = mask.GetBaseVoxelPtr();
    for (UInt64 i = 0; i < mask.GetVolumeVoxels(); ++i) voxel[i] = i % 3 ? 255 : 0;
  }
  SaveObject("roi_cuboid", XCuboidROI(X3DRect(1, 1, 0, 5, 4, 2)));
  SaveObject("roi_ellipse", XEllipseROI(X3DRect(0, 0, 0, 7, 5, 2), kXZPlane));
  SaveObject("roi_polygon", XPolygonROI(line, X3DRegion(mask)));
  SaveObject("roi_irregular", XIrregularROI(X3DRegion(mask)));
  XROICollection rois;
  rois.AddROI(XCuboidROI(X3DRect(0, 0, 0, 2, 2, 1)));
  rois.AddROI(XIrregularROI(X3DRegion(mask)));
  SaveObject("roi_collection", rois);

  Bytes chain;  // polyline version 0: three chained nodes, a colour
  chain.U32(110).U32(110).U32(3).U32(1).U32(2).U32(3).U32(4).U32(5).U32(6).U32(7).U32(8).U32(9);
  chain.U8(10).U8(20).U8(30).U8(255);
  Save("polyline_version0", 0, chain.itsBytes);
  XMemoryStream roi0(kLittleEndian);  // an irregular ROI whose block is version 0
  roi0.Write32(128);
  roi0.Write32(126);
  roi0.WriteObject(X3DRegion(mask));
  roi0.Write32(128);
  Save("roi_version0", 0, roi0.GetBytes());
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: fuzz_write_seeds <folder>\n");
    return 2;
  }
  sFolder = argv[1];
  XRegisterImagingClasses();
  SaveVolumes();
  SaveRegions();
  SaveTablesAndRenderers();
  SaveOlderForms();
  SaveAnnotations();
  return 0;
}
