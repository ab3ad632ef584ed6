#include "engine_facts.h"

#include <morva.h>

#include <string>

#include "host_error.h"

namespace morva::host {
namespace {

constexpr std::size_t kFactsBytes = 32768;  // hold any answer

}  // namespace

nlohmann::ordered_json engine_facts(const RenderSetting& setting, const nlohmann::json& options,
                                    PixelSize source) {
  std::string answer(kFactsBytes, '\0');
  MorvaError error{};
  check_engine(
      morva_rack_facts(options_text(options).c_str(), setting.film.c_str(), setting.lens.c_str(),
                       setting.paper.c_str(), source.width, source.height, 0, 0, answer.data(),
                       static_cast<int32_t>(answer.size()), &error),
      error);
  return nlohmann::ordered_json::parse(answer.c_str());
}

}  // namespace morva::host
