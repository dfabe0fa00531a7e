#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/SystemdUnitName.h"

namespace quillon {
namespace {

bool mayStandInName(char c) noexcept {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == ':' || c == '-' ||
         c == '_' || c == '.';
}

}  // namespace

std::string systemdServiceName(std::string_view label) {
  static constexpr std::string_view kHex = "0123456789abcdef";
  std::string name;
  for (const char c : label) {
    const bool isLeadingPeriod = c == '.' && name.empty();
    if (mayStandInName(c) && !isLeadingPeriod) {
      name += c;
    } else {
      const auto byte = static_cast<unsigned char>(c);
      name.append("\\x").append(1, kHex[byte >> 4]).append(1, kHex[byte & 15]);
    }
  }
  return name + ".service";
}

}  // namespace quillon
