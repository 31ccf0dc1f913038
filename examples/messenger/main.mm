// The reference messenger: a messaging app that serves the add-on's requests. It runs as a process
// named WhatsApp, so that the library finds it, and keeps its conversations under the device root.

#include "messenger.hpp"

#import <VeltroHost/VeltroHost.h>

#include <iostream>

int main(int argc, char **argv) {
  using namespace veltro::messenger;
  ServerOptions options;
  std::string error;
  if (!read_options(std::span(argv, static_cast<std::size_t>(argc)).subspan(1), options, error)) {
    std::cerr << "WhatsApp: " << error << '\n';
    return 2;
  }
  std::string root;
  @autoreleasepool {
    root = [VHDeviceRoot() UTF8String];
  }
  return run_messenger(root, options);
}
