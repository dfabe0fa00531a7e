#include "Soak/SoakUnits.h"

#include <sstream>
#include <stdexcept>

#include "QuillonCore/Runtime/Posix/QuillonPosixProcessRunner.h"

namespace quillon::testing {
namespace {

namespace fs = std::filesystem;

constexpr const char* kUnitsOfTheSample = "org.example.Sample.*";

}  // namespace

SoakUnits::SoakUnits(uid_t user)
    : runtimeFolder_("/run/user/" + std::to_string(user)),
      isManaged_(fs::exists("/run/systemd/system") && fs::exists(runtimeFolder_ / "bus")) {}

std::vector<std::string> SoakUnits::loaded() const {
  if (!isManaged_) return {};
  const QuillonProcessResult listing = QuillonPosixProcessRunner().run(
      "/usr/bin/env", {"XDG_RUNTIME_DIR=" + runtimeFolder_.string(), "systemctl", "--user", "list-units", "--all",
                       "--plain", "--no-legend", "--full", kUnitsOfTheSample});
  if (listing.status != 0) throw std::runtime_error("the service manager does not list its units: " + listing.output);
  std::vector<std::string> units;
  std::istringstream lines(listing.output);
  for (std::string line; std::getline(lines, line);) units.push_back(line.substr(0, line.find(' ')));
  return units;
}

}  // namespace quillon::testing
