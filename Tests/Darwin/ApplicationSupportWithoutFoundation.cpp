#include "QuillonCore/Runtime/Posix/QuillonPosixPlatform.h"

namespace quillon {

// On a Mac Foundation answers this. It is all that the linked tests lack without frameworks.
std::vector<QuillonURL> systemApplicationSupportDirectories() {
  return {};
}

}  // namespace quillon
