#include "QuillonCore/Runtime/Linux/QuillonLinuxBaseDirectory.h"

#include <pwd.h>
#include <unistd.h>

#include <array>
#include <cstdlib>

namespace quillon {
namespace {

bool isAbsolute(const char* path) noexcept {
  return path != nullptr && path[0] == '/';
}

std::optional<QuillonURL> homeOfUserDatabase() {
  passwd record{};
  passwd* found = nullptr;
  std::array<char, 16384> storage{};
  if (getpwuid_r(geteuid(), &record, storage.data(), storage.size(), &found) != 0 || found == nullptr) {
    return std::nullopt;
  }
  if (!isAbsolute(found->pw_dir)) return std::nullopt;
  return QuillonURL::fileURL(found->pw_dir);
}

}  // namespace

std::optional<QuillonURL> baseDirectory(const char* name, std::string_view belowHome,
                                        const QuillonEnvironmentLookup& environment) {
  if (const char* const folder = environment(name); isAbsolute(folder)) return QuillonURL::fileURL(folder);
  const char* const home = environment("HOME");
  const auto homeURL = isAbsolute(home) ? QuillonURL::fileURL(home) : homeOfUserDatabase();
  if (!homeURL) return std::nullopt;
  return homeURL->appendingPathComponent(belowHome);
}

std::optional<QuillonURL> baseDirectory(const char* name, std::string_view belowHome) {
  return baseDirectory(name, belowHome, [](const char* variable) -> const char* {
    return geteuid() == 0 ? nullptr : secure_getenv(variable);
  });
}

}  // namespace quillon
