#pragma once

#include <string_view>

namespace quillon {

/// Values of VeskUpdateFeedKeys::sku for the ways an application is distributed. Those of a direct download are the
/// host's own.
struct VeskUpdateFeedSKU {
  static constexpr std::string_view macAppStore = "mas";
  static constexpr std::string_view setapp = "setapp";
};

}  // namespace quillon
