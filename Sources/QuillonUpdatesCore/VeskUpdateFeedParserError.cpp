#include "QuillonUpdatesCore/VeskUpdateFeedParserError.h"

#include <string>

namespace quillon {
namespace {

std::string descriptionOf(VeskUpdateFeedParserError::Code code) {
  switch (code) {
    case VeskUpdateFeedParserError::Code::feedFailedToParse:
      return "Feed failed to parse";
    case VeskUpdateFeedParserError::Code::feedNotFound:
      break;
  }
  return "Feed not found";
}

}  // namespace

VeskUpdateFeedParserError::VeskUpdateFeedParserError(Code code) : QuillonError(descriptionOf(code)), code_(code) {}

}  // namespace quillon
