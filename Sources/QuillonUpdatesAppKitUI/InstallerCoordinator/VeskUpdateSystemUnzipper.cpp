#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateSystemUnzipper.h"

#include <exception>
#include <utility>

namespace quillon {

VeskUpdateSystemUnzipper::VeskUpdateSystemUnzipper(std::shared_ptr<QuillonProcessRunning> processRunner,
                                                   std::string archiveToolPath)
    : processRunner_(std::move(processRunner)), archiveToolPath_(std::move(archiveToolPath)) {}

bool VeskUpdateSystemUnzipper::unzip(const std::string& archivePath, const std::string& destinationPath,
                                     std::stop_token stopToken) noexcept {
  try {
    return processRunner_->run(archiveToolPath_, {"-x", "-k", archivePath, destinationPath}, std::move(stopToken))
               .status == 0;
  } catch (const std::exception&) {  // no memory for the arguments
    return false;
  }
}

}  // namespace quillon
