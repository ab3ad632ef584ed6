// One line on the terminal: the time that has gone by and what is being done. A small thread keeps
// the time running while the engine works; the line is wiped at the end.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace morva::host {

class Progress {
 public:
  // With `shown` false, or when stderr is no terminal, nothing is printed and no thread starts.
  explicit Progress(bool shown);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // What is being done from now on.
  void step(const std::string& doing);

  // Prints something else in the line's place.
  void aside(const std::function<void()>& print);

  double elapsed_s() const;

 private:
  void refresh_until_done();
  void print_line() const;

  std::chrono::steady_clock::time_point start_;
  std::mutex lock_;  // guards doing_ and done_
  std::condition_variable changed_;
  std::string doing_;
  bool done_ = false;
  std::thread refresher_;
};

}  // namespace morva::host
