#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string_view>

#include "QuillonCore/Contracts/QuillonFileManaging.h"
#include "QuillonCore/Contracts/QuillonKeyValueStoring.h"

namespace quillon {

/// The settings of one application and user: a binary property list in a folder of the application's own.
///
///   <folder>/UserDefaults.plist           the settings; a property list of any format is read
///   <folder>/UserDefaults.plist.damaged   what was there, no dictionary or too large, when settings were last written
///   <folder>/UserDefaults.lock            held by whoever writes
///
/// Every call reads the file, so that it sees what other processes wrote. A change waits for its turn, reads the file
/// and writes all of it with one key changed, through another file and a rename. The folder is made, for its user
/// alone, when there is something to write. A symbolic link at the place of the file is not followed.
class QuillonLinuxUserDefaults final : public QuillonKeyValueStoring {
 public:
  /// A file that is larger counts as damaged, and none is made. Bounds the memory that a hostile file takes.
  static constexpr std::size_t kMaximumFileSize = std::size_t{4} << 20;

  QuillonLinuxUserDefaults(std::shared_ptr<const QuillonFileManaging> fileManager, const QuillonURL& folder);

  /// The folder for the settings of an application below the user's folder for configuration.
  /// Throws QuillonSystemError EINVAL for an identifier that is no single path component.
  [[nodiscard]] static QuillonURL folderForBundleIdentifier(std::string_view bundleIdentifier,
                                                            const QuillonURL& configurationFolder);

  [[nodiscard]] bool boolForKey(std::string_view key) const override;
  [[nodiscard]] std::optional<std::string> stringForKey(std::string_view key) const override;
  [[nodiscard]] std::int64_t integerForKey(std::string_view key) const override;
  [[nodiscard]] double doubleForKey(std::string_view key) const override;
  [[nodiscard]] std::optional<QuillonPropertyListValue> objectForKey(std::string_view key) const override;
  void set(const std::optional<QuillonPropertyListValue>& value, std::string_view key) override;
  void removeObject(std::string_view key) override;

 private:
  struct Contents {
    QuillonPropertyListValue::Dictionary settings;
    bool isDamaged = false;
  };
  /// Answers whether there is something to write.
  using Change = std::function<bool(QuillonPropertyListValue::Dictionary&)>;

  [[nodiscard]] Contents contents() const;
  void change(const Change& change) const;
  void write(QuillonPropertyListValue::Dictionary settings, bool isDamaged) const;
  void moveDamagedFileAside() const;

  std::shared_ptr<const QuillonFileManaging> fileManager_;
  QuillonURL folder_;
  QuillonURL file_;
  QuillonURL damagedFile_;
  QuillonURL lockFile_;
};

}  // namespace quillon
