/// Asked by AddressSanitizer when the program starts. GNUstep itself keeps what it makes once.
extern "C" const char* __asan_default_options() {  // NOLINT(bugprone-reserved-identifier): its name is given
  return "detect_leaks=0";
}
