#include <utility>

#include "QuillonCore/Runtime/Linux/QuillonLinuxBaseDirectory.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixPlatform.h"

namespace quillon {

std::vector<QuillonURL> systemApplicationSupportDirectories() {
  if (auto folder = baseDirectory("XDG_DATA_HOME", ".local/share")) return {*std::move(folder)};
  return {};
}

}  // namespace quillon
