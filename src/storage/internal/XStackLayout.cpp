#include "storage/internal/XStackLayout.h"

#include <pugixml.hpp>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <map>
#include <sstream>

#include "core/XException.h"

namespace mirelan {

namespace {

constexpr const char* kMicro = "\xC2\xB5m";  // µm in UTF-8

// The common spellings of one unit become one name.
XString NormalisedUnit(XString inUnit) {
  const std::string escaped = "\\u00B5";
  for (size_t at; (at = inUnit.find(escaped)) != XString::npos;) inUnit.replace(at, escaped.size(), "\xC2\xB5");
  if (inUnit == "micron" || inUnit == "microns" || inUnit == "um" || inUnit == "\xCE\xBCm" || inUnit == kMicro)
    return kMicro;
  return inUnit;
}

bool ParseNumber(const XString& inText, Float64& outValue) {
  if (inText.empty()) return false;
  char* end = nullptr;
  Float64 value = std::strtod(inText.c_str(), &end);
  if (end == inText.c_str() || !std::isfinite(value)) return false;
  outValue = value;
  return true;
}

UInt32 ParseCount(const XString& inText) {
  Float64 value = 0;
  if (!ParseNumber(inText, value) || value < 1 || value > 0x7FFFFFFF) return 1;
  return UInt32(value);
}

void AddPlanesInOrder(XStackLayout& ioLayout, UInt32 inPlanes, UInt32 inSampleChannels) {
  // Channels vary fastest, then slices, then timepoints.
  const UInt32 channelPlanes = ioLayout.itsChannels / inSampleChannels;
  for (UInt32 i = 0; i < inPlanes; ++i) {
    UInt32 c = i % channelPlanes, z = (i / channelPlanes) % ioLayout.itsSlices,
           t = i / (channelPlanes * ioLayout.itsSlices);
    ioLayout.itsPlanes.push_back({t, z, c * inSampleChannels});
  }
}

}  // namespace

Float64 XMicrometresPerUnit(const XString& inUnit) {
  static const std::map<XString, Float64> kUnits = {
      {"pm", 1e-6}, {"nm", 1e-3}, {kMicro, 1.0},   {"mm", 1e3},     {"cm", 1e4},
      {"m", 1e6},   {"inch", 25400.0}, {"in", 25400.0}, {"\xC3\x85", 1e-4}};  // Å
  auto it = kUnits.find(NormalisedUnit(inUnit));
  return it == kUnits.end() ? 0.0 : it->second;
}

XStackLayout XPlainStackLayout(UInt32 inPages, UInt32 inSampleChannels) {
  XStackLayout layout;
  layout.itsSlices = inPages;
  layout.itsChannels = inSampleChannels;
  AddPlanesInOrder(layout, inPages, inSampleChannels);
  return layout;
}

bool XParseImageJDescription(const XString& inText, UInt32 inPages, UInt64 inMaxPlanes, UInt32 inSampleChannels,
                             XStackLayout& outLayout) {
  if (inText.compare(0, 7, "ImageJ=") != 0) return false;
  std::map<XString, XString> values;
  std::istringstream lines(inText);
  for (XString line; std::getline(lines, line);) {
    size_t equals = line.find('=');
    if (equals != XString::npos) values[line.substr(0, equals)] = line.substr(equals + 1);
  }
  XStackLayout layout;
  layout.itsFromImageJ = true;
  UInt32 images = values.count("images") ? ParseCount(values["images"]) : inPages;
  UInt32 channels = values.count("channels") ? ParseCount(values["channels"]) : 1;
  UInt32 slices = values.count("slices") ? ParseCount(values["slices"]) : 1;
  UInt32 frames = values.count("frames") ? ParseCount(values["frames"]) : 1;
  if (images > inMaxPlanes || images < inPages) images = inPages;
  // A description that does not add up is taken as a plain stack of its images.
  if (UInt64(channels) * slices * frames != images) {
    channels = 1;
    frames = 1;
    slices = images;
  }
  layout.itsChannels = channels * inSampleChannels;
  layout.itsSlices = slices;
  layout.itsTimepoints = frames;
  AddPlanesInOrder(layout, images, inSampleChannels);
  if (values.count("unit")) layout.itsUnit = NormalisedUnit(values["unit"]);
  ParseNumber(values["spacing"], layout.itsZ);
  ParseNumber(values["finterval"], layout.itsTimeInterval);
  outLayout = std::move(layout);
  return true;
}

namespace {

// An element's name without its namespace prefix.
const char* LocalName(const pugi::xml_node& inNode) {
  const char* name = inNode.name();
  const char* colon = std::strrchr(name, ':');
  return colon ? colon + 1 : name;
}

pugi::xml_node Child(const pugi::xml_node& inNode, const char* inName) {
  for (pugi::xml_node child : inNode.children())
    if (!std::strcmp(LocalName(child), inName)) return child;
  return pugi::xml_node();
}

// A physical size in µm, or in its own unit when that is no length this
// reader knows (then outUnit says which).
Float64 PhysicalSize(const pugi::xml_node& inPixels, const char* inAxis, XString& ioUnit) {
  XString name = XString("PhysicalSize") + inAxis;
  Float64 value = 0;
  if (!ParseNumber(inPixels.attribute(name.c_str()).as_string(), value)) return 0.0;
  XString unit = inPixels.attribute((name + "Unit").c_str()).as_string(kMicro);
  Float64 scale = XMicrometresPerUnit(unit);
  if (scale == 0.0) {
    ioUnit = NormalisedUnit(unit);
    return value;
  }
  return value * scale;
}

Float64 Seconds(const pugi::xml_node& inPixels) {
  Float64 value = 0;
  if (!ParseNumber(inPixels.attribute("TimeIncrement").as_string(), value)) return 0.0;
  XString unit = inPixels.attribute("TimeIncrementUnit").as_string("s");
  if (unit == "ms") return value * 1e-3;
  if (unit == "\xC2\xB5s" || unit == "us") return value * 1e-6;
  if (unit == "min") return value * 60.0;
  if (unit == "h") return value * 3600.0;
  return value;
}

// The plane index of (z, c, t) in a dimension order such as "XYZCT".
struct XDimensionOrder {
  UInt32 itsSizes[3];  // of the three axes from fastest to slowest
  int itsAxis[3];      // 0 z, 1 c, 2 t

  XDimensionOrder(const XString& inOrder, UInt32 inZ, UInt32 inC, UInt32 inT) {
    static const char* kOrders[] = {"XYZCT", "XYZTC", "XYCZT", "XYCTZ", "XYTZC", "XYTCZ"};
    XString order = "XYZCT";
    for (const char* known : kOrders)
      if (inOrder == known) order = known;
    const UInt32 sizes[3] = {inZ, inC, inT};
    for (int i = 0; i < 3; ++i) {
      char letter = order[2 + i];
      itsAxis[i] = letter == 'Z' ? 0 : letter == 'C' ? 1 : 2;
      itsSizes[i] = sizes[itsAxis[i]];
    }
  }

  UInt64 IndexOf(const UInt32 inZCT[3]) const {
    return inZCT[itsAxis[0]] + UInt64(itsSizes[0]) * (inZCT[itsAxis[1]] + UInt64(itsSizes[1]) * inZCT[itsAxis[2]]);
  }

  void ZCTOf(UInt64 inIndex, UInt32 outZCT[3]) const {
    outZCT[itsAxis[0]] = UInt32(inIndex % itsSizes[0]);
    outZCT[itsAxis[1]] = UInt32((inIndex / itsSizes[0]) % itsSizes[1]);
    outZCT[itsAxis[2]] = UInt32(inIndex / (UInt64(itsSizes[0]) * itsSizes[1]));
  }
};

}  // namespace

bool XParseOMEXML(const XString& inText, UInt32 inPages, UInt32 inSamplesPerPage, UInt32 inSampleChannels,
                  const XString& inFile, XStackLayout& outLayout) {
  if (inText.find("<OME") == XString::npos && inText.find(":OME") == XString::npos) return false;
  pugi::xml_document document;
  if (!document.load_buffer(inText.data(), inText.size()))
    throw XException(kErrBadImageFile, inFile + ": its OME-XML cannot be parsed");
  pugi::xml_node ome = document.first_child();
  while (ome && std::strcmp(LocalName(ome), "OME") != 0) ome = ome.next_sibling();
  pugi::xml_node pixels = Child(Child(ome, "Image"), "Pixels");
  if (!pixels) throw XException(kErrBadImageFile, inFile + ": its OME-XML has no image");

  const UInt32 sizeZ = ParseCount(pixels.attribute("SizeZ").as_string("1"));
  const UInt32 sizeC = ParseCount(pixels.attribute("SizeC").as_string("1"));
  const UInt32 sizeT = ParseCount(pixels.attribute("SizeT").as_string("1"));
  // OME counts each sample of a page as a channel.
  if (sizeC % inSamplesPerPage) throw XException(kErrBadImageFile, inFile + ": OME channels and samples disagree");
  const UInt32 planesC = sizeC / inSamplesPerPage;
  const UInt64 planeCount = UInt64(sizeZ) * planesC * sizeT;
  if (planeCount > inPages) throw XException(kErrBadImageFile, inFile + ": OME-XML names more planes than the file has");
  const XDimensionOrder order(pixels.attribute("DimensionOrder").as_string("XYZCT"), sizeZ, planesC, sizeT);

  XStackLayout layout;
  layout.itsFromOME = true;
  layout.itsSlices = sizeZ;
  layout.itsTimepoints = sizeT;
  layout.itsChannels = planesC * inSampleChannels;
  // Page i holds plane pageToPlane[i]; without TiffData the pages follow the order.
  std::vector<UInt64> pageToPlane(planeCount);
  for (UInt64 i = 0; i < planeCount; ++i) pageToPlane[i] = i;
  bool first = true;
  for (pugi::xml_node data : pixels.children()) {
    if (std::strcmp(LocalName(data), "TiffData") != 0) continue;
    if (pugi::xml_node uuid = Child(data, "UUID")) {
      XString name = uuid.attribute("FileName").as_string();
      XString own = inFile.substr(inFile.find_last_of('/') + 1);
      if (!name.empty() && name != own)
        throw XException(kErrUnsupportedImage, inFile + ": its planes are spread over several files");
    }
    const bool hasIFD = !data.attribute("IFD").empty();
    UInt64 ifd = data.attribute("IFD").as_ullong(0);
    const UInt32 zct[3] = {data.attribute("FirstZ").as_uint(0), data.attribute("FirstC").as_uint(0),
                           data.attribute("FirstT").as_uint(0)};
    UInt64 start = order.IndexOf(zct);
    UInt64 count = data.attribute("PlaneCount").as_ullong(hasIFD ? 1 : planeCount);
    if (first) std::fill(pageToPlane.begin(), pageToPlane.end(), ~UInt64(0));
    first = false;
    for (UInt64 k = 0; k < count && ifd + k < planeCount && start + k < planeCount; ++k)
      pageToPlane[ifd + k] = start + k;
  }
  for (UInt64 page = 0; page < planeCount; ++page) {
    if (pageToPlane[page] == ~UInt64(0)) throw XException(kErrBadImageFile, inFile + ": OME-XML leaves a page unplaced");
    UInt32 zct[3];
    order.ZCTOf(pageToPlane[page], zct);
    layout.itsPlanes.push_back({zct[2], zct[0], zct[1] * inSampleChannels});
  }

  layout.itsX = PhysicalSize(pixels, "X", layout.itsUnit);
  layout.itsY = PhysicalSize(pixels, "Y", layout.itsUnit);
  layout.itsZ = PhysicalSize(pixels, "Z", layout.itsUnit);
  if (layout.itsUnit.empty() && (layout.itsX > 0 || layout.itsY > 0 || layout.itsZ > 0)) layout.itsUnit = kMicro;
  layout.itsTimeInterval = Seconds(pixels);
  for (pugi::xml_node channel : pixels.children())
    if (!std::strcmp(LocalName(channel), "Channel")) layout.itsChannelNames.push_back(channel.attribute("Name").as_string());
  outLayout = std::move(layout);
  return true;
}

XString XFormatImageJDescription(UInt32 inTimepoints, UInt32 inSlices, UInt32 inChannels, const XString& inUnit,
                                 Float64 inSpacing, Float64 inTimeInterval) {
  std::ostringstream text;
  text.precision(17);
  text << "ImageJ=1.11a\nimages=" << UInt64(inTimepoints) * inSlices * inChannels << "\n";
  if (inChannels > 1) text << "channels=" << inChannels << "\n";
  if (inSlices > 1) text << "slices=" << inSlices << "\n";
  if (inTimepoints > 1) text << "frames=" << inTimepoints << "\n";
  if ((inChannels > 1) + (inSlices > 1) + (inTimepoints > 1) > 1) text << "hyperstack=true\n";
  if (inChannels > 1) text << "mode=composite\n";
  if (!inUnit.empty() && inUnit != "pixel") text << "unit=" << (NormalisedUnit(inUnit) == kMicro ? "micron" : inUnit) << "\n";
  if (inSlices > 1 && inSpacing > 0) text << "spacing=" << inSpacing << "\n";
  if (inTimepoints > 1 && inTimeInterval > 0) text << "finterval=" << inTimeInterval << "\n";
  text << "loop=false\n";
  return text.str();
}

}  // namespace mirelan
