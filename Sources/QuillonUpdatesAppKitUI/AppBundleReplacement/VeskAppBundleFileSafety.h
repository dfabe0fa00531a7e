#pragma once

#include <optional>
#include <string_view>

#include "QuillonCore/Contracts/QuillonFileManaging.h"
#include "QuillonCore/Values/QuillonURL.h"

namespace quillon {

/// Checks that keep a bundle where it is looked for.
struct VeskAppBundleFileSafety {
  VeskAppBundleFileSafety() = delete;

  /// `candidate`, links resolved, when it is a folder with the extension "app" (in any letter case) inside `root`;
  /// absent when it has another extension or is no folder. Throws invalidArchive when it is a link, lies outside
  /// `root`, or cannot be looked at.
  [[nodiscard]] static std::optional<QuillonURL> realDirectoryAppBundle(const QuillonFileManaging& fileManager,
                                                                        const QuillonURL& candidate,
                                                                        const QuillonURL& root);

  /// Whether `bundle` is a real folder, no link, with the extension "app" (in any letter case: what the search in an
  /// archive finds must not be refused later). Any error answers false.
  [[nodiscard]] static bool isRealDirectoryAppBundle(const QuillonFileManaging& fileManager,
                                                     const QuillonURL& bundle) noexcept;

  /// Whether the absolute `path` is `root` or lies below it. Both are resolved already.
  [[nodiscard]] static bool contains(std::string_view root, std::string_view path) noexcept;
};

}  // namespace quillon
