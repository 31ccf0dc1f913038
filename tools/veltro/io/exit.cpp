#include "exit.hpp"

#include <algorithm>
#include <iostream>
#include <poll.h>
#include <string>
#include <unistd.h>

namespace veltro::tool {
namespace {

int complain(int status, std::string_view text) {
  std::string line(text);
  std::ranges::replace(line, '\n', ' ');
  std::cerr << "veltro: " << line << '\n';
  return status;
}

} // namespace

int failure(std::string_view text) {
  return complain(1, text);
}

int usage_error(std::string_view text) {
  return complain(2, text);
}

int flushed(int status) {
  if (std::cout.flush())
    return status;
  pollfd reader{STDOUT_FILENO, 0, 0};
  if (poll(&reader, 1, 0) == 1 && (reader.revents & POLLERR) != 0)
    return 1;
  return failure("cannot write to standard output");
}

} // namespace veltro::tool
