// Rows that come in below and go out above, as a sheet runs through a machine.
#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace morva {

class RowQueue {
 public:
  explicit RowQueue(std::size_t row_samples) : row_samples_(row_samples) {}

  std::size_t rows() const { return end_ - begin_; }
  const float* row(std::size_t i) const { return held_.data() + (begin_ + i) * row_samples_; }

  void drop(std::size_t count) { begin_ += count; }

  // `count` rows more at the bottom, of any content. Pointers into the queue go stale. What is held
  // is moved only once as much has been dropped, so a long queue costs no more than a short one.
  float* add(std::size_t count) {
    if ((end_ + count) * row_samples_ > held_.size()) {
      if (begin_ >= rows()) move_to_front();
      held_.resize(std::max(held_.size(), (end_ + count) * row_samples_));
    }
    end_ += count;
    return held_.data() + (end_ - count) * row_samples_;
  }

 private:
  void move_to_front() {
    std::copy_n(row(0), rows() * row_samples_, held_.data());
    end_ -= begin_;
    begin_ = 0;
  }

  std::size_t row_samples_;
  std::vector<float> held_;
  std::size_t begin_ = 0, end_ = 0;
};

}  // namespace morva
