// The runtime of blocks. Follows clang's description of how it compiles blocks (Block-ABI-Apple),
// whose layout and flags are the compiler's. Debian's BlocksRuntime does not retain the objects
// that a block captures, and GNUstep's stand-in leaves blocks that capture none on the stack; this
// one stands before both. A block is an object that can be copied, retained and released by
// message, as properties and collections do. Weak captures and garbage collection are left out.

#include "frameworks/libSystem/blocks.hpp"

#import <Foundation/Foundation.h>

#include <atomic>
#include <cstdlib>
#include <cstring>

namespace {

// Of blocks and of __block variables alike.
constexpr int kReferenceCountMask = 0xffff;
constexpr int kNeedsFree = 1 << 24;
constexpr int kHasCopyDispose = 1 << 25;
constexpr int kIsGlobal = 1 << 28;

// What a helper made by the compiler says of the variable that it hands over.
constexpr int kFieldIsObject = 3;
constexpr int kFieldIsBlock = 7;
constexpr int kFieldIsByref = 8;
constexpr int kCalledForByref = 128;

struct Descriptor {
  unsigned long reserved;
  unsigned long size;
  void (*copy)(void *to, const void *from);
  void (*dispose)(const void *block);
};

struct Block {
  void *isa;
  int flags;
  int reserved;
  void (*invoke)(void *, ...);
  Descriptor *descriptor;
};

struct Byref {
  void *isa;
  Byref *forwarding;
  int flags;
  int size;
  void (*keep)(Byref *to, Byref *from);
  void (*destroy)(Byref *byref);
};

/// Changes the number of references by `change` and returns what it was. An object that was
/// referenced too often stays for ever.
int count_references(int &flags, int change) {
  const std::atomic_ref count(flags);
  int old = count.load();
  while ((old & kReferenceCountMask) != kReferenceCountMask &&
         !count.compare_exchange_weak(old, old + change)) {
  }
  return old & kReferenceCountMask;
}

/// A copy in the heap with so many references; null where memory ran out.
template <typename Object>
Object *copy_to_heap(const Object &from, std::size_t size, int references) {
  auto *const copy = static_cast<Object *>(std::malloc(size));
  if (copy != nullptr) {
    std::memcpy(static_cast<void *>(copy), &from, size);
    copy->flags = (from.flags & ~kReferenceCountMask) | kNeedsFree | references;
  }
  return copy;
}

/// The heap's copy of a __block variable, with one reference more.
Byref *keep_byref(Byref *on_stack) {
  Byref *const from = on_stack->forwarding;
  if ((from->flags & kNeedsFree) != 0) {
    count_references(from->flags, 1);
    return from;
  }
  // One reference is the caller's, one the scope's in which the variable was declared.
  Byref *const copy = copy_to_heap(*from, static_cast<std::size_t>(from->size), 2);
  if (copy == nullptr)
    return nullptr;
  copy->forwarding = copy;
  from->forwarding = copy;
  if ((copy->flags & kHasCopyDispose) != 0)
    copy->keep(copy, from);
  return copy;
}

void drop_byref(Byref *byref) {
  Byref *const variable = byref->forwarding;
  if ((variable->flags & kNeedsFree) == 0 || count_references(variable->flags, -1) != 1)
    return;
  if ((variable->flags & kHasCopyDispose) != 0)
    variable->destroy(variable);
  std::free(variable);
}

} // namespace

@interface VHBlock : NSObject
@end

// The compiler lets every block begin with the address of one of these symbols: all are the class
// that it has made of the above.
#define VH_NAME_CLASS(symbol)                                                                      \
  __asm__(".globl " #symbol "\n.type " #symbol ", %object\n.set " #symbol ", _OBJC_CLASS_VHBlock")
VH_NAME_CLASS(_NSConcreteStackBlock);
VH_NAME_CLASS(_NSConcreteMallocBlock);
VH_NAME_CLASS(_NSConcreteGlobalBlock);

namespace veltro::host {

void *copy_block(const void *block) {
  auto *const from = static_cast<Block *>(const_cast<void *>(block));
  if (from == nullptr || (from->flags & kIsGlobal) != 0)
    return from;
  if ((from->flags & kNeedsFree) != 0) {
    count_references(from->flags, 1);
    return from;
  }
  Block *const copy = copy_to_heap(*from, from->descriptor->size, 1);
  if (copy != nullptr && (copy->flags & kHasCopyDispose) != 0)
    copy->descriptor->copy(copy, from);
  return copy;
}

void release_block(const void *block) {
  auto *const released = static_cast<Block *>(const_cast<void *>(block));
  if (released == nullptr || (released->flags & kNeedsFree) == 0 ||
      count_references(released->flags, -1) != 1)
    return;
  if ((released->flags & kHasCopyDispose) != 0)
    released->descriptor->dispose(released);
  std::free(released);
}

} // namespace veltro::host

@implementation VHBlock

- (id)copyWithZone:(NSZone *)zone {
  return static_cast<id>(veltro::host::copy_block(self));
}

// As on the device, one on the stack stays where it is.
- (id)retain {
  auto *const block = static_cast<Block *>(static_cast<void *>(self));
  return (block->flags & kNeedsFree) != 0 ? [self copyWithZone:nullptr] : self;
}

- (oneway void)release {
  veltro::host::release_block(self);
}

- (NSUInteger)retainCount {
  return 1;
}

@end

extern "C" {

void *_Block_copy(const void *block) {
  return veltro::host::copy_block(block);
}

void _Block_release(const void *block) {
  veltro::host::release_block(block);
}

void _Block_object_assign(void *destination, const void *object, int flags) {
  auto *const variable = const_cast<void *>(object);
  auto *const to = static_cast<void **>(destination);
  if ((flags & kCalledForByref) != 0)
    *to = variable; // Objects in __block variables are not retained.
  else if ((flags & kFieldIsByref) != 0)
    *to = keep_byref(static_cast<Byref *>(variable));
  else if ((flags & kFieldIsBlock) == kFieldIsBlock)
    *to = _Block_copy(object);
  else if ((flags & kFieldIsObject) == kFieldIsObject)
    *to = [static_cast<id>(variable) retain];
}

void _Block_object_dispose(const void *object, int flags) {
  auto *const variable = const_cast<void *>(object);
  if ((flags & kCalledForByref) != 0)
    return;
  if ((flags & kFieldIsByref) != 0)
    drop_byref(static_cast<Byref *>(variable));
  else if ((flags & kFieldIsBlock) == kFieldIsBlock)
    _Block_release(object);
  else if ((flags & kFieldIsObject) == kFieldIsObject)
    [static_cast<id>(variable) release];
}

} // extern "C"
