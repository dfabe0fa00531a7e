#pragma once

#include <memory>

#include "QuillonCore/Contracts/QuillonFileManaging.h"
#include "QuillonCore/Contracts/QuillonMainThreadDispatching.h"
#include "QuillonCore/Network/QuillonSystemURLTransfers.h"
#include "QuillonCore/Runtime/QuillonSystemServices.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/VeskAppBundleUpdateHelperLaunching.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateInstallerCoordinator.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateLocalizationBundle.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateProgressWindowPresenter.h"

namespace quillon {

/// A coordinator made of the platform's own parts: its URL loading and its archive tool, the user's desktop, code
/// signatures as the platform knows them, and this process's user, in whose session the update is started.
///
/// `replacementLauncher` starts the installer command; a host that only opens installer documents may pass null.
/// `texts` are those of the host's bundle, and sizes are written in their language. Downloads are kept in the first
/// Application Support folder, else in the temporary one, as files without names; on macOS in memory.
[[nodiscard]] VeskUpdateInstallerCoordinator makeSystemInstallerCoordinator(
    std::shared_ptr<VeskAppBundleUpdateHelperLaunching> replacementLauncher,
    std::shared_ptr<QuillonMainThreadDispatching> mainThread,
    std::shared_ptr<const VeskUpdateProgressWindowPresenter> progressWindowPresenter,
    std::shared_ptr<const VeskUpdateLocalizationBundle> texts,
    const std::shared_ptr<const QuillonFileManaging>& fileManager = makeSystemFileManager(),
    std::shared_ptr<const QuillonURLTransferring> transfers = makeSystemURLTransfers());

}  // namespace quillon
