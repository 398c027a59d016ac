// mirelan render: a PNG of one plane or the maximum projection.
#include <cstdio>
#include <memory>
#include <string>

#include "CliSupport.h"
#include "Render.h"
#include "storage/XPNGCodec.h"

namespace mirelan::cli {

namespace {

struct XRenderCommand {
  std::string itsInput;
  std::string itsOutput;
  XRenderOptions itsOptions;
  SInt64 itsPlane = -1;
};

void Render(XRenderCommand& ioCommand) {
  if (XStackFile::KindOfName(XFileSpec(ioCommand.itsOutput)) != XStackFileKind::kPNG)
    throw XException(kErrUnsupportedImage, ioCommand.itsOutput + ": renderings are written as .png files");
  if (ioCommand.itsPlane >= 0) ioCommand.itsOptions.itsPlane = UInt32(ioCommand.itsPlane);
  const XImageStack stack = ReadStack(ioCommand.itsInput);
  std::vector<XChannelLevels> levels;
  std::unique_ptr<XARGB32Volume> picture = RenderStack(stack, ioCommand.itsOptions, &levels);
  XPNGCodec::Write(*picture, 0, XFileSpec(ioCommand.itsOutput));
  for (const XChannelLevels& l : levels)
    std::printf("channel %u: black %g, white %g, %s\n", l.itsChannel, l.itsBlack, l.itsWhite, l.itsColour.c_str());
}

}  // namespace

void AddRenderCommand(CLI::App& ioApp) {
  CLI::App* command = ioApp.add_subcommand(
      "render", "Draw one XY plane, or the maximum projection along z, as a PNG: each channel mapped from its black "
                "to its white level with a gamma onto its colour, the channels added up.");
  auto c = std::make_shared<XRenderCommand>();
  command->add_option("input", c->itsInput, "the stack to read (TIFF, .mis or PNG)")->required();
  command->add_option("output", c->itsOutput, "the PNG to write")->required();
  auto* plane = command->add_option("-z,--plane", c->itsPlane, "the plane to draw, from 0 (default: the middle one)");
  command->add_flag("-m,--mip", c->itsOptions.itsMaximumProjection, "draw the maximum along z")->excludes(plane);
  command->add_option("-t,--timepoint", c->itsOptions.itsTimepoint, "the timepoint, from 1")->capture_default_str();
  command->add_option("-c,--channels", c->itsOptions.itsChannels, "channels to show, from 1 (default: all)")
      ->delimiter(',');
  command->add_option("-b,--black", c->itsOptions.itsBlack,
                      "black level, one for all channels or one each (default: 0.05 % of the values lie below)")
      ->delimiter(',');
  command->add_option("-w,--white", c->itsOptions.itsWhite,
                      "white level, one for all channels or one each (default: 99.95 % of the values lie below)")
      ->delimiter(',');
  command->add_option("-g,--gamma", c->itsOptions.itsGamma, "levels are raised to this power")
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  command->add_option("--colours,--colors", c->itsOptions.itsColours,
                      "one colour per channel: grey, red, green, blue, cyan, magenta, yellow or #RRGGBB "
                      "(default: grey for one channel, green and magenta for two, red, green, blue...)")
      ->delimiter(',');
  command->callback([c] { Render(*c); });
}

}  // namespace mirelan::cli
