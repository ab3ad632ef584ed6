#include "demo_scene.h"

#include "scene/canvas.h"
#include "scene/lamps.h"
#include "scene/room.h"
#include "scene/sitters.h"
#include "scene/still_life.h"
#include "scene/test_cards.h"

namespace morva::host {

Picture paint_demo_scene() {
  using namespace scene;
  Picture canvas = new_picture(kWidth, kHeight);
  // From the wall towards the viewer.
  paint_wall(canvas);
  paint_window(canvas);
  paint_curtain(canvas);
  paint_bookshelf(canvas);
  paint_string_of_lights(canvas);
  paint_bare_bulb(canvas);
  paint_sitters(canvas);
  paint_table(canvas);
  paint_table_lamp(canvas);
  paint_plant(canvas);
  paint_vase(canvas);
  paint_colour_card(canvas);
  paint_line_card(canvas);
  paint_fruit(canvas);
  paint_cloth(canvas);
  paint_black_ball(canvas);
  return canvas;
}

PixelSize demo_scene_size() {
  return {scene::kWidth, scene::kHeight};
}

}  // namespace morva::host
