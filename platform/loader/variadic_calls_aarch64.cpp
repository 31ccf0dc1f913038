#include "variadic_calls.hpp"

#ifdef __aarch64__

#include <algorithm>
#include <cstdarg>
#include <dlfcn.h>
extern "C" {
#include <objc/message.h>

// The entries, of variadic_calls_aarch64.S: each adds where the stack holds "..." to its arguments.
void veltro_loader_NSLog();
void veltro_loader_stringWithFormat();
void veltro_loader_initWithFormat();
void veltro_loader_stringByAppendingFormat();
void veltro_loader_appendFormat();
void veltro_loader_raise_format();
void veltro_loader_arrayWithObjects();
void veltro_loader_dictionaryWithObjectsAndKeys();
}

namespace veltro::loader::objc {
namespace {

struct Variadic {
  const char *name, *sent_as, *on;
  bool class_method;
  const char *types;
  void (*code)();
};

constexpr const char *kOne = "@24@0:8@16", *kOneNoResult = "v24@0:8@16", *kTwo = "v32@0:8@16@24";
const Variadic kVariadics[]{
    {"stringWithFormat:", "veltro_loader_stringWithFormat:", "NSString", true, kOne,
     veltro_loader_stringWithFormat},
    {"initWithFormat:", "veltro_loader_initWithFormat:", "NSString", false, kOne,
     veltro_loader_initWithFormat},
    {"stringByAppendingFormat:", "veltro_loader_stringByAppendingFormat:", "NSString", false, kOne,
     veltro_loader_stringByAppendingFormat},
    {"appendFormat:", "veltro_loader_appendFormat:", "NSMutableString", false, kOneNoResult,
     veltro_loader_appendFormat},
    {"raise:format:", "veltro_loader_raise:format:", "NSException", true, kTwo,
     veltro_loader_raise_format},
    {"arrayWithObjects:", "veltro_loader_arrayWithObjects:", "NSArray", true, kOne,
     veltro_loader_arrayWithObjects},
    {"dictionaryWithObjectsAndKeys:", "veltro_loader_dictionaryWithObjectsAndKeys:", "NSDictionary",
     true, kOne, veltro_loader_dictionaryWithObjectsAndKeys},
};

constexpr std::string_view kUntakenSelectors[]{
    "initWithObjects:",
    "initWithObjectsAndKeys:",
    "setWithObjects:",
    "orderedSetWithObjects:",
    "predicateWithFormat:",
    "localizedStringWithFormat:",
    "initWithFormat:locale:",
    "deferredLocalizedIntentsStringWithFormat:",
    "handleFailureInFunction:file:lineNumber:description:",
    "handleFailureInMethod:object:file:lineNumber:description:",
};
constexpr std::string_view kUntakenFunctions[]{
    "_printf",   "_fprintf",
    "_sprintf",  "_snprintf",
    "_asprintf", "_dprintf",
    "_scanf",    "_fscanf",
    "_sscanf",   "_open",
    "_openat",   "_fcntl",
    "_ioctl",    "_syslog",
    "_execl",    "_execlp",
    "_execle",   "_CFStringCreateWithFormat",
    "_sem_open", "_CFStringAppendFormat",
};

template <class Result = id, class... Arguments>
Result send(id to, const char *name, Arguments... arguments) {
  const SEL selector = sel_registerName(name);
  void *const code = reinterpret_cast<void *>(objc_msg_lookup(to, selector));
  return reinterpret_cast<Result (*)(id, SEL, Arguments...)>(code)(to, selector, arguments...);
}

id class_named(const char *name) {
  return reinterpret_cast<id>(objc_getClass(name));
}

/// A list that is read only from the stack, since no registers are left to it.
std::va_list *list_of(void *slots, std::va_list *list) {
  struct {
    void *stack, *general_end, *vector_end;
    int general_offset, vector_offset;
  } const on_stack{slots, nullptr, nullptr, 0, 0};
  static_assert(sizeof on_stack == sizeof *list);
  std::memcpy(list, &on_stack, sizeof on_stack);
  return list;
}

id init_with_format(id fresh, id format, void *slots) {
  std::va_list list;
  const SEL selector = sel_registerName("initWithFormat:arguments:");
  const IMP code = objc_msg_lookup(fresh, selector);
  return reinterpret_cast<id (*)(id, SEL, id, std::va_list)>(code)(fresh, selector, format,
                                                                   *list_of(slots, &list));
}

id string_with_format(id of_class, id format, void *slots) {
  return send(init_with_format(send(of_class, "alloc"), format, slots), "autorelease");
}

id plain_format() {
  static const id format = send(
      send<id, const char *>(class_named("NSString"), "stringWithUTF8String:", "%@"), "retain");
  return format;
}

} // namespace

extern "C" {

/// The line is put together here and handed to whichever NSLog comes first: a program may have its
/// own.
[[gnu::used]] void veltro_loader_NSLog_slots(id format, void *slots) {
  static auto *const log = reinterpret_cast<void (*)(id, ...)>(dlsym(RTLD_DEFAULT, "NSLog"));
  const id line = init_with_format(send(class_named("NSString"), "alloc"), format, slots);
  log(plain_format(), line);
  send(line, "release");
}

[[gnu::used]] id veltro_loader_stringWithFormat_slots(id self, SEL, id format, void *slots) {
  return string_with_format(self, format, slots);
}

[[gnu::used]] id veltro_loader_initWithFormat_slots(id self, SEL, id format, void *slots) {
  return init_with_format(self, format, slots);
}

[[gnu::used]] id veltro_loader_stringByAppendingFormat_slots(id self, SEL, id format, void *slots) {
  return send(
      self, "stringByAppendingString:", string_with_format(class_named("NSString"), format, slots));
}

[[gnu::used]] void veltro_loader_appendFormat_slots(id self, SEL, id format, void *slots) {
  send<void>(self, "appendString:", string_with_format(class_named("NSString"), format, slots));
}

[[gnu::used]] void veltro_loader_raise_format_slots(id self, SEL, id name, id format, void *slots) {
  const id reason = string_with_format(class_named("NSString"), format, slots);
  const SEL selector = sel_registerName("raise:format:");
  void *const code = reinterpret_cast<void *>(objc_msg_lookup(self, selector));
  reinterpret_cast<void (*)(id, SEL, id, id, ...)>(code)(self, selector, name, plain_format(),
                                                         reason);
}

[[gnu::used]] id veltro_loader_arrayWithObjects_slots(id self, SEL, id first, id *slots) {
  std::vector<id> objects;
  for (id one = first; one; one = *slots++)
    objects.push_back(one);
  return send<id, id *, unsigned long>(self, "arrayWithObjects:count:", objects.data(),
                                       objects.size());
}

[[gnu::used]] id veltro_loader_dictionaryWithObjectsAndKeys_slots(id self, SEL, id first,
                                                                  id *slots) {
  std::vector<id> objects, keys;
  for (id one = first; one; one = *slots++) {
    objects.push_back(one);
    keys.push_back(*slots++);
  }
  return send<id, id *, id *, unsigned long>(
      self, "dictionaryWithObjects:forKeys:count:", objects.data(), keys.data(), keys.size());
}
}

void check_variadic_calls(const std::vector<Import> &imports, const Metadata &metadata) {
  for (const Import &import : imports)
    if (std::ranges::find(kUntakenFunctions, import.name) != std::end(kUntakenFunctions))
      throw Unloadable("calls the variadic function " + std::string(import.name));
  for (const Selector &selector : metadata.selectors)
    if (std::ranges::find(kUntakenSelectors, selector.name) != std::end(kUntakenSelectors))
      throw Unloadable("sends the variadic message " + std::string(selector.name));
}

SEL selector_to_send(const char *name) {
  for (const Variadic &variadic : kVariadics) {
    if (std::string_view(variadic.name) != name)
      continue;
    const SEL selector = sel_registerTypedName(variadic.sent_as, variadic.types);
    const ::Class of = objc_getClass(variadic.on);
    class_addMethod(variadic.class_method ? object_getClass(reinterpret_cast<id>(of)) : of,
                    selector, reinterpret_cast<IMP>(variadic.code), variadic.types);
    return selector;
  }
  return sel_registerName(name);
}

void *variadic_function(std::string_view name) {
  return name == "_NSLog" ? reinterpret_cast<void *>(veltro_loader_NSLog) : nullptr;
}

} // namespace veltro::loader::objc

#endif
