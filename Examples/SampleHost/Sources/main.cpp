// An application that updates itself: a window, a menu, and a SampleUpdater.
//
// SampleHost --version prints the version, without a display.

#include <cstdlib>
#include <exception>
#include <iostream>
#include <string_view>

#include "HostInformation.h"
#include "QuillonCore/Runtime/QuillonSystemServices.h"
#include "SampleApplication.h"

int main(int argumentCount, char** arguments) {
  try {
    const auto host = sample::HostInformation::ofRunningApplication(*quillon::makeSystemFileManager());
    if (argumentCount == 2 && std::string_view(arguments[1]) == "--version") {
      std::cout << host.name << ' ' << host.version << " (" << host.build << ")\n";
      return EXIT_SUCCESS;
    }
    return sample::runSampleApplication(host);
  } catch (const std::exception& failure) {
    std::cerr << failure.what() << '\n';
    return EXIT_FAILURE;
  }
}
