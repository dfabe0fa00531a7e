#include <string_view>

#include "QuillonCore/Values/PropertyListReading.h"
#include "QuillonTool/FeedLint/FeedEntryChecks.h"
#include "QuillonTool/FeedLint/QuotedFeedText.h"
#include "QuillonUpdatesCore/VeskUpdateFeedKeys.h"

namespace quillon {
namespace {

class SizeReader {
 public:
  explicit SizeReader(std::string_view text) noexcept : text_(text) {}

  /// "{width, height}", blanks allowed between.
  bool readSize() noexcept {
    return take('{') && takeNumber() && take(',') && takeNumber() && take('}') && (skipBlanks(), text_.empty());
  }

 private:
  void skipBlanks() noexcept {
    while (!text_.empty() && text_.front() == ' ') text_.remove_prefix(1);
  }
  bool take(char c) noexcept {
    skipBlanks();
    if (text_.empty() || text_.front() != c) return false;
    text_.remove_prefix(1);
    return true;
  }
  bool takeNumber() noexcept {
    skipBlanks();
    const std::size_t end = text_.find_first_not_of("0123456789.");
    const std::string_view number = text_.substr(0, end);
    text_.remove_prefix(number.size());
    return number.find_first_of("123456789") != std::string_view::npos && number.find('.') == number.rfind('.');
  }

  std::string_view text_;
};

}  // namespace

void checkPromptSize(const VeskUpdateFeedEntry& entry, FeedEntryFindings& findings) {
  using Keys = VeskUpdateFeedKeys;
  const std::string_view text = stringOrEmpty(entry, Keys::size);
  if (text.empty() || SizeReader(text).readSize()) return;
  findings.addWarning(Keys::size, {.problem = quotedFeedText(text) + " is no size of the form {width, height}.",
                                   .effect = "The prompt does not get the size that is meant.",
                                   .mend = "Write two numbers above 0 in braces, such as {640, 480}."});
}

}  // namespace quillon
