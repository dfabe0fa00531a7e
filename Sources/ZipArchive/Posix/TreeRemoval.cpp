#include "ZipArchive/Posix/TreeRemoval.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "QuillonCore/Runtime/Posix/QuillonPosixTreeWalk.h"
#include "QuillonCore/Values/QuillonError.h"

namespace quillon {
namespace {

class Remover : public QuillonPosixTreeVisitor {
 public:
  [[nodiscard]] bool needsStatus() const override { return false; }
  void enterDirectory(const QuillonPosixTreeItem& item) override { (void)item; }
  void visitItem(const QuillonPosixTreeItem& item) override { remove(item, 0); }
  void leaveDirectory(const QuillonPosixTreeItem& item) override { remove(item, AT_REMOVEDIR); }

 private:
  static void remove(const QuillonPosixTreeItem& item, int flags) {
    if (unlinkat(item.folder, item.name, flags) != 0 && errno != ENOENT) {
      throw QuillonSystemError::posix(errno, "remove", pathForMessages(item.folder, item.name));
    }
  }
};

}  // namespace

void removeTree(int folder, const std::string& name) {
  Remover remover;
  walkTree(folder, name.c_str(), name, remover);
}

}  // namespace quillon
