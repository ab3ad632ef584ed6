// What a host sees at the C boundary: codes, texts, ownership, locks and cancellation.

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <random>
#include <sstream>
#include <thread>

#include "engine/boundary.h"
#include "engine/host.h"

namespace {

namespace fs = std::filesystem;

class Boundary : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(0, morva_profiles_load(MORVA_PROFILES_PATH, nullptr)); }
};

TEST_F(Boundary, RefusesEmptyArguments) {
  const float grey[3] = {0.18f, 0.18f, 0.18f};
  MorvaImage out{};
  MorvaError err;
  const struct {
    const float* rgb;
    int w, h;
    const char *film, *lens;
    MorvaImage* to;
  } calls[] = {
      {nullptr, 1, 1, "silver_50", "plain", &out}, {grey, 0, 1, "silver_50", "plain", &out},
      {grey, 1, -1, "silver_50", "plain", &out},   {grey, 1, 1, nullptr, "plain", &out},
      {grey, 1, 1, "silver_50", nullptr, &out},    {grey, 1, 1, "silver_50", "plain", nullptr}};
  for (const auto& call : calls) {
    err.code = 99;
    EXPECT_EQ(1, morva_render(call.rgb, call.w, call.h, nullptr, call.film, call.lens, nullptr,
                              call.to, &err));
    EXPECT_EQ(1, err.code);
    EXPECT_STREQ("morva_render: пустой вход, размер или имя профиля", err.message);
  }
  EXPECT_EQ(1, morva_render(nullptr, 1, 1, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
  EXPECT_EQ(1, morva_profiles_load("", &err));
  EXPECT_STREQ("пустой путь к профилям", err.message);
  EXPECT_EQ(1, morva_image_info(nullptr, nullptr, &err));
  EXPECT_STREQ("morva_image_info: пустой путь", err.message);
  EXPECT_EQ(1, morva_load_linear("", nullptr, 0, &out, nullptr, &err));
  EXPECT_STREQ("morva_load_linear: пустой путь", err.message);
  EXPECT_EQ(1, morva_resize(grey, 1, 1, 0, 1, &out, &err));
  EXPECT_STREQ("morva_resize: empty input or size", err.message);
}

TEST_F(Boundary, FailuresOfOptionsHaveTheirCodeAndText) {
  const Scene grey(2, 2, 0.18f);
  const std::pair<std::string, std::string> failures[] = {
      // a text that ends in ": " goes on
      {"[1]", "3 опции должны быть JSON-объектом"},
      {std::string(64, '[') + std::string(64, ']'), "3 опции должны быть JSON-объектом"},
      {std::string(65, '[') + std::string(65, ']'), "3 опции — не JSON: "},
      {std::string(100000, '['), "3 опции — не JSON: "},
      {R"({)", "3 опции — не JSON: "},
      {"{\"a\": \"\xff\xfe\"}", "3 опции — не JSON: "},
      {R"({"ev": 1e999})", "3 опции — не JSON: "},
      {R"({"foo": 1})", "3 незнакомый ключ опций: «foo»"},
      {R"({"_border_px": 2})", "3 незнакомый ключ опций: «_border_px»"},
      {R"({"print_cm": "abc"})", "3 «print_cm»: не число — abc"},
      {R"({"print_cm": null})", "3 «print_cm»: ожидалось число, пришло null"},
      {R"({"ev": [1, 2]})", "3 «ev»: ожидалось число, пришло [1,2]"},
      {R"({"dev": "stand"})",
       "3 «stand» — не вариант C-41. Доступно: standard, hand, bleach_bypass"},
      {R"({"filter": "nosuch"})", "2 нет профиля filters «nosuch». Есть: "}};
  for (const auto& [options, text] : failures) {
    const Rendered r = render(grey, options.c_str(), "everyday_400", "color_scan");
    const std::string told = std::to_string(r.code) + " " + r.message;
    EXPECT_TRUE(r.empty) << options;
    EXPECT_EQ(text, text.ends_with(": ") ? told.substr(0, text.size()) : told) << options;
  }
  EXPECT_EQ(0, render(grey, R"({"_source_gain": "2"})", "everyday_400", "color_scan").code);
}

// Every key with every type: a picture or a clear failure, never a crash.
TEST_F(Boundary, EveryKeyTakesEveryType) {
  Scene scene(3, 2, 0.5f, 0.2f, 4.0f);
  scene.pixels[0] = scene.pixels[1] = scene.pixels[2] = 0.0f;
  std::string keys(static_cast<std::size_t>(morva_option_keys(nullptr, 0)) + 1, '\0');
  morva_option_keys(keys.data(), static_cast<int32_t>(keys.size()));
  keys.pop_back();
  std::istringstream list(keys);
  int count = 0;
  for (std::string key; std::getline(list, key, ','); ++count)
    for (const char* value : {"null", "true", "-1", "0", "1e300", "-1e300", "\"x\"", "\"\"", "[]",
                              "[1,2,3,4]", "{}", "{\"film\": 1e30}", "\"12\""}) {
      const std::string options = "{\"" + key + "\": " + value + "}";
      for (const char* film : {"silver_400", "everyday_400"}) {
        const Rendered r = render(scene, options.c_str(), film, nullptr);
        ASSERT_TRUE(r.code == 0 || !r.message.empty()) << options;
        ASSERT_EQ(r.code != 0, r.empty) << options;
        for (const float v : r.pixels) ASSERT_TRUE(std::isfinite(v)) << options;
      }
    }
  EXPECT_EQ(95, count);
}

TEST_F(Boundary, ProfilesFailClearly) {
  const fs::path root = fs::path(::testing::TempDir()) / "morva_boundary_profiles";
  fs::remove_all(root);
  fs::copy(MORVA_PROFILES_PATH, root, fs::copy_options::recursive);
  const auto write = [&](const char* name, const std::string& text) {
    std::ofstream(root / "films" / name) << text;
  };
  write("broken.json", "{\"type\": ");
  write("deep.json", std::string(5000, '[') + std::string(5000, ']'));
  write("bare.json", R"({"type": "bw", "negative": {"dmin": 0.1, "dmax": 2}})");
  write("list.json", "[1, 2]");
  write("secret.json", R"({"hidden": true, "type": "bw",
      "negative": {"dmin": 0.1, "dmax": 2, "gamma": 0.6}})");
  fs::create_directory(root / "films" / "folder.json");
  fs::create_symlink(root / "nowhere", root / "films" / "dangling.json");
  MorvaError err;
  ASSERT_EQ(0, morva_profiles_load(root.c_str(), &err));

  const Scene grey(2, 2, 0.18f);
  const auto message = [&](const char* film) {
    const Rendered r = render(grey, nullptr, film, nullptr);
    EXPECT_EQ(r.code != 0, r.empty) << film;
    return std::to_string(r.code) + " " + r.message;
  };
  EXPECT_EQ(std::string::npos, message("nosuch").find("secret"));
  EXPECT_NE(std::string::npos, message("nosuch").find("silver_400"));
  for (const std::string name : {"nosuch", "folder", "dangling", "../papers/bw_warm", ""})
    EXPECT_EQ(0u, message(name.c_str()).find("2 нет профиля films «" + name + "». Есть: ")) << name;
  for (const char* name : {"broken", "deep"})
    EXPECT_EQ(0u, message(name).find("2 испорченный JSON ")) << name;
  EXPECT_EQ("2 negative: нет ключа «gamma»", message("bare"));
  EXPECT_EQ('5', message("list")[0]);
  EXPECT_EQ("0 ", message("secret"));

  // A user directory is searched after the root, and forgotten at once when it is cleared.
  const fs::path user = fs::path(::testing::TempDir()) / "morva_boundary_user";
  fs::create_directories(user / "films");
  fs::copy_file(root / "films" / "silver_50.json", user / "films" / "mine.json",
                fs::copy_options::overwrite_existing);
  std::ofstream(user / "films" / "silver_400.json") << "not json";
  EXPECT_EQ(0, morva_profiles_user_dir(user.c_str(), &err));
  EXPECT_EQ("0 ", message("mine"));
  EXPECT_EQ("0 ", message("silver_400"));
  EXPECT_EQ(0, morva_profiles_user_dir("", &err));
  EXPECT_EQ(0u, message("mine").find("2 нет профиля films «mine»"));

  EXPECT_EQ(2, morva_profiles_load((user / "none").c_str(), &err));
  EXPECT_EQ("нет каталога films в " + (user / "none").string(), err.message);
  fs::remove_all(root);
  fs::remove_all(user);
}

TEST_F(Boundary, DamagedPixelsStaySingle) {
  Scene scene(40, 30, 0.18f);
  const float bad[] = {std::nanf(""), std::numeric_limits<float>::infinity(),
                       -std::numeric_limits<float>::infinity(), std::numeric_limits<float>::max()};
  for (int i = 0; i < 4; ++i) scene.pixels[static_cast<std::size_t>(300 * i + 60)] = bad[i];
  const char* options = R"({"filter_rays": "star_four", "filter_diffusion": "mist_dense"})";
  for (const char* film : {"everyday_400", "silver_400"}) {
    const Rendered r = render(scene, options, film, nullptr);
    ASSERT_EQ(0, r.code) << r.message;
    for (const float v : r.pixels) ASSERT_TRUE(v >= 0.0f && v <= 1.0f) << film;
  }
}

TEST_F(Boundary, TextsAreCutAndRecordsFreedTwice) {
  char keys[12];
  EXPECT_EQ(morva_option_keys(nullptr, 0), morva_option_keys(keys, sizeof keys));
  EXPECT_STREQ("_source_gai", keys);
  MorvaError err;
  std::memset(&err, 'x', sizeof err);
  EXPECT_EQ(5, morva::fail(&err, 5, std::string(2000, 'a')));
  EXPECT_EQ(1023u, std::strlen(err.message));
  const Rendered r = render(Scene(1, 1, 0.18f), nullptr, std::string(3000, 'q').c_str(), nullptr);
  EXPECT_EQ(1023u, r.message.size());

  MorvaImage image{};
  morva_free(nullptr);
  const float grey[3] = {0.18f, 0.18f, 0.18f};
  ASSERT_EQ(0, morva_render(grey, 1, 1, "", "silver_50", "plain", nullptr, &image, &err));
  EXPECT_EQ(3, image.channels);
  morva_free(&image);
  EXPECT_EQ(nullptr, image.data);
  morva_free(&image);
}

TEST_F(Boundary, AHugePictureIsAFailureOfMemory) {
  const float grey[3] = {0.18f, 0.18f, 0.18f};
  MorvaImage out;
  MorvaError err;
  EXPECT_EQ(5, morva_resize(grey, 1, 1, 2147483647, 2147483647, &out, &err));
  EXPECT_STREQ("out of memory", err.message);
  EXPECT_EQ(5, morva_resize(grey, 1, 1, 2147483647, 1, &out, &err));
  const Rendered r = render(Scene(2, 2, 0.18f), "{\"border\": 1e9}", "silver_50", nullptr);
  EXPECT_EQ(5, r.code);
  EXPECT_EQ("не хватило памяти", r.message);
}

TEST_F(Boundary, CancelFromAnotherThreadGivesAPictureOrNothing) {
  const Scene scene(150, 110, 0.3f, 0.2f, 0.9f);
  const int32_t raised = 1;
  const Rendered before = render(scene, nullptr, "everyday_400", nullptr, &raised);
  EXPECT_EQ(6, before.code);
  EXPECT_EQ("cancelled", before.message);
  EXPECT_TRUE(before.empty);

  std::mt19937 random(5);
  for (int round = 0; round < 40; ++round) {
    std::atomic<int32_t> flag{0};
    const auto delay = std::chrono::microseconds(random() % 60000);
    std::thread canceller([&] {
      std::this_thread::sleep_for(delay);
      flag.store(1);
    });
    const Rendered r =
        render(scene, nullptr, "everyday_400", nullptr, reinterpret_cast<const int32_t*>(&flag));
    canceller.join();
    ASSERT_TRUE(r.code == 0 || r.code == 6) << r.code << r.message;
    ASSERT_EQ(r.code == 6, r.empty);
  }
}

TEST_F(Boundary, RendersFromTwoThreadsAreTheSame) {
  const Scene scene(90, 70, 0.3f, 0.2f, 0.9f);
  const Rendered alone = render(scene, nullptr, "lamplight_500", nullptr);
  Rendered one, two;
  std::thread other([&] { one = render(scene, nullptr, "lamplight_500", nullptr); });
  two = render(scene, nullptr, "lamplight_500", nullptr);
  other.join();
  EXPECT_EQ(alone.pixels, one.pixels);
  EXPECT_EQ(alone.pixels, two.pixels);
}

}  // namespace
