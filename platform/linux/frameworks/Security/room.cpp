#include "frameworks/Security/room.hpp"

#include "frameworks/Security/file.hpp"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

namespace veltro::host::keychain {
namespace {

constexpr std::uint64_t little = std::uint64_t{16} << 20;

} // namespace

bool is_nearly_full(const std::string &folder) {
  struct statvfs disk{};
  return ::statvfs(folder.c_str(), &disk) == 0 &&
         std::uint64_t{disk.f_bavail} * disk.f_frsize < little;
}

bool reserve_room(const std::string &path, std::uint64_t bytes) {
  const File file(path, O_RDWR);
  struct stat status{};
  if (!file || ::fstat(file.number(), &status) != 0)
    return true;
  while (::fallocate(file.number(), FALLOC_FL_KEEP_SIZE, status.st_size,
                     static_cast<off_t>(bytes)) != 0)
    if (errno != EINTR)
      return errno != ENOSPC && errno != EDQUOT;
  return true;
}

} // namespace veltro::host::keychain
