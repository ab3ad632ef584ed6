// What a host sees at the C boundary: codes, texts, ownership, locks and cancellation; the crop
// tool and the orientation preview with hostile numbers and null pointers.

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
#include <string>
#include <thread>

#include "engine/boundary.h"
#include "engine/host.h"

namespace morva {
namespace {

namespace fs = std::filesystem;

class Boundary : public HostTest {};

TEST_F(Boundary, RefusesEmptyArguments) {
  const float grey[3] = {0.18f, 0.18f, 0.18f};
  MorvaImage out{};
  MorvaError err;
  const char *film = "silver_50", *lens = "plain";
  const auto expect_refused = [&err](int code, const char* text) {
    EXPECT_EQ(1, code);
    EXPECT_EQ(1, err.code);
    EXPECT_STREQ(text, err.message);
    err.code = 99;
  };
  const char* const text = "morva_render: пустой вход, размер или имя профиля";
  expect_refused(morva_render(nullptr, 1, 1, nullptr, film, lens, nullptr, &out, &err), text);
  expect_refused(morva_render(grey, 0, 1, nullptr, film, lens, nullptr, &out, &err), text);
  expect_refused(morva_render(grey, 1, -1, nullptr, film, lens, nullptr, &out, &err), text);
  expect_refused(morva_render(grey, 1, 1, nullptr, nullptr, lens, nullptr, &out, &err), text);
  expect_refused(morva_render(grey, 1, 1, nullptr, film, nullptr, nullptr, &out, &err), text);
  expect_refused(morva_render(grey, 1, 1, nullptr, film, lens, nullptr, nullptr, &err), text);
  EXPECT_EQ(1, morva_render(nullptr, 1, 1, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
  expect_refused(morva_profiles_load("", &err), "пустой путь к профилям");
  expect_refused(morva_image_info(nullptr, nullptr, &err), "morva_image_info: пустой путь");
  expect_refused(morva_load_linear("", nullptr, 0, &out, nullptr, &err),
                 "morva_load_linear: пустой путь");
  expect_refused(morva_resize(grey, 1, 1, 0, 1, &out, &err), "morva_resize: empty input or size");
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
    const Rendered r = render(grey, options, "everyday_400", "color_scan");
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
  std::istringstream list(keys.c_str());
  int count = 0;
  for (std::string key; std::getline(list, key, ','); ++count)
    for (const char* value : {"null", "true", "-1", "0", "1e300", "-1e300", "\"x\"", "\"\"", "[]",
                              "[1,2,3,4]", "{}", "{\"film\": 1e30}", "\"12\""}) {
      const std::string options = "{\"" + key + "\": " + value + "}";
      for (const char* film : {"silver_400", "everyday_400"}) {
        const Rendered r = render(scene, options, film);
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
  const auto message = [&](const std::string& film) {
    const Rendered r = render(grey, "", film);
    EXPECT_EQ(r.code != 0, r.empty) << film;
    return std::to_string(r.code) + " " + r.message;
  };
  EXPECT_EQ(std::string::npos, message("nosuch").find("secret"));
  EXPECT_NE(std::string::npos, message("nosuch").find("silver_400"));
  for (const std::string name : {"nosuch", "folder", "dangling", "../papers/bw_warm", ""})
    EXPECT_TRUE(message(name).starts_with("2 нет профиля films «" + name + "». Есть: ")) << name;
  for (const char* name : {"broken", "deep"})
    EXPECT_TRUE(message(name).starts_with("2 испорченный JSON ")) << name;
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
  EXPECT_TRUE(message("mine").starts_with("2 нет профиля films «mine»"));

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
  const std::string options = R"({"filter_rays": "star_four", "filter_diffusion": "mist_dense"})";
  for (const char* film : {"everyday_400", "silver_400"}) {
    const Rendered r = render(scene, options, film);
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
  EXPECT_EQ(5, fail(&err, 5, std::string(2000, 'a')));
  EXPECT_EQ(1023u, std::strlen(err.message));
  const Rendered r = render(Scene(1, 1, 0.18f), "", std::string(3000, 'q'));
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
  for (const int h : {2147483647, 1}) {
    EXPECT_EQ(5, morva_resize(grey, 1, 1, 2147483647, h, &out, &err));
    EXPECT_STREQ("out of memory", err.message);
  }
  const Rendered r = render(Scene(2, 2, 0.18f), R"({"border": 1e9})", "silver_50");
  EXPECT_EQ(5, r.code);
  EXPECT_TRUE(r.message.ends_with("px, лист не больше 32768 px по стороне")) << r.message;
}

TEST_F(Boundary, CancelFromAnotherThreadGivesAPictureOrNothing) {
  const Scene scene(150, 110, 0.3f, 0.2f, 0.9f);
  const int32_t raised = 1;
  const Rendered before = render(scene, "", "everyday_400", "", &raised);
  EXPECT_TRUE(before.code == 6 && before.message == "cancelled" && before.empty);

  std::mt19937 random(5);
  for (int round = 0; round < 40; ++round) {
    std::atomic<int32_t> flag{0};
    const auto delay = std::chrono::microseconds(random() % 60000);
    std::thread canceller([&] {
      std::this_thread::sleep_for(delay);
      flag.store(1);
    });
    const Rendered r =
        render(scene, "", "everyday_400", "", reinterpret_cast<const int32_t*>(&flag));
    canceller.join();
    ASSERT_TRUE(r.code == 0 || r.code == 6) << r.code << r.message;
    ASSERT_EQ(r.code == 6, r.empty);
  }
}

TEST_F(Boundary, RendersFromTwoThreadsAreTheSame) {
  const Scene scene(90, 70, 0.3f, 0.2f, 0.9f);
  const Rendered alone = render(scene, "", "lamplight_500");
  std::vector<std::thread> both;
  for (int i = 0; i < 2; ++i)
    both.emplace_back([&] { EXPECT_EQ(alone.pixels, render(scene, "", "lamplight_500").pixels); });
  for (std::thread& one : both) one.join();
}

const double kNaN = std::nan("");
const double kInf = std::numeric_limits<double>::infinity();

// The code, and the size of what came back.
std::string oriented(const Scene& scene, const char* options) {
  MorvaImage out{reinterpret_cast<float*>(1), 1, 1, 1};
  const int code =
      morva_orient_input(scene.pixels.data(), scene.width, scene.height, options, &out, nullptr);
  std::string told =
      std::to_string(code) + ": " + std::to_string(out.width) + "x" + std::to_string(out.height);
  if (out.data != nullptr) told += " " + std::to_string(out.data[1]);
  morva_free(&out);
  return told;
}

TEST(OrientInput, ShowsWhatARenderTakesIn) {
  Scene scene(40, 20, 0.25f);
  scene.pixels[1] = std::nanf("");
  EXPECT_EQ("0: 40x20 0.000000", oriented(scene, nullptr));
  EXPECT_EQ("0: 18x10 0.250000", oriented(scene, R"({"crop": [0, 0.1, 0.25, 1], "crop_angle": 4,
      "rotate": 270, "mirror": true, "_source_gain": 3, "ev": 1})"));
  EXPECT_EQ("0: 1x1 0.250000", oriented(scene, R"({"crop": [1e300, 1e300, 1e308, -5],
      "crop_angle": -1e300, "rotate": 1e300})"));
  for (const char* options :
       {"{", "[1]", R"({"film": 1})", R"({"crop": [0, 0, 1]})", R"({"crop_angle": "steep"})"})
    EXPECT_EQ("3: 0x0", oriented(scene, options)) << options;
  MorvaError err;
  MorvaImage out;
  EXPECT_EQ(1, morva_orient_input(nullptr, 4, 3, nullptr, &out, nullptr));
  EXPECT_EQ(1, morva_orient_input(scene.pixels.data(), 4, 3, nullptr, nullptr, nullptr));
  EXPECT_EQ(1, morva_orient_input(scene.pixels.data(), 4, 0, nullptr, &out, &err));
  EXPECT_STREQ("morva_orient_input: пустой вход", err.message);
}

// Every number of every question replaced by every odd one: the answers stay finite.
TEST(CropTool, AnswersEveryNumber) {
  const double odd[] = {kNaN, kInf, -kInf, 0.0, -1.0, 1e300, -1e300, 1e-300, 1e9, 0.3};
  const int32_t sizes[] = {0, -1, 1, 600, 2147483647, -2147483647 - 1};
  for (int place = 0; place < 6; ++place)
    for (const double number : odd)
      for (const int32_t w : sizes)
        for (const int32_t h : sizes) {
          double crop[] = {0.1, 0.2, 0.5, 0.4};
          double angle = 7.0, other = 1.5;
          (place < 4 ? crop[place] : place == 4 ? angle : other) = number;
          double out[26];
          morva_crop_corners(crop, angle, w, h, out);
          morva_crop_scale(crop, 1, other, w, h, h, out + 8);
          morva_crop_fit_to_angle(nullptr, 1, angle, w, h, w, crop, out + 12);
          morva_crop_expand(crop, 1, w, h, other, angle, out + 16);
          morva_crop_expand(crop, 1, w, h, -other, 0.0, out + 20);
          morva_rot_offsets(other, crop[0], angle, out + 24);
          for (const double answer : out)
            ASSERT_TRUE(std::isfinite(answer)) << place << ": " << number << ", " << w << "x" << h;
          ASSERT_TRUE(std::isfinite(morva_crop_max_scale(crop, 1, angle, w, h)));
          ASSERT_TRUE(std::isfinite(morva_straighten_angle(crop[0], crop[1], other, angle)));
          morva_crop_fits(crop, 1, angle, w, h, other);
        }
}

TEST(CropTool, NullsAndNumbersWithoutMeaningHaveTheirAnswers) {
  EXPECT_EQ(1, morva_crop_corners(nullptr, 0, 3, 3, nullptr));
  EXPECT_EQ(1, morva_crop_scale(nullptr, 0, 1, 3, 3, 1, nullptr));
  EXPECT_EQ(1, morva_crop_fit_to_angle(nullptr, 0, 0, 3, 3, 0, nullptr, nullptr));
  EXPECT_EQ(1, morva_crop_expand(nullptr, 0, 3, 3, 1, 0, nullptr));
  EXPECT_EQ(1, morva_rot_offsets(1, 1, 0, nullptr));
  const double crop[] = {0.1, kNaN, 0.5, 0.4};
  double corners[8], out[4];
  morva_crop_corners(crop, kInf, 30, 20, corners);
  EXPECT_EQ(30.0, corners[4]);
  EXPECT_EQ(20.0, corners[5]);
  morva_crop_scale(nullptr, 1, kNaN, 30, 20, 0, out);
  EXPECT_EQ(1.0, out[2]);
  EXPECT_FALSE(morva_crop_fits(nullptr, 0, 45.0, 30, 20, kNaN));
  EXPECT_EQ(0.0, morva_straighten_angle(kNaN, 0.0, kInf, 0.0));
}

}  // namespace
}  // namespace morva
