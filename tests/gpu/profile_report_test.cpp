// The report of a render, on numbers that can be added up by hand.

#include "gpu/profile_report.h"

#include <gtest/gtest.h>

#include <string>

namespace morva::gpu {
namespace {

RenderStats small_render() {
  RenderStats stats;
  stats.uploads = 3;
  stats.downloads = 2;
  stats.uploaded_bytes = 3 << 20;
  stats.downloaded_bytes = 1 << 20;
  stats.frame_uploads = stats.frame_downloads = 1;
  stats.dispatches = 9;
  stats.wait_ms = 12.4;
  stats.submit_ms = {4.0, 7.25};
  stats.longest_dispatch_ms = 3.5;
  stats.longest_dispatch = "mat3 256 работ, оценка 0.1 мс";
  stats.gpu_ms_by_name = {{"печать", 30.0}, {"mat3", 3.5}, {"clampv", 3.5}, {"thresh", 1.0}};
  stats.calls_by_name = {{"печать", 1}, {"mat3", 2}, {"clampv", 6}, {"thresh", 1}};
  stats.max_ms_by_name = {{"mat3", 3.5}, {"clampv", 0.7}};
  return stats;
}

TEST(ProfileReport, AddsKernelsAndListsStagesInTheOrderOfTheirBytes) {
  const StageTimes stages = {{"печать", 41.6}, {"морва", 8.0}};
  EXPECT_EQ(
      "A → B: кадр 812 мс, GPU считал 8 мс, ждали GPU 12 мс; переходов CPU↔GPU: кадровых загрузок "
      "1, выгрузок 1 (всего 3 / 2, 3 / 1 МБ); диспетчей 9\n"
      "  отправок 2, самая долгая 7.2 мс; самый долгий диспетч 3.5 мс (`mat3 256 работ, оценка 0.1 "
      "мс`)\n"
      "  долгие диспетчи: mat3 3.5; clampv 0.7;\n"
      "  | стадия | CPU (стена), мс | GPU, мс |\n  |---|---:|---:|\n"
      "  | морва | 8 | 0 |\n  | печать | 42 | 30 |\n"
      "  | кернел | GPU, мс | вызовов |\n  |---|---:|---:|\n"
      "  | `clampv` | 3.5 | 6 |\n  | `mat3` | 3.5 | 2 |\n  | `thresh` | 1.0 | 1 |\n",
      profile_report("A → B", 811.9, small_render(), stages));
}

TEST(ProfileReport, LeavesOutWhatWasNotMeasuredAndCutsWhatIsTooLong) {
  RenderStats stats = small_render();
  for (const std::string lead : {"", "a"}) {
    std::string title = lead;
    for (int i = 0; i < 300; ++i) title += "я";  // two bytes each
    const std::string report = profile_report(title, 0.0, stats, {});
    const std::size_t line = report.find('\n');
    EXPECT_EQ(lead.empty() ? 510u : 509u, line);
    EXPECT_EQ(title.substr(0, line), report.substr(0, line));
    EXPECT_EQ(0u, report.find("  отправок 2", line + 1) - line - 1);
  }
  stats.submit_ms.clear();
  stats.gpu_ms_by_name.clear();
  stats.unmarked = 40;
  const std::string report = profile_report("t", 0.0, stats, {});
  EXPECT_TRUE(report.ends_with("диспетчей 9, без меток 40\n")) << report;
  for (int i = 0; i < 12; ++i) {
    const std::string name = "k" + std::to_string(i);
    stats.gpu_ms_by_name[name] = 10.0 + i;
    stats.calls_by_name[name] = 1;
  }
  const std::string heavy = profile_report("t", 0.0, stats, {});
  EXPECT_NE(std::string::npos, heavy.find("GPU считал 186 мс"));
  EXPECT_NE(std::string::npos, heavy.find("`k4`"));
  EXPECT_EQ(std::string::npos, heavy.find("`k3`"));  // the ninth
}

}  // namespace
}  // namespace morva::gpu
