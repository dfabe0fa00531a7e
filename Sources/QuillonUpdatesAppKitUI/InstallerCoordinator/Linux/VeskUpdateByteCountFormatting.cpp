#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateByteCountFormatting.h"

#include "QuillonCore/Text/QuillonByteCountFormatter.h"

namespace quillon {

std::string systemFormattedByteCount(std::int64_t byteCount, std::string_view language) {
  return formattedFileByteCount(byteCount, language);
}

}  // namespace quillon
