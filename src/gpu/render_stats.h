// What one render did on the GPU, and what its timestamps said. Times in milliseconds.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace morva::gpu {

// A transfer of at least this many floats is counted as one of a whole frame.
inline constexpr std::uint64_t kFrameFloats = 0x100000;

struct RenderStats {
  std::uint64_t uploads = 0;
  std::uint64_t downloads = 0;
  std::uint64_t uploaded_bytes = 0;
  std::uint64_t downloaded_bytes = 0;
  std::uint64_t frame_uploads = 0;
  std::uint64_t frame_downloads = 0;
  std::uint64_t unmarked = 0;  // dispatches without timestamps, for want of room
  std::uint64_t dispatches = 0;
  std::uint64_t submits = 0;
  std::map<std::string, double> gpu_ms_by_name;  // of kernels and of stages
  std::map<std::string, std::uint64_t> calls_by_name;
  double wait_ms = 0.0;           // of the CPU, for the GPU
  std::vector<double> submit_ms;  // GPU time of each list, while profiling
  double longest_dispatch_ms = 0.0;
  std::map<std::string, double> max_ms_by_name;  // of kernels
  std::string longest_dispatch;
  std::string longest_submit;
};

}  // namespace morva::gpu
