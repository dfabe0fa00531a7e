#include "QuillonCore/Text/QuillonPathComponent.h"

namespace quillon {

bool isSinglePathComponent(std::string_view name) noexcept {
  return !name.empty() && name != "." && name != ".." && name.find('/') == std::string_view::npos &&
         name.find('\0') == std::string_view::npos;
}

}  // namespace quillon
