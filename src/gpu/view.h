// A picture on its way to a screen: the GPU places, zooms and turns it and packs it as a display
// takes it. A view works beside renders on a queue of its own and waits for each of its jobs, so
// that nothing is in flight between two calls. Threads: any; calls wait for each other.
//
// Errors: as the device's, with "DX12 view: ...". What fails leaves the view as it was, but that a
// picture which could not be sent whole is gone. A view of a lost device throws GpuLost from every
// call.
#pragma once

#include <cstdint>
#include <memory>

#include "gpu/device.h"

namespace morva::gpu {

struct ViewState;

class View {
 public:
  // An output of 8 x 8 pixels without a picture. `device` may go before its view; until then it may
  // be rendering. There are no swap chains here: asking for one fails.
  View(Device& device, bool with_swap_chain);
  ~View();
  View(const View&) = delete;
  View& operator=(const View&) = delete;

  // Linear light, width * height * 3 floats, free when the call returns. Null, or a side below 1:
  // no picture.
  void set_image(const float* rgb, std::int32_t width, std::int32_t height);

  // The output in pixels, at least 1 each way. Of another size than before it is transparent black
  // until it is drawn.
  void resize(std::int32_t width, std::int32_t height);

  // Draws the picture `scale` times its size (1 for anything not above 0), its upper left corner at
  // x, y of the output, in pixels, before it is turned about its centre, clockwise. Numbers that
  // are not finite count as absent. What it leaves free is `background`, 0xRRGGBB.
  void draw(float scale, float x, float y, float angle_deg, std::uint32_t background);

  // The last drawing: rows of R, G, B, A bytes. Room for fewer bytes: std::invalid_argument.
  void readback(void* to, std::int64_t room_bytes);

 private:
  std::unique_ptr<ViewState> state_;
};

}  // namespace morva::gpu
