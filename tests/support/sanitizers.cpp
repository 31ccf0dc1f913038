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

const char *__lsan_default_suppressions() {
  return
      // The runtime builds its trees of classes that await their +load while shared objects load.
      "leak:__objc_exec_class\n"
      // GNUstep copies method tables into its classes when they initialise; the Objective-C runtime
      // keeps them until the process ends.
      "leak:GSObjCAddMethods\n"
      "leak:GSObjCAddClassBehavior\n"
      "leak:class_copyMethodList\n"
      // Fontconfig keeps patterns for the process's life behind references that are no pointers.
      "leak:libfontconfig\n"
      // What the sanitizer asks about a thread that is just starting while the process ends.
      "leak:pthread_getattr_np\n";
}

} // extern "C"
