#include "gpu/profile_report.h"

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "gpu/decimal.h"

namespace morva::gpu {

namespace {

constexpr std::size_t kLongDispatches = 10;
constexpr std::size_t kHeavyKernels = 8;
constexpr std::size_t kLongestLine = 510;  // bytes of the totals, the newline not counted
constexpr double kMegabytes = 1.0 / (1024.0 * 1024.0);

using Timed = std::pair<double, std::string>;  // milliseconds, name

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

// At most `bytes` of UTF-8, the last character whole.
std::string cut_to_characters(std::string text, std::size_t bytes) {
  if (text.size() <= bytes) return text;
  const auto continues = [&](std::size_t at) {
    return (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80;
  };
  while (bytes > 0 && continues(bytes)) --bytes;
  text.resize(bytes);
  return text;
}

std::string totals(const std::string& title, double frame_ms, double gpu_ms,
                   const RenderStats& stats) {
  const auto megabytes = [](std::uint64_t bytes) {
    return decimal(static_cast<double>(bytes) * kMegabytes, 0);
  };
  std::string line =
      title + ": кадр " + decimal(frame_ms, 0) + " мс, GPU считал " + decimal(gpu_ms, 0) +
      " мс, ждали GPU " + decimal(stats.wait_ms, 0) + " мс; переходов CPU↔GPU: кадровых загрузок " +
      std::to_string(stats.frame_uploads) + ", выгрузок " + std::to_string(stats.frame_downloads) +
      " (всего " + std::to_string(stats.uploads) + " / " + std::to_string(stats.downloads) + ", " +
      megabytes(stats.uploaded_bytes) + " / " + megabytes(stats.downloaded_bytes) +
      " МБ); диспетчей " + std::to_string(stats.dispatches);
  if (stats.unmarked != 0) line += ", без меток " + std::to_string(stats.unmarked);
  return cut_to_characters(std::move(line), kLongestLine) + "\n";
}

std::string long_lists(const RenderStats& stats) {
  if (stats.submit_ms.empty()) return "";
  std::string text = "  отправок " + std::to_string(stats.submit_ms.size()) + ", самая долгая " +
                     decimal(*std::max_element(stats.submit_ms.begin(), stats.submit_ms.end()), 1) +
                     " мс; самый долгий диспетч " + decimal(stats.longest_dispatch_ms, 1) +
                     " мс (`" + stats.longest_dispatch + "`)\n";
  std::vector<Timed> slow;
  for (const auto& [name, ms] : stats.max_ms_by_name) slow.emplace_back(ms, name);
  if (slow.empty()) return text;
  slowest_first(slow);
  text += "  долгие диспетчи:";
  for (std::size_t i = 0; i < std::min(kLongDispatches, slow.size()); ++i)
    text += " " + slow[i].second + " " + decimal(slow[i].first, 1) + ";";
  return text + "\n";
}

std::string stage_table(const RenderStats& stats, const StageTimes& stage_times) {
  if (stage_times.empty()) return "";
  std::string text = "  | стадия | CPU (стена), мс | GPU, мс |\n  |---|---:|---:|\n";
  for (const auto& [label, wall_ms] : stage_times) {
    const auto gpu = stats.gpu_ms_by_name.find(label);
    const double gpu_ms = gpu != stats.gpu_ms_by_name.end() ? gpu->second : 0.0;
    text += "  | " + label + " | " + decimal(wall_ms, 0) + " | " + decimal(gpu_ms, 0) + " |\n";
  }
  return text;
}

std::string kernel_table(const std::vector<Timed>& kernels, const RenderStats& stats) {
  if (kernels.empty()) return "";
  std::string text = "  | кернел | GPU, мс | вызовов |\n  |---|---:|---:|\n";
  for (std::size_t i = 0; i < std::min(kHeavyKernels, kernels.size()); ++i) {
    const auto& [ms, name] = kernels[i];
    text += "  | `" + name + "` | " + decimal(ms, 1) + " | " +
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
