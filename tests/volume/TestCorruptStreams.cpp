// Damaged streams of every stored class: each single-byte change must end in
// a finished object or an XException, never a crash or a broken precondition.
#include "rendering/XGrey16ImageRenderer.h"
#include "rendering/XIntToColourLUT.h"
#include "volume/X3DRegion.h"
#include "VolumeTestSupport.h"

using namespace mirelan;

using namespace volumetest;

namespace {

class CorruptStream : public VolumeTest {};

// Reads every damaged copy: each byte set to 0x00, to 0xFF and flipped.
void ReadEveryDamagedCopy(const std::vector<UInt8>& inBytes) {
  for (size_t i = 0; i < inBytes.size(); ++i) {
    for (int change = 0; change < 3; ++change) {
      std::vector<UInt8> damaged = inBytes;
      damaged[i] = change == 0 ? 0x00 : change == 1 ? 0xFF : UInt8(~damaged[i]);
      XMemoryStream stream(damaged.data(), damaged.size());
      try {
        std::unique_ptr<XStorable> object(stream.ReadObject());
        // A volume that came through must be usable.
        if (auto* volume = dynamic_cast<XVolume*>(object.get())) volume->CalculateCRC();
      } catch (const XException&) {
      } catch (const XInternalError& e) {
        ADD_FAILURE() << "byte " << i << " change " << change << ": " << e.what();
      }
    }
  }
}

}  // namespace

TEST_F(CorruptStream, VolumesOfEveryClass) {
  X3DRect box(-2, 1, 0, 3, 4, 2);
  std::vector<std::unique_ptr<XVolume>> volumes;
  volumes.push_back(std::make_unique<XGrey8Volume>(box));
  volumes.push_back(std::make_unique<XMaskVolume>(box));
  volumes.push_back(std::make_unique<XGrey16Volume>(box));
  volumes.push_back(std::make_unique<XFPVolume>(box));
  volumes.push_back(std::make_unique<XARGB32Volume>(box));
  volumes.push_back(std::make_unique<XBGRA32Volume>(box));
  volumes.push_back(std::make_unique<XRGB48Volume>(box));
  for (const auto& v : volumes) {
    SCOPED_TRACE(v->GetDescription());
    v->Clear();
    ReadEveryDamagedCopy(WriteToBytes(*v, kBigEndian));
  }
}

TEST_F(CorruptStream, RegionsLookUpTablesAndRenderers) {
  XMaskVolume mask(X3DRect(0, 0, 0, 4, 3, 2));
  FillWith(mask, [](SInt32 x, SInt32 y, SInt32 z) { return UInt8((x + y + z) % 2 ? 255 : 0); });
  ReadEveryDamagedCopy(WriteToBytes(X3DRegion(mask)));
  XIntToColourLUT lut(16);
  ReadEveryDamagedCopy(WriteToBytes(lut));
  ReadEveryDamagedCopy(WriteToBytes(XGrey16ImageRenderer()));
}
