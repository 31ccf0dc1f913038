// What the sanitizers are told in the command-line tool, which tests run as it is.

// GNUstep's parsers of property lists and strings tables leave some strings behind. The tool ends
// after one action; what the library leaks is seen in the tests that call it.
extern "C" const char *__asan_default_options() {
  return "detect_leaks=0";
}
