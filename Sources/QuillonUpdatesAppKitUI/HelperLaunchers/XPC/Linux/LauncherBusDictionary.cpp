#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Linux/LauncherBusDictionary.h"

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>
#include <utility>

#include "QuillonCore/Values/PropertyListCodec/PropertyListText.h"

namespace quillon {
namespace {

using Dictionary = QuillonPropertyListValue::Dictionary;

bool canBeText(std::string_view text) noexcept {
  return text.find('\0') == std::string_view::npos && !firstByteNotUTF8(text);
}

bool isPlain(const QuillonPropertyListValue& value) noexcept {
  if (const auto* const text = value.getIf<std::string>()) return canBeText(*text);
  return value.getIf<bool>() != nullptr || value.getIf<std::int64_t>() != nullptr || value.getIf<double>() != nullptr;
}

std::size_t textLength(const QuillonPropertyListValue& value) noexcept {
  const auto* const text = value.getIf<std::string>();
  return text == nullptr ? 0 : text->size();
}

int appendEntry(sd_bus_message* message, const char* key, const QuillonPropertyListValue& value) noexcept {
  if (const auto* const text = value.getIf<std::string>()) {
    return sd_bus_message_append(message, "{sv}", key, "s", text->c_str());
  }
  if (const auto* const boolean = value.getIf<bool>()) {
    return sd_bus_message_append(message, "{sv}", key, "b", static_cast<int>(*boolean));
  }
  if (const auto* const integer = value.getIf<std::int64_t>()) {
    return sd_bus_message_append(message, "{sv}", key, "x", *integer);
  }
  if (const auto* const real = value.getIf<double>()) return sd_bus_message_append(message, "{sv}", key, "d", *real);
  return -EINVAL;
}

/// Reads one dictionary, stopping at the first thing that has no place in it.
class DictionaryReader {
 public:
  explicit DictionaryReader(sd_bus_message* message) noexcept : message_(message) {}

  std::optional<Dictionary> read() {
    if (sd_bus_message_enter_container(message_, SD_BUS_TYPE_ARRAY, "{sv}") <= 0) return std::nullopt;
    int entered = 0;
    while ((entered = sd_bus_message_enter_container(message_, SD_BUS_TYPE_DICT_ENTRY, "sv")) > 0) {
      if (!readEntry() || sd_bus_message_exit_container(message_) < 0) return std::nullopt;
    }
    if (entered < 0) return std::nullopt;
    return std::move(dictionary_);
  }

 private:
  bool readEntry() {
    std::optional<std::string> key = readText();
    if (!key || dictionary_.size() == kLargestLauncherBusDictionaryCount) return false;
    std::optional<QuillonPropertyListValue> value = readVariant();
    return value && dictionary_.try_emplace(std::move(*key), std::move(*value)).second;
  }

  std::optional<QuillonPropertyListValue> readVariant() {
    const char* contents = nullptr;
    if (sd_bus_message_peek_type(message_, nullptr, &contents) <= 0 || std::strlen(contents) != 1) return std::nullopt;
    if (sd_bus_message_enter_container(message_, SD_BUS_TYPE_VARIANT, contents) <= 0) return std::nullopt;
    std::optional<QuillonPropertyListValue> value = readValue(*contents);
    if (!value || sd_bus_message_exit_container(message_) < 0) return std::nullopt;
    return value;
  }

  std::optional<QuillonPropertyListValue> readValue(char type) {
    switch (type) {
      case SD_BUS_TYPE_STRING:
        if (auto text = readText()) return QuillonPropertyListValue(std::move(*text));
        return std::nullopt;
      case SD_BUS_TYPE_BOOLEAN:
        // sd-bus stores a Boolean as int.
        if (const auto value = readBasic<int>(type)) return QuillonPropertyListValue(*value != 0);
        return std::nullopt;
      case SD_BUS_TYPE_DOUBLE:
        if (const auto value = readBasic<double>(type)) return QuillonPropertyListValue(*value);
        return std::nullopt;
      case SD_BUS_TYPE_BYTE:
        return readInteger<std::uint8_t>(type);
      case SD_BUS_TYPE_INT16:
        return readInteger<std::int16_t>(type);
      case SD_BUS_TYPE_UINT16:
        return readInteger<std::uint16_t>(type);
      case SD_BUS_TYPE_INT32:
        return readInteger<std::int32_t>(type);
      case SD_BUS_TYPE_UINT32:
        return readInteger<std::uint32_t>(type);
      case SD_BUS_TYPE_INT64:
        return readInteger<std::int64_t>(type);
      case SD_BUS_TYPE_UINT64:
        return readInteger<std::uint64_t>(type);
      default:
        return std::nullopt;
    }
  }

  std::optional<std::string> readText() {
    // sd-bus has checked that it is UTF-8 and ends at its first NUL.
    const auto text = readBasic<const char*>(SD_BUS_TYPE_STRING);
    if (!text) return std::nullopt;
    const std::string_view view(*text);
    if (view.size() > kLargestLauncherBusDictionaryText - textLength_) return std::nullopt;
    textLength_ += view.size();
    return std::string(view);
  }

  template <typename Integer>
  std::optional<QuillonPropertyListValue> readInteger(char type) {
    const auto value = readBasic<Integer>(type);
    if (!value || !std::in_range<std::int64_t>(*value)) return std::nullopt;
    return QuillonPropertyListValue(static_cast<std::int64_t>(*value));
  }

  template <typename T>
  std::optional<T> readBasic(char type) {
    T value{};
    if (sd_bus_message_read_basic(message_, type, &value) <= 0) return std::nullopt;
    return value;
  }

  sd_bus_message* message_;
  std::size_t textLength_ = 0;
  Dictionary dictionary_;
};

}  // namespace

bool fitsLauncherBus(const Dictionary& dictionary) noexcept {
  if (dictionary.size() > kLargestLauncherBusDictionaryCount) return false;
  std::size_t length = 0;
  for (const auto& [key, value] : dictionary) {
    if (!canBeText(key) || !isPlain(value)) return false;
    length += key.size() + textLength(value);
  }
  return length <= kLargestLauncherBusDictionaryText;
}

int appendLauncherBusDictionary(sd_bus_message* message, const Dictionary& dictionary) noexcept {
  int result = sd_bus_message_open_container(message, SD_BUS_TYPE_ARRAY, "{sv}");
  for (auto entry = dictionary.begin(); result >= 0 && entry != dictionary.end(); ++entry) {
    result = appendEntry(message, entry->first.c_str(), entry->second);
  }
  return result < 0 ? result : sd_bus_message_close_container(message);
}

std::optional<Dictionary> readLauncherBusDictionary(sd_bus_message* message) {
  if (sd_bus_message_has_signature(message, kLauncherBusDictionarySignature) <= 0) return std::nullopt;
  return DictionaryReader(message).read();
}

}  // namespace quillon
