#include "QuillonTool/QuillonToolFeedFile.h"

#include "QuillonCore/Values/QuillonError.h"
#include "QuillonTool/QuillonToolUsageError.h"

namespace quillon {

QuillonURL feedFile(std::string_view path) {
  if (path.empty()) throw QuillonToolUsageError("FILE is an empty path; write where it is.");
  return QuillonURL::fileURL(path);
}

std::string bytesOfFeed(const QuillonURL& file, const QuillonFileManaging& fileManager) {
  try {
    return fileManager.contentsOfFile(fileManager.resolvingSymbolicLinks(file), kLargestFeed);
  } catch (const QuillonSystemError& error) {
    throw QuillonError("Cannot read " + file.path() + ": " + error.description());
  }
}

}  // namespace quillon
