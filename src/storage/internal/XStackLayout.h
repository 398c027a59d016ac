// Where the planes of a multi-page image file belong: the timepoint, z plane
// and channel of each page, read from an ImageJ description or from OME-XML,
// with the voxel size, its unit, the time step and the channel names.
#pragma once

#include <vector>

#include "core/XTypes.h"

namespace mirelan {

struct XPlaneIndex {
  UInt32 itsTimepoint;  // from 0
  UInt32 itsSlice;      // z, from 0
  UInt32 itsChannel;    // from 0; a page of several channel samples holds this one and those after it
};

struct XStackLayout {
  UInt32 itsTimepoints = 1;
  UInt32 itsSlices = 1;
  UInt32 itsChannels = 1;
  // One entry for every plane, pages first; ImageJ may list more planes than
  // the file has pages (large stacks stored behind one page).
  std::vector<XPlaneIndex> itsPlanes;
  // Voxel size; 0 where the file gives none.
  Float64 itsX = 0.0, itsY = 0.0, itsZ = 0.0;
  XString itsUnit;
  Float64 itsTimeInterval = 0.0;  // seconds
  std::vector<XString> itsChannelNames;
  bool itsFromOME = false;
  bool itsFromImageJ = false;
};

// inSampleChannels: the channels one page holds (the samples of a grey page
// with several; 1 for grey and colour pages).

// A plain multi-page file: every page a z plane.
XStackLayout XPlainStackLayout(UInt32 inPages, UInt32 inSampleChannels);

// The ImageJ description ("ImageJ=...\nimages=...\nchannels=..."): planes in
// channel, slice, frame order. inMaxPlanes is the most planes the file can
// hold (ImageJ stores large stacks behind one page); a description that asks
// for more, or does not add up, is read as a plain stack of the pages.
// Returns false when the text is no ImageJ description.
bool XParseImageJDescription(const XString& inText, UInt32 inPages, UInt64 inMaxPlanes, UInt32 inSampleChannels,
                             XStackLayout& outLayout);

// OME-XML of the first image. inSamplesPerPage is the page's samples per
// pixel, which OME counts among the channels. Throws XException 1021 naming
// inFile for what this reader does not follow (planes in other files), 1020
// for broken XML or sizes that do not match the pages. Returns false when the
// text is no OME-XML.
bool XParseOMEXML(const XString& inText, UInt32 inPages, UInt32 inSamplesPerPage, UInt32 inSampleChannels,
                  const XString& inFile, XStackLayout& outLayout);

// The ImageJ description of a stack written in channel, slice, frame order.
XString XFormatImageJDescription(UInt32 inTimepoints, UInt32 inSlices, UInt32 inChannels, const XString& inUnit,
                                 Float64 inSpacing, Float64 inTimeInterval);

// Micrometres per unit of a length unit's name ("nm", "µm", "micron", "mm",
// "cm", "inch"...), 0 for names that are no length.
Float64 XMicrometresPerUnit(const XString& inUnit);

}  // namespace mirelan
