#pragma once

#include <string_view>

namespace quillon {

/// Keys of the reply that says how a launch ended.
struct VeskAppBundleXPCReplacementResultKeys {
  static constexpr std::string_view result = "result";
  static constexpr std::string_view phase = "phase";
  static constexpr std::string_view errorDomain = "errorDomain";
  static constexpr std::string_view errorCode = "errorCode";
  static constexpr std::string_view errorDescription = "errorDescription";
};

}  // namespace quillon
