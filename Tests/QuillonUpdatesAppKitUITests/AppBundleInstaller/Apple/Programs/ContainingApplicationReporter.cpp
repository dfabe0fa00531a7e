// Prints the path of the application that contains this program, or "none".

#include <iostream>

#include "QuillonUpdatesAppKitUI/AppBundleInstaller/VeskAppBundleContainingApplication.h"

int main() {
  const auto application = quillon::defaultContainingApplicationURL();
  std::cout << (application ? application->path() : "none") << '\n';
}
