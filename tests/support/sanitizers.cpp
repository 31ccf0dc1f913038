// What the sanitizers are told in every test program and in the messenger. The runtime reads these
// before main.

extern "C" {

// Frame pointers are missing in the system's libraries: unwind with their tables, so that a
// suppression by name sees the whole stack. An allocation that no machine can meet fails, as it
// does without a sanitizer.
const char *__asan_default_options() {
  return "fast_unwind_on_malloc=0:malloc_context_size=40:allocator_may_return_null=1";
}

// Tests read what programs say on standard error.
const char *__lsan_default_options() {
  return "print_suppressions=0";
}

#pragma clang diagnostic ignored "-Wc23-extensions"
const char *__lsan_default_suppressions() {
  static const char list[] = {
#embed "../../platform/linux/lsan.supp" suffix(, 0)
  };
  return list;
}

} // extern "C"
