#include "demo_command.h"

#include <nlohmann/json.hpp>

#include "cancel_signal.h"
#include "demo_scene.h"
#include "output_file.h"
#include "progress.h"

namespace morva::host {

void run(const DemoRequest& request) {
  const OutputChoice& choice = request.output;
  const Encoding encoding = encoding_of(choice);
  OutputFile output(choice.file, choice.force);
  nlohmann::ordered_json made = {{"output", choice.file}};
  {
    Progress progress(!choice.quiet);
    progress.step("painting the demo scene");
    const Picture scene = paint_demo_scene();
    progress.step("writing " + choice.file);
    write_picture(scene, encoding, {}, output.create_temporary());
    check_cancelled();
    output.commit();
    made["width"] = scene.width;
    made["height"] = scene.height;
    made["seconds"] = progress.elapsed_s();
  }
  announce(choice, made);
}

}  // namespace morva::host
