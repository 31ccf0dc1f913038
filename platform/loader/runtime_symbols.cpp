// What compiled code asks of Darwin's runtimes under names, or in ways, that Linux's do not know.

#include "message_send.hpp"
#include "setjmp_frames_arm.hpp"
#include "symbols.hpp"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
extern "C" {
#include <objc/message.h>
#include <objc/runtime.h>

void objc_setProperty(id self, SEL selector, ptrdiff_t offset, id value, BOOL atomic, BOOL copy);
void __gxx_personality_v0();
}

namespace veltro::loader {
namespace {

void set_property_atomic(id self, SEL selector, id value, ptrdiff_t offset) {
  objc_setProperty(self, selector, offset, value, YES, NO);
}

void set_property_nonatomic(id self, SEL selector, id value, ptrdiff_t offset) {
  objc_setProperty(self, selector, offset, value, NO, NO);
}

void set_property_atomic_copy(id self, SEL selector, id value, ptrdiff_t offset) {
  objc_setProperty(self, selector, offset, value, YES, YES);
}

void set_property_nonatomic_copy(id self, SEL selector, id value, ptrdiff_t offset) {
  objc_setProperty(self, selector, offset, value, NO, YES);
}

id send(id to, const char *name) {
  const SEL selector = sel_registerName(name);
  return reinterpret_cast<id (*)(id, SEL)>(objc_msg_lookup(to, selector))(to, selector);
}

void *push_autorelease_pool() {
  return send(reinterpret_cast<id>(objc_getClass("NSAutoreleasePool")), "new");
}

void pop_autorelease_pool(void *pool) {
  (void)send(static_cast<id>(pool), "release");
}

/// Everything is bound at once.
[[noreturn]] void bind_later() {
  (void)std::fputs("a Mach-O image asks to be bound later\n", stderr);
  std::abort();
}

int *error_number() {
  return &errno;
}

// The runtime's caches and vtables of Darwin, and the class of constant strings: images hold their
// addresses and nothing reads what is there.
void *unread[64];
auto stack_guard = uintptr_t(0x2f8d61a30b5ec700);

struct Entry {
  std::string_view name;
  void *address;
};

template <class T> void *address_of(T *function) {
  return reinterpret_cast<void *>(function);
}

} // namespace

void *runtime_symbol(std::string_view name) {
  static const Entry entries[]{
      {"_objc_msgSend", address_of(veltro_loader_send)},
      {"_objc_msgSendSuper2", address_of(veltro_loader_send_super)},
#ifndef __aarch64__
      {"_objc_msgSend_stret", address_of(veltro_loader_send_structure)},
      {"_objc_msgSendSuper2_stret", address_of(veltro_loader_send_super_structure)},
#endif
#ifdef __x86_64__
      {"_objc_msgSend_fpret", address_of(veltro_loader_send_long_double)},
#endif
      {"_objc_setProperty_atomic", address_of(set_property_atomic)},
      {"_objc_setProperty_nonatomic", address_of(set_property_nonatomic)},
      {"_objc_setProperty_atomic_copy", address_of(set_property_atomic_copy)},
      {"_objc_setProperty_nonatomic_copy", address_of(set_property_nonatomic_copy)},
      {"_objc_autoreleasePoolPush", address_of(push_autorelease_pool)},
      {"_objc_autoreleasePoolPop", address_of(pop_autorelease_pool)},
      {"__objc_empty_cache", unread},
      {"__objc_empty_vtable", unread},
      {"___CFConstantStringClassReference", unread},
#ifdef __arm__
      {"__Unwind_SjLj_Register", address_of(veltro_loader_register_frame)},
      {"__Unwind_SjLj_Unregister", address_of(veltro_loader_unregister_frame)},
      {"__Unwind_SjLj_Resume", address_of(veltro_loader_resume_unwinding)},
      {"___gxx_personality_sj0", unread},
#else
      {"___gxx_personality_v0", address_of(__gxx_personality_v0)},
#endif
      {"___stack_chk_guard", &stack_guard},
      {"___error", address_of(error_number)},
      {"dyld_stub_binder", address_of(bind_later)},
  };
  for (const Entry &entry : entries)
    if (entry.name == name)
      return entry.address;
  return nullptr;
}

} // namespace veltro::loader
