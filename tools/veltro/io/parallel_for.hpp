// Work spread over the processor's cores.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>

namespace veltro::tool {

/// Calls `work` with 0 to `count` - 1, on as many threads as there are cores, and returns when all
/// is done.
void parallel_for(std::size_t count, const std::function<void(std::size_t)> &work);

/// A stock that several threads take from, so that together they never hold more than it has.
class Stock {
public:
  explicit Stock(std::size_t amount) : left_(amount) {}

  /// Takes `amount`, which must not be more than the stock had at first, and waits for it to be
  /// there; gives it back when it goes.
  class Share {
  public:
    Share(Stock &stock, std::size_t amount);
    ~Share();
    Share(const Share &) = delete;
    Share &operator=(const Share &) = delete;

  private:
    Stock &stock_;
    std::size_t amount_;
  };

private:
  std::mutex mutex_;
  std::condition_variable more_;
  std::size_t left_;
};

} // namespace veltro::tool
