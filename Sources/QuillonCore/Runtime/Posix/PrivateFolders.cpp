#include "QuillonCore/Runtime/Posix/PrivateFolders.h"

#include <cerrno>
#include <vector>

#include "QuillonCore/Values/QuillonError.h"

namespace quillon {

void createPrivateFolders(const QuillonFileManaging& fileManager, const QuillonURL& folder) {
  std::vector<QuillonURL> missing;
  for (QuillonURL url = folder; url.path() != "/" && !fileManager.itemStatus(url);
       url = url.deletingLastPathComponent()) {
    missing.push_back(url);
  }
  for (auto url = missing.rbegin(); url != missing.rend(); ++url) {
    try {
      (void)fileManager.createPrivateDirectory(*url);
    } catch (const QuillonSystemError& error) {
      if (!error.isPOSIX(EEXIST)) throw;  // else another process was quicker
    }
  }
}

}  // namespace quillon
