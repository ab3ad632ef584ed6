#include "batch_command.h"

#include <algorithm>
#include <array>
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
#include "terminal_text.h"

namespace morva::host {
namespace {

using OrderedJson = nlohmann::ordered_json;

constexpr unsigned kMostJobsUnasked = 4;  // each takes memory: 1 GB at 24 megapixels
constexpr std::chrono::milliseconds kLookEvery{20};

enum class State : std::size_t { waiting, skipped, running, rendered, failed };
constexpr std::size_t kStates = 5;

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

// In their order, with how many there are of each state.
struct Jobs {
  std::vector<Job> all;
  std::array<std::size_t, kStates> in_state{};

  std::size_t count(State state) const { return in_state[static_cast<std::size_t>(state)]; }
};

Jobs jobs_of(std::vector<BatchItem> items) {
  Jobs jobs;
  for (BatchItem& item : items) {
    Job& job = jobs.all.emplace_back();
    job.state = item.skipped ? State::skipped : State::waiting;
    ++jobs.in_state[static_cast<std::size_t>(job.state)];
    job.item = std::move(item);
  }
  return jobs;
}

void turn(Jobs& jobs, Job& job, State state) {
  --jobs.in_state[static_cast<std::size_t>(job.state)];
  ++jobs.in_state[static_cast<std::size_t>(state)];
  job.state = state;
}

std::vector<std::string> arguments_of(const BatchItem& item, const BatchRequest& request) {
  std::vector<std::string> words = {"render", "--output=" + item.output, "--quiet"};
  for (const std::string& flag : request.passed_on) words.push_back(flag);
  words.push_back("--");
  words.push_back(item.input);
  return words;
}

// False when it did not come to that.
bool start(Job& job, const BatchRequest& request, const std::filesystem::path& program) {
  job.complaints.reset(std::tmpfile());
  const std::optional<int> process =
      job.complaints ? start_process(program, arguments_of(job.item, request), job.complaints.get())
                     : std::nullopt;
  job.process = process.value_or(0);
  if (process) return true;
  job.complaints.reset();
  job.code = MORVA_FAILED;
  job.told = "morva: cannot start another process\n";
  return false;
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
    const std::size_t number = jobs.count(state);
    return number == 0 ? "" : ", " + std::to_string(number) + " " + word;
  };
  return std::to_string(jobs.all.size()) + (jobs.all.size() == 1 ? " picture: " : " pictures: ") +
         std::to_string(jobs.count(State::rendered)) + " rendered" + also(State::failed, "failed") +
         also(State::skipped, "skipped") + also(State::waiting, "not begun");
}

std::size_t jobs_at_once(const BatchRequest& request) {
  if (request.jobs > 0) return static_cast<std::size_t>(request.jobs);
  return std::clamp(std::thread::hardware_concurrency(), 1u, kMostJobsUnasked);
}

// Whatever ends the batch, no render outlives it.
class Runner {
 public:
  Runner(Jobs& jobs, const BatchRequest& request) : jobs_(jobs), request_(request) {
    if (program_.empty()) throw HostError(MORVA_FAILED, "cannot tell where this program stands");
  }
  ~Runner() {
    for (const Job* job : running_) ask_to_stop(job->process);
    for (Job* job : running_)
      while (!ended(*job)) std::this_thread::sleep_for(kLookEvery);
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
    for (; next_ < jobs_.all.size() && running_.size() < at_once_; ++next_) {
      if (!request_.keep_going && jobs_.count(State::failed) > 0) return;
      Job& job = jobs_.all[next_];
      if (job.state != State::waiting) continue;
      if (start(job, request_, program_)) {
        turn(jobs_, job, State::running);
        running_.push_back(&job);
      } else {
        finish(job, progress);
      }
    }
  }

  // What has ended is no longer among the running before it is told of, which may fail.
  void finish_ended(Progress& progress) {
    std::vector<Job*> done;
    std::erase_if(running_, [&](Job* job) {
      if (!ended(*job)) return false;
      done.push_back(job);
      return true;
    });
    for (Job* job : done) finish(*job, progress);
  }

  void finish(Job& job, Progress& progress) {
    turn(jobs_, job, job.code == MORVA_OK ? State::rendered : State::failed);
    report_end(job, request_, progress);
  }

  Jobs& jobs_;
  const BatchRequest& request_;
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
  for (const Job& job : jobs.all) {
    OrderedJson one = {{"input", job.item.input},
                       {"output", job.item.output},
                       {"state", word_for(job.state)},
                       {"code", job.code}};
    if (!job.told.empty()) one["message"] = job.told;
    pictures.push_back(one);
  }
  return {{"rendered", jobs.count(State::rendered)},
          {"failed", jobs.count(State::failed)},
          {"skipped", jobs.count(State::skipped)},
          {"not_begun", jobs.count(State::waiting)},
          {"seconds", seconds},
          {"pictures", pictures}};
}

int first_failure(const Jobs& jobs) {
  for (const Job& job : jobs.all)
    if (job.state == State::failed) return job.code;
  return MORVA_OK;
}

}  // namespace

int run(const BatchRequest& request) {
  Jobs jobs = jobs_of(plan_batch(request.choice));
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
