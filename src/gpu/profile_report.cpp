#include "gpu/profile_report.h"

#include <algorithm>
#include <cstdio>
#include <utility>
#include <vector>

namespace morva::gpu {

namespace {

constexpr std::size_t kLongDispatches = 10;
constexpr std::size_t kHeavyKernels = 8;
constexpr double kMegabytes = 1.0 / (1024.0 * 1024.0);

using Timed = std::pair<double, std::string>;  // milliseconds, name

std::string number(const char* format, double value) {
  char text[64];
  std::snprintf(text, sizeof text, format, value);
  return text;
}

void slowest_first(std::vector<Timed>& entries) {
  std::sort(entries.begin(), entries.end(), [](const Timed& a, const Timed& b) {
    return a.first != b.first ? a.first > b.first : a.second < b.second;
  });
}

std::vector<Timed> kernel_times(const RenderStats& stats, const StageTimes& stage_times,
                                double* total_ms) {
  std::vector<Timed> kernels;
  for (const auto& [name, ms] : stats.gpu_ms_by_name) {
    if (stage_times.contains(name)) continue;
    kernels.emplace_back(ms, name);
    *total_ms += ms;
  }
  slowest_first(kernels);
  return kernels;
}

std::string totals(const std::string& title, double frame_ms, double gpu_ms,
                   const RenderStats& stats) {
  const std::string unmarked =
      stats.unmarked != 0 ? ", без меток " + std::to_string(stats.unmarked) : "";
  char line[512];
  std::snprintf(line, sizeof line,
                "%s: кадр %.0f мс, GPU считал %.0f мс, ждали GPU %.0f мс; переходов CPU↔GPU: "
                "кадровых загрузок %llu, выгрузок %llu (всего %llu / %llu, %.0f / %.0f МБ); "
                "диспетчей %llu%s\n",
                title.c_str(), frame_ms, gpu_ms, stats.wait_ms,
                static_cast<unsigned long long>(stats.frame_uploads),
                static_cast<unsigned long long>(stats.frame_downloads),
                static_cast<unsigned long long>(stats.uploads),
                static_cast<unsigned long long>(stats.downloads),
                static_cast<double>(stats.uploaded_bytes) * kMegabytes,
                static_cast<double>(stats.downloaded_bytes) * kMegabytes,
                static_cast<unsigned long long>(stats.dispatches), unmarked.c_str());
  return line;
}

std::string long_lists(const RenderStats& stats) {
  if (stats.submit_ms.empty()) return "";
  std::string text =
      "  отправок " + std::to_string(stats.submit_ms.size()) + ", самая долгая " +
      number("%.1f", *std::max_element(stats.submit_ms.begin(), stats.submit_ms.end())) +
      " мс; самый долгий диспетч " + number("%.1f", stats.longest_dispatch_ms) + " мс (`" +
      stats.longest_dispatch + "`)\n";
  std::vector<Timed> slow;
  for (const auto& [name, ms] : stats.max_ms_by_name) slow.emplace_back(ms, name);
  if (slow.empty()) return text;
  slowest_first(slow);
  text += "  долгие диспетчи:";
  for (std::size_t i = 0; i < std::min(kLongDispatches, slow.size()); ++i)
    text += " " + slow[i].second + number(" %.1f;", slow[i].first);
  return text + "\n";
}

std::string stage_table(const RenderStats& stats, const StageTimes& stage_times) {
  if (stage_times.empty()) return "";
  std::string text = "  | стадия | CPU (стена), мс | GPU, мс |\n  |---|---:|---:|\n";
  for (const auto& [label, wall_ms] : stage_times) {
    const auto gpu = stats.gpu_ms_by_name.find(label);
    const double gpu_ms = gpu != stats.gpu_ms_by_name.end() ? gpu->second : 0.0;
    text += "  | " + label + number(" | %.0f", wall_ms) + number(" | %.0f |\n", gpu_ms);
  }
  return text;
}

std::string kernel_table(const std::vector<Timed>& kernels, const RenderStats& stats) {
  if (kernels.empty()) return "";
  std::string text = "  | кернел | GPU, мс | вызовов |\n  |---|---:|---:|\n";
  for (std::size_t i = 0; i < std::min(kHeavyKernels, kernels.size()); ++i) {
    const auto& [ms, name] = kernels[i];
    text += "  | `" + name + number("` | %.1f | ", ms) +
            std::to_string(stats.calls_by_name.at(name)) + " |\n";
  }
  return text;
}

}  // namespace

std::string profile_report(const std::string& title, double frame_ms, const RenderStats& stats,
                           const StageTimes& stage_times) {
  double gpu_ms = 0.0;
  const std::vector<Timed> kernels = kernel_times(stats, stage_times, &gpu_ms);
  return totals(title, frame_ms, gpu_ms, stats) + long_lists(stats) +
         stage_table(stats, stage_times) + kernel_table(kernels, stats);
}

}  // namespace morva::gpu
