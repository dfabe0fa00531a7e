#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "QuillonCore/Values/QuillonPropertyListValue.h"

namespace quillon {

/// How files whose path matches a pattern are sealed.
struct ResourceRule {
  /// POSIX extended regular expression, searched in the path below the bundle's support folder.
  std::string pattern;
  double weight = 1;
  bool isOmitted = false;
  bool isOptional = false;
  bool isNested = false;
};

/// The rules of a resource seal, ready for matching. Matching changes nothing and may run on several threads.
class ResourceRules {
 public:
  /// Throws CodeSignatureError(invalidResourceRules) for a pattern that is no regular expression, or one that could
  /// take unreasonable time or memory: over 512 bytes, with repetition counts, back references or many `+` around each
  /// other.
  explicit ResourceRules(std::vector<ResourceRule> rules);
  ~ResourceRules();
  ResourceRules(ResourceRules&&) noexcept;
  ResourceRules& operator=(ResourceRules&&) noexcept;

  /// Rules of an envelope's `rules` or `rules2` dictionary. Throws CodeSignatureError(resourcesInvalid) for a wrong
  /// shape.
  [[nodiscard]] static ResourceRules fromPropertyList(const QuillonPropertyListValue& list);
  /// What signing uses; version 1 are the rules of the older file list. `hasResourcesFolder` says whether the bundle
  /// keeps its resources in a folder `Resources`, as all but flat ones do.
  [[nodiscard]] static ResourceRules standard(int version, bool hasResourcesFolder = true);

  /// The heaviest rule that matches `path`, or null.
  [[nodiscard]] const ResourceRule* find(const std::string& path) const;
  /// Whether `path` is among the sealed things.
  [[nodiscard]] bool includes(const std::string& path) const;

  [[nodiscard]] std::size_t count() const noexcept;
  [[nodiscard]] QuillonPropertyListValue propertyList() const;
  /// Whether the rules seal everything and omit nothing but what strict verification lets pass.
  [[nodiscard]] bool isStrict(int version, bool hasResourcesFolder = true) const;

 private:
  class Matcher;
  std::vector<Matcher> matchers_;  // heaviest first
};

}  // namespace quillon
