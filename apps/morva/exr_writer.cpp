#include "exr_writer.h"

#include <ImfChannelList.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfInputFile.h>
#include <ImfOutputFile.h>
#include <ImfStandardAttributes.h>
#include <ImfStringAttribute.h>

#include <algorithm>
#include <string>

#include "cancel_signal.h"
#include "host_error.h"
#include "setting_in_picture.h"

namespace morva::host {
namespace {

constexpr const char* kChannels[3] = {"R", "G", "B"};
constexpr int kRowsAtOnce = 64;  // between two looks at the cancel flag; four blocks of the packing

Imf::Header header_of(const Picture& picture, const std::string& setting) {
  Imf::Header header(picture.width, picture.height);
  header.compression() = Imf::ZIP_COMPRESSION;
  header.zipCompressionLevel() = 3;  // noise hardly packs better above
  for (const char* name : kChannels) header.channels().insert(name, Imf::Channel(Imf::FLOAT));
  Imf::addChromaticities(header, Imf::Chromaticities());  // the default is Rec. 709 with D65
  if (!setting.empty()) header.insert(kSettingName, Imf::StringAttribute(setting));
  return header;
}

Imf::FrameBuffer frame_buffer_of(const Picture& picture) {
  Imf::FrameBuffer buffer;
  for (int k = 0; k < 3; ++k) {
    // The library takes a pointer to non-const for reading too.
    auto* base = reinterpret_cast<char*>(picture.samples.get() + k);
    buffer.insert(kChannels[k], Imf::Slice(Imf::FLOAT, base, 3 * sizeof(float),
                                           picture.row_samples() * sizeof(float)));
  }
  return buffer;
}

void write_all(const Picture& picture, const std::string& setting,
               const std::filesystem::path& file) {
  {
    Imf::OutputFile out(file.string().c_str(), header_of(picture, setting));
    out.setFrameBuffer(frame_buffer_of(picture));
    for (int y = 0; y < picture.height; y += kRowsAtOnce) {
      check_cancelled();
      out.writePixels(std::min(kRowsAtOnce, picture.height - y));
    }
  }
  // The library closes in silence; a table of rows that is not there tells of a full disk.
  if (!Imf::InputFile(file.string().c_str()).isComplete()) {
    throw HostError(MORVA_FAILED, "cannot write the EXR: the file is not complete");
  }
}

}  // namespace

void write_exr(const Picture& picture, const std::string& setting,
               const std::filesystem::path& file) {
  try {
    write_all(picture, setting, file);
  } catch (const HostError&) {
    throw;
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception& failure) {
    throw HostError(MORVA_FAILED, std::string("cannot write the EXR: ") + failure.what());
  }
}

}  // namespace morva::host
