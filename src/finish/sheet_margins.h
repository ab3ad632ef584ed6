// What a card or a sheet shows around its picture.
#pragma once

namespace morva {

struct SheetMargins {
  int top = 0, bottom = 0, left = 0, right = 0;  // pixels
};

}  // namespace morva
