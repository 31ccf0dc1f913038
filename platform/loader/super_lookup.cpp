#include "super_lookup.hpp"

IMP veltro_loader_super_lookup(const VeltroLoaderSuper *super, SEL selector) {
  struct objc_super above = {super->receiver, class_getSuperclass(super->sender)};
  return objc_msg_lookup_super(&above, selector);
}
