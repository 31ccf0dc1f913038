#include "parallel_for.hpp"

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

namespace veltro::tool {

void parallel_for(std::size_t count, const std::function<void(std::size_t)> &work) {
  const std::size_t cores = std::max(1U, std::thread::hardware_concurrency());
  std::atomic<std::size_t> next = 0;
  const auto worker = [&] {
    for (std::size_t number = next++; number < count; number = next++)
      work(number);
  };
  std::vector<std::jthread> others;
  for (std::size_t thread = 1; thread < std::min(cores, count); ++thread)
    others.emplace_back(worker);
  worker();
}

Stock::Share::Share(Stock &stock, std::size_t amount) : stock_(stock), amount_(amount) {
  std::unique_lock lock(stock_.mutex_);
  stock_.more_.wait(lock, [this] { return stock_.left_ >= amount_; });
  stock_.left_ -= amount_;
}

Stock::Share::~Share() {
  {
    const std::lock_guard lock(stock_.mutex_);
    stock_.left_ += amount_;
  }
  stock_.more_.notify_all();
}

} // namespace veltro::tool
