#pragma once

#include <sys/stat.h>

#include <string>
#include <string_view>

namespace quillon {

/// One item met on a walk. The pointers are valid during the call only.
struct QuillonPosixTreeItem {
  /// The folder around the item, open.
  int folder;
  const char* name;
  const struct stat* status;
};

/// What a walk does with what it meets. An exception ends the walk.
class QuillonPosixTreeVisitor {
 public:
  virtual ~QuillonPosixTreeVisitor() = default;
  /// Whether it looks at more of an item that is no folder than the type bits of `st_mode`. When not, the file system
  /// is not asked for what the folder's listing says already.
  [[nodiscard]] virtual bool needsStatus() const { return true; }
  /// A folder, before it is opened and its items are visited.
  virtual void enterDirectory(const QuillonPosixTreeItem& item) = 0;
  /// A folder that cannot be opened, `code` being the errno value. True to pass over it; the walk ends with the error
  /// otherwise.
  virtual bool passOverUnopenableDirectory(const QuillonPosixTreeItem& item, int code) {
    (void)item;
    (void)code;
    return false;
  }
  /// Anything that is no folder.
  virtual void visitItem(const QuillonPosixTreeItem& item) = 0;
  /// A folder, after all its items.
  virtual void leaveDirectory(const QuillonPosixTreeItem& item) = 0;
};

/// Walks a tree by descriptors, following no link and holding two descriptors at any depth. Items that vanish while the
/// walk goes on are passed over.
///
/// `folder`/`name` is the root, which is visited too. `path` is the root's path, for errors. Throws QuillonSystemError;
/// a folder that is moved away during the walk ends it with ESTALE.
void walkTree(int folder, const char* name, std::string_view path, QuillonPosixTreeVisitor& visitor);

/// Path of an open folder's item for messages: as far as the system knows it.
[[nodiscard]] std::string pathForMessages(int folder, std::string_view name);

}  // namespace quillon
