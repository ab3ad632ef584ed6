// What a question before a render costs: microseconds each, alone and while a render runs on
// another thread. The processor's time is a mean, the clock's a median: on a busy machine a thread
// may stand still for longer than any answer takes.

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "morva.h"

namespace {

constexpr int kWidth = 6000;
constexpr int kHeight = 4000;
constexpr int kTimes = 500;
constexpr const char* kOptions =
    R"({"frame_style": "wide", "frame_size": "full", "border": 0.05, "mat": "classic",
        "table": "linen", "crop": [0.1, 0.1, 0.8, 0.8], "rotate": 90})";

void check(std::int32_t code, const MorvaError& err) {
  if (code == MORVA_OK) return;
  std::fprintf(stderr, "bench_plan: %s\n", err.message);
  std::exit(1);
}

struct Query {
  const char* name;
  std::function<void(MorvaError*)> ask;
};

std::vector<Query> queries(const char* film, const char* paper) {
  return {{"morva_output_size",
           [=](MorvaError* err) {
             std::int32_t w, h;
             check(morva_output_size(kOptions, film, paper, kWidth, kHeight, &w, &h, err), *err);
           }},
          {"morva_frame_caps",
           [=](MorvaError* err) {
             std::int32_t cap, grain;
             check(morva_frame_caps(kWidth, kHeight, kOptions, film, &cap, &grain, err), *err);
           }},
          {"morva_crop_aspects",
           [=](MorvaError* err) {
             double frame, forced;
             check(morva_crop_aspects(kOptions, film, &frame, &forced, err), *err);
           }},
          {"morva_rack_facts", [=](MorvaError* err) {
             static char facts[32768];
             check(morva_rack_facts(kOptions, film, "plain", paper, kWidth, kHeight, 0, 0, facts,
                                    sizeof facts, err),
                   *err);
           }}};
}

// Of the calling thread.
double processor_us() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) * 1e6 + static_cast<double>(now.tv_nsec) * 1e-3;
}

void time_queries(const char* film, const char* paper, const char* when) {
  using Clock = std::chrono::steady_clock;
  for (const Query& query : queries(film, paper)) {
    MorvaError err{};
    query.ask(&err);  // reads the profiles
    std::vector<double> waited_us(kTimes);
    const double before_us = processor_us();
    for (double& us : waited_us) {
      const auto start = Clock::now();
      query.ask(&err);
      us = std::chrono::duration<double, std::micro>(Clock::now() - start).count();
    }
    const double each_us = (processor_us() - before_us) / kTimes;
    std::nth_element(waited_us.begin(), waited_us.begin() + kTimes / 2, waited_us.end());
    std::printf("%-20s %-13s %-14s %-16s %8.0f us %8.0f us\n", query.name, film, paper, when,
                each_us, waited_us[kTimes / 2]);
  }
}

// Renders until it is told to stop; the answer must not wait for it.
class Renderer {
 public:
  Renderer() : thread_([this] { render(); }) {
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
  }
  ~Renderer() {
    __atomic_store_n(&cancel_, 1, __ATOMIC_RELAXED);
    thread_.join();
  }
  Renderer(const Renderer&) = delete;
  Renderer& operator=(const Renderer&) = delete;

 private:
  void render() {
    const std::vector<float> rgb(std::size_t{kWidth} * kHeight * 3, 0.2f);
    MorvaImage sheet;
    MorvaError err;
    const std::int32_t code = morva_render_ex(rgb.data(), kWidth, kHeight, nullptr, "everyday_400",
                                              "plain", "color_gloss", &cancel_, &sheet, &err);
    morva_free(&sheet);
    if (code != MORVA_CANCELLED)
      std::fprintf(stderr, "bench_plan: the render ended before the questions\n");
  }

  std::int32_t cancel_ = 0;
  std::thread thread_;
};

void all_queries(const char* when) {
  time_queries("everyday_400", "color_gloss", when);
  time_queries("silver_400", "offset_coated", when);
  time_queries("instant_square", "", when);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 1) {
    MorvaError err;
    check(morva_profiles_load(argv[1], &err), err);
  }
  std::printf("%-66s %11s %11s\n", "", "processor", "median wait");
  all_queries("alone");
  const Renderer renderer;
  all_queries("during a render");
  return 0;
}
