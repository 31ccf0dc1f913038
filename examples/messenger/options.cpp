#include "options.hpp"

#include <charconv>
#include <string_view>

namespace veltro::messenger {
namespace {

template <typename Number> bool parse(std::string_view text, Number &number) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc{} && end == text.data() + text.size();
}

} // namespace

bool read_options(std::span<char *const> arguments, ServerOptions &options, std::string &error) {
  for (std::size_t i = 0; i < arguments.size(); i += 2) {
    const std::string_view name = arguments[i];
    const std::string_view value = i + 1 < arguments.size() ? arguments[i + 1] : "";
    double seconds = 0;
    if (name == "--port" && parse(value, options.port))
      continue;
    if (name == "--stall-time" && parse(value, seconds) && seconds > 0 && seconds <= 3600) {
      options.stall = std::chrono::milliseconds(static_cast<std::int64_t>(seconds * 1000));
      continue;
    }
    error =
        "what is '" + std::string(name) + "'? usage: WhatsApp [--port N] [--stall-time SECONDS]";
    return false;
  }
  return true;
}

} // namespace veltro::messenger
