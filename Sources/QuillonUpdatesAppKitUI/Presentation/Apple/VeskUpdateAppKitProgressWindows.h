#pragma once

#include <memory>
#include <string>

#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateProgressWindowMaking.h"

namespace quillon {

/// Makes progress windows with AppKit.
class VeskUpdateAppKitProgressWindows final : public VeskUpdateProgressWindowMaking {
 public:
  [[nodiscard]] std::shared_ptr<VeskUpdateProgressWindow> makeProgressWindow(const std::string& windowTitle) override;
};

}  // namespace quillon
