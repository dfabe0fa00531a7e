#include "QuillonTool/QuillonToolFeedFile.h"

#include <utility>

#include "QuillonCore/Values/QuillonError.h"
#include "QuillonUpdatesCore/VeskUpdateFeedParser.h"
#include "QuillonUpdatesCore/VeskUpdateFeedParserError.h"

namespace quillon {

std::string bytesOfFeed(const QuillonURL& file, const QuillonFileManaging& fileManager) {
  try {
    return fileManager.contentsOfFile(fileManager.resolvingSymbolicLinks(file), kLargestFeed);
  } catch (const QuillonSystemError& error) {
    throw QuillonSystemError::posix(static_cast<int>(error.code()), "read", file.path());
  }
}

VeskUpdateFeed readFeedFile(const QuillonURL& file, const QuillonFileManaging& fileManager) {
  std::string bytes = bytesOfFeed(file, fileManager);
  try {
    return VeskUpdateFeedParser().parseFeed(std::move(bytes));
  } catch (const VeskUpdateFeedParserError& error) {
    throw QuillonError(file.path() + ": " + error.description());
  }
}

}  // namespace quillon
