#include "QuillonCore/Values/QuillonError.h"

#include <system_error>

#include "QuillonCore/Values/POSIXErrorName.h"

namespace quillon {

QuillonSystemError::QuillonSystemError(std::string domain, std::int64_t code, std::string description)
    : QuillonError(std::move(description)), domain_(std::move(domain)), code_(code) {}

QuillonSystemError QuillonSystemError::posix(int code, std::string_view action, std::string_view subject) {
  std::string text = "Cannot ";
  text.append(action).append(" ").append(subject).append(": ");
  text.append(std::generic_category().message(code)).append(" (").append(posixErrorName(code)).append(")");
  return {std::string(kPOSIXDomain), code, std::move(text)};
}

}  // namespace quillon
