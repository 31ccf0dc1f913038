#include "frameworks/UIKit/animation_clock.hpp"

#include <atomic>
#include <chrono>

namespace veltro::host {
namespace {

std::atomic<double> stopped_at{-1};

} // namespace

double animation_time() {
  using namespace std::chrono;
  return duration<double>(steady_clock::now().time_since_epoch()).count();
}

void set_animation_time(double seconds) {
  stopped_at = seconds;
}

double animation_age(double start) {
  const double stopped = stopped_at;
  return stopped >= 0 ? stopped : animation_time() - start;
}

} // namespace veltro::host
