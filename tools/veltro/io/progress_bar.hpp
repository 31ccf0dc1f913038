// A bar on standard error that shows how many of many are done, where standard error is a terminal.
#pragma once

#include <cstddef>
#include <mutex>
#include <string_view>

namespace veltro::tool {

/// May be used by several threads.
class ProgressBar {
public:
  /// Shows nothing for a single one.
  explicit ProgressBar(std::size_t total);
  /// Takes the bar away.
  ~ProgressBar();
  ProgressBar(const ProgressBar &) = delete;
  ProgressBar &operator=(const ProgressBar &) = delete;

  void one_more();
  /// Prints a complaint as a line of its own (see exit.hpp).
  void complain(std::string_view text);

private:
  void draw();
  void clear() const;

  std::mutex mutex_;
  std::size_t total_;
  std::size_t done_ = 0;
  std::size_t length_ = 0; ///< of the bar that is drawn
  bool shown_;
};

} // namespace veltro::tool
