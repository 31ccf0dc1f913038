#include "progress_bar.hpp"

#include "exit.hpp"

#include <iostream>
#include <string>
#include <unistd.h>

namespace veltro::tool {

ProgressBar::ProgressBar(std::size_t total)
    : total_(total), shown_(total > 1 && isatty(STDERR_FILENO) != 0) {
  draw();
}

ProgressBar::~ProgressBar() {
  clear();
}

void ProgressBar::one_more() {
  const std::lock_guard lock(mutex_);
  ++done_;
  draw();
}

void ProgressBar::complain(std::string_view text) {
  const std::lock_guard lock(mutex_);
  clear();
  failure(text);
  draw();
}

void ProgressBar::draw() {
  constexpr std::size_t kWidth = 40;
  if (!shown_)
    return;
  const std::size_t full = done_ * kWidth / total_;
  const std::string bar = "[" + std::string(full, '#') + std::string(kWidth - full, ' ') + "] " +
                          std::to_string(done_) + "/" + std::to_string(total_);
  length_ = bar.size();
  std::cerr << '\r' + bar << std::flush;
}

void ProgressBar::clear() const {
  // Spaces do what an escape sequence would, on every terminal.
  if (shown_)
    std::cerr << '\r' + std::string(length_, ' ') + '\r' << std::flush;
}

} // namespace veltro::tool
