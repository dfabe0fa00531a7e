#pragma once

namespace quillon {

/// Says whether this process may replace a bundle in a folder that it cannot write by permission alone. From any
/// thread, several at once.
class VeskAppBundleReplacementPrivilegeChecking {
 public:
  virtual ~VeskAppBundleReplacementPrivilegeChecking() = default;

  [[nodiscard]] virtual bool processCanReplaceNonWritableDestination() const noexcept = 0;
};

}  // namespace quillon
