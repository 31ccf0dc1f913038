#include "whole_file.hpp"

#include "descriptor.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace veltro::tool {
namespace {

std::string error_text() {
  return std::strerror(errno);
}

std::string write_to(int descriptor, std::span<const std::uint8_t> bytes) {
  return write_all(descriptor, bytes) ? "" : error_text();
}

mode_t permissions_of_a_new_file() {
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

} // namespace

std::string read_whole_file(const std::string &path, LongestFile longest,
                            std::vector<std::uint8_t> &bytes) {
  const Descriptor file = open_for_reading(path);
  if (file.number() < 0)
    return error_text();
  struct stat facts{};
  if (fstat(file.number(), &facts) == 0 && S_ISREG(facts.st_mode))
    bytes.reserve(std::min(longest.bytes, static_cast<std::size_t>(facts.st_size)) + 1);
  constexpr std::size_t kBlock = 65536;
  for (;;) {
    const std::size_t had = bytes.size();
    const std::size_t allowed = longest.bytes - had;
    const std::size_t reserved = bytes.capacity() - had;
    const std::size_t space = std::min(
        {kBlock, reserved > 0 ? reserved : kBlock, allowed < kBlock ? allowed + 1 : kBlock});
    bytes.resize(had + space);
    const ssize_t count = read(file.number(), &bytes[had], space);
    bytes.resize(had + static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    if (count == 0)
      return "";
    if (count < 0 && errno != EINTR)
      return error_text();
    if (bytes.size() > longest.bytes)
      return longest.excess;
  }
}

std::string write_whole_file(const std::string &path, std::span<const std::uint8_t> bytes) {
  if (path == "-")
    return write_to(STDOUT_FILENO, bytes);
  // What is no file (a pipe, a device) cannot be replaced.
  struct stat facts{};
  if (stat(path.c_str(), &facts) == 0 && !S_ISREG(facts.st_mode)) {
    const Descriptor file(open(path.c_str(), O_WRONLY | O_CLOEXEC));
    return file.number() < 0 ? error_text() : write_to(file.number(), bytes);
  }
  std::string temporary = path + ".XXXXXX";
  const Descriptor file(mkostemp(temporary.data(), O_CLOEXEC));
  if (file.number() < 0)
    return error_text();
  std::string problem = write_to(file.number(), bytes);
  static const mode_t permissions = permissions_of_a_new_file();
  if (problem.empty() && (fchmod(file.number(), permissions) != 0 ||
                          std::rename(temporary.c_str(), path.c_str()) != 0))
    problem = error_text();
  if (!problem.empty())
    unlink(temporary.c_str());
  return problem;
}

} // namespace veltro::tool
