#include "quiet.hpp"

#import <Foundation/Foundation.h>

namespace veltro::tool {

void leave_log_lines_out() {
  _NSLog_printf_handler = [](NSString * /*line*/) {};
}

} // namespace veltro::tool
