#include "QuillonCore/Runtime/Linux/QuillonLinuxUserDefaults.h"

#include <cerrno>
#include <string>
#include <utility>

#include "QuillonCore/Runtime/Posix/PrivateFolders.h"
#include "QuillonCore/Runtime/Posix/QuillonFileLock.h"
#include "QuillonCore/Values/QuillonError.h"
#include "QuillonCore/Values/QuillonPropertyListCodec.h"
#include "QuillonCore/Values/QuillonPropertyListDocument.h"
#include "QuillonCore/Values/SettingConversion.h"

namespace quillon {
namespace {

using Dictionary = QuillonPropertyListValue::Dictionary;

bool isOnePathComponent(std::string_view name) noexcept {
  static constexpr std::string_view kSeparators("/\0", 2);
  return !name.empty() && name != "." && name != ".." && name.find_first_of(kSeparators) == std::string_view::npos;
}

/// Throws for a list that could not be read back, such as one nested too deeply.
std::string encoded(const QuillonPropertyListValue& settings, const QuillonURL& file) {
  std::string bytes = writeBinaryPropertyList(settings);
  if (bytes.size() > QuillonLinuxUserDefaults::kMaximumFileSize) {
    throw QuillonSystemError::posix(EFBIG, "write", file.path());
  }
  (void)QuillonPropertyListDocument::borrowing(bytes);
  return bytes;
}

}  // namespace

QuillonLinuxUserDefaults::QuillonLinuxUserDefaults(std::shared_ptr<const QuillonFileManaging> fileManager,
                                                   const QuillonURL& folder)
    : fileManager_(std::move(fileManager)),
      folder_(folder),
      file_(folder.appendingPathComponent("UserDefaults.plist")),
      damagedFile_(folder.appendingPathComponent("UserDefaults.plist.damaged")),
      lockFile_(folder.appendingPathComponent("UserDefaults.lock")) {}

QuillonURL QuillonLinuxUserDefaults::folderForBundleIdentifier(std::string_view bundleIdentifier,
                                                               const QuillonURL& configurationFolder) {
  if (!isOnePathComponent(bundleIdentifier)) {
    throw QuillonSystemError::posix(EINVAL, "find the settings of", bundleIdentifier);
  }
  return configurationFolder.appendingPathComponent(bundleIdentifier);
}

bool QuillonLinuxUserDefaults::boolForKey(std::string_view key) const {
  const auto value = objectForKey(key);
  return value && boolOfSetting(*value);
}

std::optional<std::string> QuillonLinuxUserDefaults::stringForKey(std::string_view key) const {
  const auto value = objectForKey(key);
  return value ? stringOfSetting(*value) : std::nullopt;
}

std::int64_t QuillonLinuxUserDefaults::integerForKey(std::string_view key) const {
  const auto value = objectForKey(key);
  return value ? integerOfSetting(*value) : 0;
}

double QuillonLinuxUserDefaults::doubleForKey(std::string_view key) const {
  const auto value = objectForKey(key);
  return value ? doubleOfSetting(*value) : 0;
}

std::optional<QuillonPropertyListValue> QuillonLinuxUserDefaults::objectForKey(std::string_view key) const {
  // No lock: the file is only ever replaced as a whole.
  try {
    const QuillonPropertyListDocument document(fileManager_->contentsOfFile(file_, kMaximumFileSize));
    const auto found = document.root().find(key);
    if (found) return found->toValue();
  } catch (const QuillonError&) {  // NOLINT(bugprone-empty-catch): what cannot be read is empty
  }
  return std::nullopt;
}

void QuillonLinuxUserDefaults::set(const std::optional<QuillonPropertyListValue>& value, std::string_view key) {
  if (!value) return removeObject(key);
  createPrivateFolders(*fileManager_, folder_);
  change([&](Dictionary& settings) {
    const auto found = settings.find(key);
    if (found != settings.end() && found->second == *value) return false;
    settings.insert_or_assign(std::string(key), *value);
    return true;
  });
}

void QuillonLinuxUserDefaults::removeObject(std::string_view key) {
  if (!fileManager_->itemStatus(file_)) return;
  change([&](Dictionary& settings) {
    const auto found = settings.find(key);
    if (found == settings.end()) return false;
    settings.erase(found);
    return true;
  });
}

void QuillonLinuxUserDefaults::change(const Change& change) const {
  const QuillonFileLock lock(lockFile_);
  auto [settings, isDamaged] = contents();
  if (change(settings)) write(std::move(settings), isDamaged);
}

/// Throws where reading fails for another reason than the file itself: what is not known must not be overwritten.
QuillonLinuxUserDefaults::Contents QuillonLinuxUserDefaults::contents() const {
  try {
    QuillonPropertyListValue list = readPropertyList(fileManager_->contentsOfFile(file_, kMaximumFileSize));
    if (auto* const settings = list.getIf<Dictionary>()) return {.settings = std::move(*settings), .isDamaged = false};
    return {.settings = {}, .isDamaged = true};
  } catch (const QuillonPropertyListError&) {
    return {.settings = {}, .isDamaged = true};
  } catch (const QuillonSystemError& error) {
    if (error.isPOSIX(ENOENT)) return {};
    if (error.isPOSIX(EFBIG)) return {.settings = {}, .isDamaged = true};
    throw;
  }
}

void QuillonLinuxUserDefaults::write(Dictionary settings, bool isDamaged) const {
  const std::string bytes = encoded(QuillonPropertyListValue(std::move(settings)), file_);
  if (isDamaged) moveDamagedFileAside();
  fileManager_->writeFileAtomically(file_, bytes);
}

void QuillonLinuxUserDefaults::moveDamagedFileAside() const {
  // One is kept, so that a program that damages its file again and again does not fill the disk.
  const auto earlier = fileManager_->itemStatus(damagedFile_);
  if (earlier && earlier->type != QuillonFileType::directory) fileManager_->removeItem(damagedFile_);
  fileManager_->moveItem(file_, damagedFile_);
}

}  // namespace quillon
