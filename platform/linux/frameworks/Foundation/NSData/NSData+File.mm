// -initWithContentsOfFile:. GNUstep measures the file before it reads it, and raises where the file
// grew or shrank in between; on the device a file that is being written is read as far as it goes.

#import <Foundation/Foundation.h>

#include "frameworks/Foundation/replace_method.hpp"
#include "machine/files/file.hpp"
#include "machine/text/utf8.hpp"

#include <sys/stat.h>

namespace {

id init_with_contents_of_file(NSData *self, SEL /*command*/, NSString *path) {
  if ([path length] != 0) {
    // Opening a pipe without a writer would wait.
    const veltro::host::File file(veltro::host::utf8_of(path), O_RDONLY | O_NONBLOCK);
    struct stat status{};
    if (file && fstat(file.number(), &status) == 0 && S_ISREG(status.st_mode))
      if (const auto text = veltro::host::read_all(file.number()))
        return [self initWithBytes:text->data() length:text->size()];
  }
  [self release];
  return nil;
}

} // namespace

VH_AT_LOAD(VHDataFile) {
  veltro::host::replace_method(objc_getClass("NSData"),
                               "initWithContentsOfFile:", init_with_contents_of_file);
}
