#include "QuillonCore/Runtime/QuillonBundleInformation.h"

#include <exception>

#include "QuillonCore/Values/QuillonPropertyListCodec.h"

namespace quillon {

std::optional<std::string> bundleInformationText(const QuillonFileManaging& fileManager, const QuillonURL& bundleURL,
                                                 std::string_view key) noexcept {
  try {
    const QuillonURL file = bundleURL.appendingPathComponent("Contents/Info.plist");
    const QuillonPropertyListValue list = readPropertyList(fileManager.contentsOfFile(file, kLargestBundleInformation));
    const QuillonPropertyListValue* const value = list.find(key);
    const auto* const text = value == nullptr ? nullptr : value->getIf<std::string>();
    return text == nullptr ? std::nullopt : std::optional(*text);
  } catch (const std::exception&) {  // a bundle that cannot be read says nothing about itself
    return std::nullopt;
  }
}

}  // namespace quillon
