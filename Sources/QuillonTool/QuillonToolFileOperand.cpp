#include "QuillonTool/QuillonToolFileOperand.h"

#include <string>

#include "QuillonCore/Values/QuillonError.h"
#include "QuillonTool/QuillonToolUsageError.h"

namespace quillon {

QuillonURL fileOperand(const QuillonToolArguments& arguments, std::string_view name) {
  return fileAt(arguments.operands({name}).front(), name);
}

QuillonURL fileAt(std::string_view path, std::string_view name) {
  if (path.empty()) throw QuillonToolUsageError(std::string(name).append(" is an empty path; write where it is."));
  return QuillonURL::fileURL(path);
}

void requireBundle(const QuillonURL& bundle, const QuillonFileManaging& fileManager) {
  if (!fileManager.directoryExists(bundle)) throw QuillonError("There is no bundle at " + bundle.path());
}

}  // namespace quillon
