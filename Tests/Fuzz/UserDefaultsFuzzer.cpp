// Takes any bytes for a settings file. Every key can be asked for as every type, and one more key can be set.

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>

#include "QuillonCore/Runtime/Linux/QuillonLinuxUserDefaults.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixFileManager.h"
#include "QuillonCore/Values/QuillonPropertyListCodec.h"

namespace {

using quillon::QuillonLinuxUserDefaults;
using quillon::QuillonPropertyListValue;

void require(bool condition) {
  if (!condition) std::abort();
}

/// A folder for this process, removed at its end.
class Folder {
 public:
  Folder() {
    std::string name = (std::filesystem::temp_directory_path() / "quillon-settings-XXXXXX").string();
    require(mkdtemp(name.data()) != nullptr);
    path = name;
  }
  ~Folder() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  std::filesystem::path path;
};

/// The settings that the file holds; none where it is damaged.
QuillonPropertyListValue::Dictionary settingsIn(std::string_view bytes) {
  try {
    const QuillonPropertyListValue list = quillon::readPropertyList(bytes);
    if (const auto* const settings = list.getIf<QuillonPropertyListValue::Dictionary>()) return *settings;
  } catch (const quillon::QuillonPropertyListError&) {  // NOLINT(bugprone-empty-catch): no settings
  }
  return {};
}

void requireConsistent(const QuillonLinuxUserDefaults& store, const std::string& key) {
  require(store.objectForKey(key).has_value());
  const auto text = store.stringForKey(key);
  const double real = store.doubleForKey(key);
  const std::int64_t integer = store.integerForKey(key);
  if (store.boolForKey(key)) require(text.has_value());
  if (!text) require(integer == 0 && real == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static constexpr const char* kAddedKey = "io.quillon.added";
  static const Folder folder;
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  std::ofstream(folder.path / "UserDefaults.plist", std::ios::binary | std::ios::trunc) << bytes;
  QuillonLinuxUserDefaults store(std::make_shared<quillon::QuillonPosixFileManager>(),
                                 quillon::QuillonURL::fileURL(folder.path.string()));

  const QuillonPropertyListValue::Dictionary settings = settingsIn(bytes);
  std::size_t asked = 0;
  for (const auto& entry : settings) {
    if (++asked > 20) break;  // each question reads the file
    requireConsistent(store, entry.first);
  }
  try {
    store.set(QuillonPropertyListValue(1), kAddedKey);
    require(store.integerForKey(kAddedKey) == 1);
    if (!settings.empty()) require(store.objectForKey(settings.begin()->first).has_value());
  } catch (const quillon::QuillonPropertyListError&) {
    require(!settings.empty());  // only what was there can have no place in a file
  } catch (const quillon::QuillonSystemError& error) {
    require(error.isPOSIX(EFBIG));
  }
  return 0;
}
