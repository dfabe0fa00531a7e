#pragma once

#include <string>

namespace quillon::testing {

/// The identifier of an application that exists for one test; its settings are removed in the end.
class ScopedUserDefaults {
 public:
  ScopedUserDefaults();
  ~ScopedUserDefaults();
  ScopedUserDefaults(const ScopedUserDefaults&) = delete;
  ScopedUserDefaults& operator=(const ScopedUserDefaults&) = delete;

  [[nodiscard]] const std::string& identifier() const noexcept { return identifier_; }

 private:
  const std::string identifier_;
};

}  // namespace quillon::testing
