#include "CodeSignature/BundleLink.h"

#include <sys/stat.h>

#include <algorithm>
#include <deque>
#include <optional>
#include <string_view>

#include "CodeSignature/FolderReader.h"
#include "CodeSignature/ResourceScan.h"
#include "QuillonCore/Values/QuillonError.h"

namespace quillon {
namespace {

/// As many links as Linux follows in one path.
constexpr int kLinkLimit = 40;

std::deque<std::string> componentsOf(std::string_view path) {
  std::deque<std::string> components;
  while (!path.empty()) {
    const std::size_t slash = std::min(path.find('/'), path.size());
    if (slash > 0 && path.substr(0, slash) != ".") components.emplace_back(path.substr(0, slash));
    path.remove_prefix(std::min(slash + 1, path.size()));
  }
  return components;
}

std::string joined(const std::deque<std::string>& components) {
  std::string path;
  for (const std::string& component : components) path.append(path.empty() ? "" : "/").append(component);
  return path;
}

/// Where a relative link ends, below the outermost bundle; absent when it leaves it or leads nowhere.
std::optional<std::string> destinationOf(int outermost, const std::string& linkPath, const std::string& linkText) {
  std::deque<std::string> current = componentsOf(linkPath);
  if (current.empty()) return std::nullopt;
  current.pop_back();
  std::deque<std::string> pending = componentsOf(linkText);
  for (int links = 0; !pending.empty();) {
    const std::string component = std::move(pending.front());
    pending.pop_front();
    if (component == "..") {
      if (current.empty()) return std::nullopt;
      current.pop_back();
      continue;
    }
    current.push_back(component);
    const std::string path = joined(current);
    struct stat status {};
    if (fstatat(outermost, path.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) return std::nullopt;
    if (!S_ISLNK(status.st_mode)) {
      if (!S_ISDIR(status.st_mode) && !pending.empty()) return std::nullopt;
      continue;
    }
    const std::string text = readLink(outermost, path);
    if (++links > kLinkLimit || text.empty() || text.front() == '/') return std::nullopt;
    current.pop_back();
    const std::deque<std::string> inserted = componentsOf(text);
    pending.insert(pending.begin(), inserted.begin(), inserted.end());
  }
  return joined(current);
}

bool leadsToThePlatform(const std::string& text) {
  const bool hasPrefix = text.starts_with("/System/") || text.starts_with("/Library/");
  const auto components = componentsOf(text);
  struct stat status {};
  return hasPrefix && std::ranges::find(components, "..") == components.end() && stat(text.c_str(), &status) == 0;
}

bool seals(const SealedScope& scope, const std::string& path) {
  const std::string prefix = scope.support.empty() ? std::string() : scope.support + "/";
  if (!path.starts_with(prefix)) return false;
  const std::string relative = path.substr(prefix.size());
  if (relative == *scope.mainExecutable) return true;
  return !isExcludedFromSealing(relative, *scope.mainExecutable) && scope.rules->includes(relative);
}

}  // namespace

std::string joinedPath(const std::string& folder, const std::string& path) {
  return folder.empty() || path.empty() ? folder + path : folder + "/" + path;
}

bool isSealedDestination(const FileDescriptor& outermost, const std::string& linkPath, const std::string& linkText,
                         const std::vector<SealedScope>& scopes) {
  if (linkText.empty()) return false;
  if (linkText.front() == '/') return leadsToThePlatform(linkText);
  try {
    const auto destination = destinationOf(outermost.get(), linkPath, linkText);
    return destination &&
           std::ranges::any_of(scopes, [&](const SealedScope& scope) { return seals(scope, *destination); });
  } catch (const QuillonSystemError&) {
    return false;  // a link that cannot be read leads nowhere
  }
}

}  // namespace quillon
