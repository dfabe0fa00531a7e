#include "QuillonCore/Runtime/Linux/QuillonLinuxJournal.h"

#include <sys/stat.h>
#include <sys/uio.h>

#include <array>
#include <cstddef>

// The fields of the code that logs, which the library would add, are those of this file.
#define SD_JOURNAL_SUPPRESS_LOCATION
#include <systemd/sd-journal.h>

namespace quillon {
namespace {

/// The library says nothing when there is no journal: it takes the entry and drops it (sd_journal_sendv(3)).
bool journalExists() noexcept {
  struct stat status {};
  return stat("/run/systemd/journal/socket", &status) == 0 && S_ISSOCK(status.st_mode);
}

}  // namespace

bool QuillonLinuxJournal::send(std::span<const std::string> fields) noexcept {
  std::array<iovec, 16> parts{};
  if (fields.size() > parts.size() || !journalExists()) return false;
  for (std::size_t i = 0; i < fields.size(); ++i) {
    // The call only reads what it is given.
    parts[i] = {const_cast<char*>(fields[i].data()), fields[i].size()};
  }
  return sd_journal_sendv(parts.data(), static_cast<int>(fields.size())) == 0;
}

}  // namespace quillon
