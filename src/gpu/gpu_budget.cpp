#include "gpu/gpu_budget.h"

#include <charconv>
#include <optional>
#include <string>

#include "profiles/system.h"

namespace morva::gpu {

namespace {

// The number that a text begins with, in the C locale whatever the host has set; 0 without one.
double leading_number(const std::string& text) {
  std::size_t begin = text.find_first_not_of(" \t\n\v\f\r");
  if (begin == std::string::npos) return 0.0;
  if (text[begin] == '+') ++begin;
  double value = 0.0;
  std::from_chars(text.data() + begin, text.data() + text.size(), value);
  return value;
}

void read_budget(const char* name, double& budget_ms) {
  if (const std::optional<std::string> text = environment_text(name)) {
    budget_ms = leading_number(*text);
  }
}

}  // namespace

GpuBudget budget_from_environment() {
  GpuBudget budget;
  read_budget("MORVA_GPU_SUBMIT_MS", budget.submit_ms);
  read_budget("MORVA_GPU_DISPATCH_MS", budget.dispatch_ms);
  return budget;
}

GpuBudget& gpu_budget() {
  static GpuBudget budget = budget_from_environment();
  return budget;
}

}  // namespace morva::gpu
