// The installer's command line, one argument per line. Whatever is accepted survives the way through a request.

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "QuillonUpdateInstaller/QuillonUpdateInstallerArgumentError.h"
#include "QuillonUpdateInstaller/QuillonUpdateInstallerArguments.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::vector<std::string> arguments(1);
  for (const char c : std::string_view(reinterpret_cast<const char*>(data), size)) {
    if (c == '\n') {
      arguments.emplace_back();
    } else if (c != '\0') {
      arguments.back() += c;
    }
  }
  try {
    const auto parsed = quillon::QuillonUpdateInstallerArguments::parse(arguments);
    const auto request = parsed.replacementRequest();
    const auto again =
        quillon::QuillonUpdateInstallerArguments::parse(request.helperArguments(parsed.hostProcessIdentifier));
    if (again != parsed) std::abort();
  } catch (const quillon::QuillonUpdateInstallerArgumentError& error) {
    if (error.description().empty()) std::abort();
  }
  return 0;
}
