// The simple tools of src/tools as functions on volumes. Each runs with the
// GIL released and reports to an optional progress callback; the ones that
// make a volume return a new one, or the same one with in_place=True.
//
// A new tool family goes in a file of its own beside this one, with its Bind
// function called from module.cpp and its names added to mirelan.pyi.
#include "MirelanPython.h"
#include "tools/XBooleanVolumeTool.h"
#include "tools/XFillVolumeTool.h"
#include "tools/XFlipVolumeTools.h"
#include "tools/XHardLightImageBlendingTool.h"
#include "tools/XImageOffsetTool.h"
#include "tools/XInvertVolumeTool.h"
#include "tools/XPaintVolumeTool.h"
#include "tools/XRatioTool.h"
#include "tools/XRotateVolumeTools.h"
#include "tools/XVolumeArithmeticTool.h"
#include "tools/XYCVolumeTools.h"
#include "volume/XColourVolumes.h"
#include "volume/XFPVolume.h"
#include "volume/XMaskVolume.h"

namespace mirelan::python {

namespace {

// A one-to-one tool, into a new volume or in place.
VolumePtr Apply(X1To1VolumeTool& ioTool, const VolumePtr& inVolume, bool inInPlace, const py::object& inProgress) {
  if (inInPlace) {
    Run(inProgress, [&] { ioTool.ApplyToolInPlace(inVolume->Get()); });
    return inVolume;
  }
  return Adopt(Run(inProgress, [&] { return ioTool.ApplyTool(inVolume->Get()); }));
}

// The volume itself, or a copy that shares its storage until written.
VolumePtr Target(const VolumePtr& inVolume, bool inInPlace) {
  if (inInPlace) return inVolume;
  return Adopt(Run(py::none(), [&] { return inVolume->Get().Clone(); }));
}

void RequireSameSize(const XVolume& inA, const XVolume& inB, const char* inWhat) {
  if (!inA.GetBounds().IsSameSizeAs(inB.GetBounds()))
    throw py::value_error(std::string(inWhat) + " needs volumes of the same shape");
}

XARGB32Colour ColourOf(const py::object& inColour) {
  if (py::isinstance<py::sequence>(inColour)) {
    auto c = inColour.cast<std::vector<SInt32>>();
    for (SInt32 v : c)
      if (v < 0 || v > 255) throw py::value_error("colour channels run from 0 to 255");
    if (c.size() == 3) return XARGB32Colour(UInt8(c[0]), UInt8(c[1]), UInt8(c[2]));
    if (c.size() == 4) return XARGB32Colour(UInt8(c[3]), UInt8(c[0]), UInt8(c[1]), UInt8(c[2]));
    throw py::value_error("a colour is (r, g, b) or (r, g, b, a)");
  }
  SInt32 grey = inColour.cast<SInt32>();
  if (grey < 0 || grey > 255) throw py::value_error("a grey colour runs from 0 to 255");
  return XARGB32Colour(UInt8(grey));
}

// A mask volume, or a region made into a mask of the frame: 255 in the
// region, 0 in the rest of the frame.
std::unique_ptr<XMaskVolume> MaskOf(const py::object& inMask, const X3DRect& inFrame) {
  if (py::isinstance<X3DRegion>(inMask)) {
    const X3DRegion& region = inMask.cast<const X3DRegion&>();
    return Run(py::none(), [&] {
      auto mask = std::make_unique<XMaskVolume>(inFrame);
      mask->Clear();
      XPaintVolumeTool::FillRegion(*mask, region, XARGB32Colour(255, 255, 255, 255));
      return mask;
    });
  }
  const PyVolume& volume = inMask.cast<const PyVolume&>();
  const auto* mask = dynamic_cast<const XMaskVolume*>(&volume.Get());
  if (!mask) throw py::type_error("the mask must be a Region or a volume of pixel type mask");
  return std::unique_ptr<XMaskVolume>(static_cast<XMaskVolume*>(Run(py::none(), [&] { return mask->Clone(); })));
}

const std::pair<const char*, XVolumeArithmeticTool::XOperator> kOperators[] = {
    {"add", XVolumeArithmeticTool::kAdd},
    {"subtract", XVolumeArithmeticTool::kSubtract},
    {"subtract_offset", XVolumeArithmeticTool::kSubtractOffset},
    {"absolute_difference", XVolumeArithmeticTool::kAbsoluteDifference},
    {"multiply", XVolumeArithmeticTool::kMultiply},
    {"divide_by_one_more", XVolumeArithmeticTool::kDivideByOneMore},
    {"minimum", XVolumeArithmeticTool::kMinimum},
    {"maximum", XVolumeArithmeticTool::kMaximum},
};

XVolumeArithmeticTool::XOperator OperatorOf(const std::string& inName) {
  std::string known;
  for (const auto& [name, op] : kOperators) {
    if (inName == name) return op;
    known += std::string(known.empty() ? "" : ", ") + name;
  }
  throw py::value_error("unknown operator '" + inName + "'; the operators are " + known);
}

}  // namespace

void BindTools(py::module_& m) {
  using namespace pybind11::literals;
  const auto none = py::none();

  m.def(
      "invert",
      [](const VolumePtr& v, bool inPlace, const py::object& progress) {
        XInvertVolumeTool tool;
        return Apply(tool, v, inPlace, progress);
      },
      "volume"_a, py::kw_only(), "in_place"_a = false, "progress"_a = none,
      "Inverts grey levels and colours: max - v for the integer types (255 or 65535; alpha kept), and "
      "for float 1 - (v - min) / M, with M the maximum truncated to an integer.");

  m.def(
      "flip",
      [](const VolumePtr& v, const std::string& axis, bool inPlace, const py::object& progress) {
        if (axis == "x") {
          XFlipHVolumeTool tool;
          return Apply(tool, v, inPlace, progress);
        }
        if (axis == "y") {
          XFlipVVolumeTool tool;
          return Apply(tool, v, inPlace, progress);
        }
        throw py::value_error("flip reverses axis 'x' (each row) or 'y' (the rows of each plane)");
      },
      "volume"_a, "axis"_a = "x", py::kw_only(), "in_place"_a = false, "progress"_a = none,
      "Mirrors every plane: axis 'x' reverses each row, 'y' the order of the rows.");

  // A tool object serves one call at a time: each call makes its own.
  auto quarterTurn = [](auto inMakeTool) {
    return [inMakeTool](const VolumePtr& v, bool inPlace, const py::object& progress) {
      // In place needs square planes: a precondition of the tool, so
      // InternalError otherwise.
      if (inPlace) RequireNoViews(*v, "a quarter turn in place");
      auto tool = inMakeTool();
      return Apply(tool, v, inPlace, progress);
    };
  };
  m.def("rotate_cw", quarterTurn([] { return XRotate90CWVolumeTool(); }), "volume"_a, py::kw_only(), "in_place"_a = false,
        "progress"_a = none,
        "Turns every plane a quarter clockwise as displayed (row 0 at the top): the new box swaps width "
        "and height and is centred on the old one. In place only on square planes.");
  m.def("rotate_ccw", quarterTurn([] { return XRotate90CCWVolumeTool(); }), "volume"_a, py::kw_only(), "in_place"_a = false,
        "progress"_a = none, "Turns every plane a quarter counter-clockwise as displayed.");
  m.def(
      "rotate_180",
      [](const VolumePtr& v, bool inPlace, const py::object& progress) {
        XRotate180VolumeTool tool;
        return Apply(tool, v, inPlace, progress);
      },
      "volume"_a, py::kw_only(), "in_place"_a = false, "progress"_a = none, "Turns every plane half round.");

  m.def(
      "offset",
      [](const VolumePtr& v, Float32 amount, bool inPlace, const py::object& progress) {
        XImageOffsetTool tool(amount);
        return Apply(tool, v, inPlace, progress);
      },
      "volume"_a, "amount"_a, py::kw_only(), "in_place"_a = false, "progress"_a = none,
      "Every voxel minus amount (red, green and blue for colour; alpha kept), kept within the pixel "
      "type and truncated.");

  m.def(
      "fill",
      [](PyVolume& v, const py::object& value, const X3DRegion* region) {
        XFillVolumeTool tool;
        if (py::isinstance<py::sequence>(value)) {
          XARGB32Colour colour = ColourOf(value);
          Run(py::none(), [&] { tool.FillRegionColour(v.Get(), region, colour); });
        } else {
          Float64 number = value.cast<Float64>();
          Run(py::none(), [&] { tool.FillRegionValue(v.Get(), region, number); });
        }
      },
      "volume"_a, "value"_a, "region"_a = none,
      "Sets the voxels of the region (all without one) to a value (grey8, mask, grey16, argb32 as an "
      "opaque grey, float; truncated to the type) or, for argb32, a colour (r, g, b[, a]).");

  m.def(
      "paint",
      [](PyVolume& v, const X3DRegion& region, const py::object& colour) {
        XARGB32Colour c = ColourOf(colour);
        Run(py::none(), [&] { XPaintVolumeTool::FillRegion(v.Get(), region, c); });
      },
      "volume"_a, "region"_a, "colour"_a,
      "Paints a colour (r, g, b[, a]) or grey level over the region, converted once to the volume's "
      "pixel type by the conversion rules.");

  m.def(
      "and_mask",
      [](const VolumePtr& v, const py::object& mask, bool inPlace, const py::object& progress) {
        std::unique_ptr<XMaskVolume> m = MaskOf(mask, v->Get().GetBounds());
        VolumePtr dest = Target(v, inPlace);
        Run(progress, [&] { XBooleanVolumeTool::AndVolumes(dest->Get(), *m, dest->Get()); });
        return dest;
      },
      "volume"_a, "mask"_a, py::kw_only(), "in_place"_a = false, "progress"_a = none,
      "Clears the voxels outside a Region, or, for a mask volume, the voxels of the box shared with the "
      "mask where the mask is 0 (voxels outside the mask's box stay).");
  m.def(
      "xor_mask",
      [](const VolumePtr& v, const py::object& mask, bool inPlace, const py::object& progress) {
        std::unique_ptr<XMaskVolume> m = MaskOf(mask, v->Get().GetBounds());
        VolumePtr dest = Target(v, inPlace);
        Run(progress, [&] { XBooleanVolumeTool::XorVolumes(dest->Get(), *m, dest->Get()); });
        return dest;
      },
      "volume"_a, "mask"_a, py::kw_only(), "in_place"_a = false, "progress"_a = none,
      "Flips the bits of each byte by the mask byte (255 in a Region) over the box shared with the mask "
      "(grey8 and mask volumes).");

  m.def(
      "arithmetic",
      [](const VolumePtr& a, const PyVolume& b, const std::string& op, bool inPlace, const py::object& progress) {
        XVolumeArithmeticTool::XOperator code = OperatorOf(op);
        if (XPixelTypeOf(a->Get()) != XPixelTypeOf(b.Get()))
          throw py::type_error("arithmetic needs two volumes of one pixel type");
        RequireSameSize(a->Get(), b.Get(), "arithmetic");
        VolumePtr dest = Target(a, inPlace);
        XVolumeArithmeticTool tool;
        Run(progress, [&] { tool.ApplyTool(dest->Get(), b.Get(), code); });
        return dest;
      },
      "a"_a, "b"_a, "operator"_a, py::kw_only(), "in_place"_a = false, "progress"_a = none,
      R"doc(
a op b voxel by voxel, integer results kept within the type (saturated).
Operators: add, subtract (floored at 0), subtract_offset (a - b + 128, or
32768 for grey16), absolute_difference, multiply, divide_by_one_more
(a / (b + 1)), minimum, maximum. grey8, mask, grey16, argb32 (red, green and
blue; a's alpha kept) and float (plain arithmetic).
)doc");

  m.def(
      "ratio",
      [](const PyVolume& numerator, const PyVolume& denominator, std::pair<Float32, Float32> subtract,
         std::pair<Float32, Float32> thresholds, const py::object& progress) {
        RequireSameSize(numerator.Get(), denominator.Get(), "ratio");
        XRatioTool tool;
        tool.SetBackgroundSubtractionValues(subtract.first, subtract.second);
        tool.SetThresholds(thresholds.first, thresholds.second);
        return Adopt(Run(progress, [&] { return tool.RatioVolumes(numerator.Get(), denominator.Get()); }));
      },
      "numerator"_a, "denominator"_a, py::kw_only(), "subtract"_a = std::make_pair(0.0f, 0.0f),
      "thresholds"_a = std::make_pair(0.0f, 0.0f), "progress"_a = none,
      "The float volume (a - s_a) / (b - s_b) where a - s_a and b - s_b are above their thresholds, "
      "0 elsewhere; grey8, mask, grey16 and float volumes of one pixel type.");

  m.def(
      "hard_light",
      [](const VolumePtr& v, PyVolume& weights, Float64 threshold, bool inPlace, const py::object& progress) {
        auto* w = dynamic_cast<XFPVolume*>(&weights.Get());
        if (!w) throw py::type_error("the weights of hard_light are a float volume");
        XHardLightImageBlendingTool tool(*w, threshold);
        return Apply(tool, v, inPlace, progress);
      },
      "volume"_a, "weights"_a, "threshold"_a, py::kw_only(), "in_place"_a = false, "progress"_a = none,
      "Darkens voxels (each colour channel) below the threshold to w * v, w the float weight at the "
      "same coordinates; only voxels inside the weights' box are visited.");

  m.def(
      "ybarc",
      [](const VolumePtr& v, bool inPlace, const py::object& progress) {
        XYBarCVolumeTool tool;
        return Apply(tool, v, inPlace, progress);
      },
      "volume"_a, py::kw_only(), "in_place"_a = false, "progress"_a = none,
      "The colour-difference transform M - mix(r, g, b) per channel in fixed point (argb32, rgb48).");
  m.def(
      "ycbar",
      [](const VolumePtr& v, bool inPlace, const py::object& progress) {
        XYCBarVolumeTool tool;
        return Apply(tool, v, inPlace, progress);
      },
      "volume"_a, py::kw_only(), "in_place"_a = false, "progress"_a = none,
      "The opposite colour-difference mix, without the M term (argb32, rgb48).");
}

}  // namespace mirelan::python
