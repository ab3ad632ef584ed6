#include "batch_command.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <thread>

#include "cancel_signal.h"
#include "console.h"
#include "host_error.h"
#include "operating_system.h"
#include "progress.h"

namespace morva::host {
namespace {

using OrderedJson = nlohmann::ordered_json;

constexpr int kMostJobsUnasked = 4;  // each takes memory: 1 GB at 24 megapixels
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

using Jobs = std::vector<Job>;

std::size_t count(const Jobs& jobs, State state) {
  return static_cast<std::size_t>(
      std::count_if(jobs.begin(), jobs.end(), [&](const Job& job) { return job.state == state; }));
}

std::vector<std::string> arguments_of(const BatchItem& item, const BatchRequest& request) {
  std::vector<std::string> words = {"render", "--output=" + item.output, "--quiet"};
  for (const std::string& flag : request.passed_on) words.push_back(flag);
  words.push_back("--");
  words.push_back(item.input);
  return words;
}

void start(Job& job, const BatchRequest& request, const std::filesystem::path& program) {
  job.complaints.reset(std::tmpfile());
  const std::optional<int> process =
      job.complaints ? start_process(program, arguments_of(job.item, request), job.complaints.get())
                     : std::nullopt;
  job.state = process ? State::running : State::failed;
  job.process = process.value_or(0);
  if (process) return;
  job.code = MORVA_FAILED;
  job.told = "morva: cannot start another process\n";
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

// False while it runs.
bool ended(Job& job) {
  const std::optional<int> code = exit_code_of(job.process);
  if (!code) return false;
  job.code = *code;
  job.state = job.code == MORVA_OK ? State::rendered : State::failed;
  job.told = text_of(job.complaints.get()) + last_words(job.code);
  job.complaints.reset();
  return true;
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

int jobs_at_once(const BatchRequest& request) {
  if (request.jobs > 0) return request.jobs;
  const auto processors = static_cast<int>(std::thread::hardware_concurrency());
  return std::clamp(processors, 1, kMostJobsUnasked);
}

// Whatever ends the batch, no render outlives it.
class Runner {
 public:
  Runner(Jobs& jobs, const BatchRequest& request) : jobs_(jobs), request_(request) {
    if (program_.empty()) throw HostError(MORVA_FAILED, "cannot tell where this program stands");
  }
  ~Runner() {
    for (Job& job : jobs_)
      if (job.state == State::running) ask_to_stop(job.process);
    for (Job& job : jobs_)
      while (job.state == State::running && !ended(job)) std::this_thread::sleep_for(kLookEvery);
  }
  Runner(const Runner&) = delete;
  Runner& operator=(const Runner&) = delete;

  void run_all(Progress& progress) {
    start_more();
    while (count(jobs_, State::running) > 0) {
      progress.step(in_words(jobs_));
      std::this_thread::sleep_for(kLookEvery);
      check_cancelled();
      for (Job& job : jobs_)
        if (job.state == State::running && ended(job)) report_end(job, request_, progress);
      start_more();
    }
  }

 private:
  void start_more() {
    const auto most = static_cast<std::size_t>(jobs_at_once(request_));
    for (Job& job : jobs_) {
      if (!request_.keep_going && count(jobs_, State::failed) > 0) return;
      if (count(jobs_, State::running) >= most) return;
      if (job.state == State::waiting) start(job, request_, program_);
    }
  }

  Jobs& jobs_;
  const BatchRequest& request_;
  const std::filesystem::path program_ = own_program();
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
  Jobs jobs;
  for (BatchItem& item : plan_batch(request.choice)) {
    Job& job = jobs.emplace_back();
    job.item = std::move(item);
    if (job.item.skipped) job.state = State::skipped;
  }
  double seconds = 0.0;
  {
    Progress progress(!request.quiet);
    Runner(jobs, request).run_all(progress);
    seconds = progress.elapsed_s();
  }
  if (request.as_json) print_json(in_json(jobs, seconds));
  if (!request.quiet) print_note(in_words(jobs) + "\n");
  return first_failure(jobs);
}

}  // namespace morva::host
