#pragma once

#include <functional>

namespace veltro::tool {

/// Runs `action` inside an autorelease pool and returns what that returns.
int in_pool(const std::function<int()> &action);

} // namespace veltro::tool
