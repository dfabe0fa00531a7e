#include "QuillonCore/Runtime/QuillonSystemLogPlatform.h"

#include <syslog.h>

namespace quillon {

void writeSystemLogLine(const char* line) noexcept {
  syslog(LOG_USER | LOG_NOTICE, "%s", line);
}

}  // namespace quillon
