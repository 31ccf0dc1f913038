// -initWithContentsOfFile:. GNUstep measures the file before it reads it, and raises where the file
// grew or shrank in between; on the device a file that is being written is read as far as it goes.

#import <Foundation/Foundation.h>

#include "frameworks/Foundation/replace_method.hpp"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {

std::optional<std::string> read_rest(int file) {
  std::string text;
  std::array<char, 1 << 14> part;
  while (true) {
    const ssize_t count = read(file, part.data(), part.size());
    if (count == 0)
      return text;
    if (count > 0)
      text.append(part.data(), static_cast<std::size_t>(count));
    else if (errno != EINTR)
      return std::nullopt;
  }
}

std::optional<std::string> contents_of(const char *path) {
  // Opening a pipe without a writer would wait.
  const int file = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (file < 0)
    return std::nullopt;
  struct stat status{};
  std::optional<std::string> text;
  if (fstat(file, &status) == 0 && S_ISREG(status.st_mode))
    text = read_rest(file);
  close(file);
  return text;
}

id init_with_contents_of_file(NSData *self, SEL /*command*/, NSString *path) {
  const std::optional<std::string> text =
      [path length] != 0 ? contents_of([path fileSystemRepresentation]) : std::nullopt;
  if (text)
    return [self initWithBytes:text->data() length:text->size()];
  [self release];
  return nil;
}

} // namespace

@interface VHDataFile : NSObject
@end

@implementation VHDataFile

+ (void)load {
  veltro::host::replace_method(objc_getClass("NSData"),
                               "initWithContentsOfFile:", init_with_contents_of_file);
}

@end
