#include "Support/Apple/XPCServiceProcess.h"

namespace quillon::testing {

std::shared_ptr<XPCServiceProcess> XPCServiceProcess::start(const std::string& /*name*/,
                                                            std::function<void()> /*main*/) {
  return nullptr;
}

}  // namespace quillon::testing
