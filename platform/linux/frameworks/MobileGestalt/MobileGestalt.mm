// MGCopyAnswer: the device's identifier and its serial number, which are the machine's. Every other
// question has no value. The library is private and undocumented; the call's shape is that of the
// public interface descriptions of it.

#include <MobileGestalt.h>

#include "machine/device/machine.hpp"
#include "machine/text/utf8.hpp"

#import <Foundation/Foundation.h>

extern "C" CFTypeRef MGCopyAnswer(CFStringRef question) {
  NSString *const asked = reinterpret_cast<NSString *>(const_cast<__CFString *>(question));
  std::string value;
  if ([asked isEqualToString:@"UniqueDeviceID"])
    value = veltro::host::machine_identifier();
  else if ([asked isEqualToString:@"SerialNumber"])
    value = veltro::host::machine_serial_number();
  if (value.empty())
    return nullptr;
  return reinterpret_cast<CFTypeRef>([veltro::host::string_of(value) retain]);
}
