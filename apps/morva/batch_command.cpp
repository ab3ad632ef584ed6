#include "batch_command.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <system_error>
#include <thread>

#include "batch_setting.h"
#include "cancel_signal.h"
#include "console.h"
#include "host_error.h"
#include "operating_system.h"
#include "progress.h"
#include "terminal_text.h"

namespace morva::host {
namespace {

using OrderedJson = nlohmann::ordered_json;

constexpr unsigned kMostJobsUnasked = 4;  // each takes memory: 1 GB at 24 megapixels
constexpr std::chrono::milliseconds kLookEvery{20};

enum class State { waiting, skipped, running, rendered, failed };

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

struct Job {
  BatchItem item;
  State state = State::waiting;
  int process = 0;
  int code = 0;
  std::unique_ptr<std::FILE, CloseFile> complaints;  // its standard error, while it runs
  std::string told;                                  // the same, once it has ended
};

using Jobs = std::vector<Job>;  // in the order of the pictures

Jobs jobs_of(std::vector<BatchItem> items) {
  Jobs jobs;
  for (BatchItem& item : items) {
    Job& job = jobs.emplace_back();
    job.state = item.skipped ? State::skipped : State::waiting;
    job.item = std::move(item);
  }
  return jobs;
}

std::size_t count(const Jobs& jobs, State state) {
  return static_cast<std::size_t>(
      std::count_if(jobs.begin(), jobs.end(), [&](const Job& job) { return job.state == state; }));
}

std::vector<std::string> arguments_of(const BatchItem& item,
                                      const std::vector<std::string>& flags) {
  std::vector<std::string> words = {"render", "--output=" + item.output, "--quiet"};
  words.insert(words.end(), flags.begin(), flags.end());
  words.push_back("--");
  words.push_back(item.input);
  return words;
}

// Why it did not come to that, if so.
std::error_code start(Job& job, const std::vector<std::string>& flags,
                      const std::filesystem::path& program) {
  job.complaints.reset(std::tmpfile());
  if (!job.complaints) return {errno, std::generic_category()};
  std::error_code error;
  const std::optional<int> process =
      start_process(program, arguments_of(job.item, flags), job.complaints.get(), error);
  if (error) job.complaints.reset();
  job.process = process.value_or(0);
  return error;
}

std::string text_of(std::FILE* file) {
  std::string text;
  char block[4096];
  std::rewind(file);
  while (const std::size_t size = std::fread(block, 1, sizeof block, file))
    text.append(block, size);
  return text;
}

// What the render itself could not say.
std::string last_words(int code) {
  if (code <= 128) return {};
  const std::string number = std::to_string(code - 128);
  return "morva: killed by signal " + number +
         (code == 137 ? ", most often for its memory\n" : "\n");
}

// Each line that a render wrote, under its picture's name; hints as they are.
void tell(const Job& job) {
  constexpr std::string_view kHead = "morva: ";
  std::string text;
  for (std::string_view rest = job.told; !rest.empty();) {
    const std::size_t end = std::min(rest.find('\n'), rest.size() - 1);
    std::string_view line = rest.substr(0, end + 1);
    rest.remove_prefix(end + 1);
    if (line.starts_with(kHead)) {
      const std::string name = on_one_line(job.item.input) + ": ";
      line.remove_prefix(kHead.size());
      text += kHead;
      if (!line.starts_with(name)) text += name;
    }
    text += line;
  }
  print_note(text);
}

void report_end(const Job& job, const BatchRequest& request, Progress& progress) {
  progress.aside([&] {
    tell(job);
    if (job.state == State::rendered && !request.quiet && !request.as_json)
      print_line(job.item.output);
  });
}

std::string in_words(const Jobs& jobs) {
  const auto also = [&](State state, const char* word) {
    const std::size_t number = count(jobs, state);
    return number == 0 ? "" : ", " + std::to_string(number) + " " + word;
  };
  return std::to_string(jobs.size()) + (jobs.size() == 1 ? " picture: " : " pictures: ") +
         std::to_string(count(jobs, State::rendered)) + " rendered" +
         also(State::failed, "failed") + also(State::skipped, "skipped") +
         also(State::waiting, "not begun");
}

std::size_t jobs_at_once(const BatchRequest& request) {
  if (request.jobs > 0) return static_cast<std::size_t>(request.jobs);
  return std::clamp(std::thread::hardware_concurrency(), 1u, kMostJobsUnasked);
}

// Whatever ends the batch, no render outlives it.
class Runner {
 public:
  Runner(Jobs& jobs, const BatchRequest& request, const std::filesystem::path& setting)
      : jobs_(jobs), request_(request), flags_(request.passed_on) {
    if (program_.empty()) throw HostError(MORVA_FAILED, "cannot tell where this program stands");
    flags_.push_back("--preset=" + setting.string());
    running_.reserve(at_once_);  // no render is started that cannot be noted
  }
  ~Runner() {
    for (const Job* job : running_) ask_to_stop(job->process);
    for (const Job* job : running_)
      while (!exit_code_of(job->process)) std::this_thread::sleep_for(kLookEvery);
  }
  Runner(const Runner&) = delete;
  Runner& operator=(const Runner&) = delete;

  void run_all(Progress& progress) {
    start_more(progress);
    while (!running_.empty()) {
      progress.step(in_words(jobs_));
      std::this_thread::sleep_for(kLookEvery);
      check_cancelled();
      finish_ended(progress);
      start_more(progress);
    }
  }

 private:
  void start_more(Progress& progress) {
    for (; next_ < jobs_.size() && running_.size() < at_once_; ++next_) {
      Job& job = jobs_[next_];
      if (job.state != State::waiting) continue;
      if (!request_.keep_going && count(jobs_, State::failed) > 0) return;
      if (const std::error_code error = start(job, flags_, program_)) {
        if (!running_.empty()) return;  // their end may leave what is lacking now
        job.told = "morva: cannot start another process: " + error.message() + "\n";
        finish(job, MORVA_FAILED, progress);
      } else {
        job.state = State::running;
        running_.push_back(&job);
      }
    }
  }

  // What has ended is no longer among the running before it is told of, which may fail.
  void finish_ended(Progress& progress) {
    for (std::size_t i = 0; i < running_.size();) {
      Job& job = *running_[i];
      const std::optional<int> code = exit_code_of(job.process);
      if (!code) {
        ++i;
        continue;
      }
      running_.erase(running_.begin() + static_cast<std::ptrdiff_t>(i));
      job.told = text_of(job.complaints.get()) + last_words(*code);
      finish(job, *code, progress);
    }
  }

  void finish(Job& job, int code, Progress& progress) {
    job.complaints.reset();
    job.code = code;
    job.state = code == MORVA_OK ? State::rendered : State::failed;
    report_end(job, request_, progress);
  }

  Jobs& jobs_;
  const BatchRequest& request_;
  std::vector<std::string> flags_;  // of each render
  const std::filesystem::path program_ = own_program();
  const std::size_t at_once_ = jobs_at_once(request_);
  std::size_t next_ = 0;  // of those that may be waiting
  std::vector<Job*> running_;
};

const char* word_for(State state) {
  switch (state) {
    case State::waiting:
      return "not begun";
    case State::skipped:
      return "skipped";
    case State::running:
      return "running";
    case State::rendered:
      return "rendered";
    case State::failed:
      break;
  }
  return "failed";
}

OrderedJson in_json(const Jobs& jobs, double seconds) {
  OrderedJson pictures = OrderedJson::array();
  for (const Job& job : jobs) {
    OrderedJson one = {{"input", job.item.input},
                       {"output", job.item.output},
                       {"state", word_for(job.state)},
                       {"code", job.code}};
    if (!job.told.empty()) one["message"] = job.told;
    pictures.push_back(one);
  }
  return {{"rendered", count(jobs, State::rendered)},
          {"failed", count(jobs, State::failed)},
          {"skipped", count(jobs, State::skipped)},
          {"not_begun", count(jobs, State::waiting)},
          {"seconds", seconds},
          {"pictures", pictures}};
}

int first_failure(const Jobs& jobs) {
  for (const Job& job : jobs)
    if (job.state == State::failed) return job.code;
  return MORVA_OK;
}

}  // namespace

int run(const BatchRequest& request) {
  const CheckedSetting checked = tried_setting(request.choice.setting);
  Jobs jobs = jobs_of(plan_batch(request.choice, checked.setting));
  const TemporaryFile setting = setting_file(checked);
  double seconds = 0.0;
  {
    Progress progress(!request.quiet);
    Runner(jobs, request, setting.path()).run_all(progress);
    seconds = progress.elapsed_s();
  }
  if (request.as_json) print_json(in_json(jobs, seconds));
  if (!request.quiet) print_note(in_words(jobs) + "\n");
  return first_failure(jobs);
}

}  // namespace morva::host
