#pragma once

extern "C" {
#include <objc/message.h>
#include <objc/runtime.h>

/// What Darwin's compilers hand over for a message to super: the class that sends it, where GCC's
/// say the class above.
struct VeltroLoaderSuper {
  id receiver;
  Class sender;
};

/// Finds the method for a message to super; message_send_PROCESSOR.S calls it.
__attribute__((visibility("hidden"))) IMP veltro_loader_super_lookup(const VeltroLoaderSuper *super,
                                                                     SEL selector);
}
