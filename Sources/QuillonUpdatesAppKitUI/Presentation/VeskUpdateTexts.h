#pragma once

#include <array>
#include <string_view>

namespace quillon {

/// A text that users see: its English form, which is its key in every table, and what translators are told of it.
struct VeskUpdateText {
  std::string_view english;
  std::string_view comment;
};

/// Every fixed text of the windows and alerts. "%@" and "%1$@" are places for formattedText().
namespace VeskUpdateTexts {

/// The table of a bundle that holds `all`: "QuillonUpdate.strings" in every "<language>.lproj".
inline constexpr std::string_view table = "QuillonUpdate";
/// The table that holds `allOfApplication`, shared with the application's own texts.
inline constexpr std::string_view applicationTable = "Localizable";

// Progress window, states in their order.
inline constexpr VeskUpdateText downloadingUpdate{"Downloading update…", "update progress"};
inline constexpr VeskUpdateText preparingDownload{"Preparing download…", "update progress"};
/// Received and expected size.
inline constexpr VeskUpdateText receivedOfExpected{"%@ of %@", "update progress"};
/// Received size, where no size was announced.
inline constexpr VeskUpdateText received{"%@ downloaded", "update progress"};
inline constexpr VeskUpdateText extractingUpdate{"Extracting update…", "update progress"};
inline constexpr VeskUpdateText openingInstaller{"Opening installer…", "update progress"};
inline constexpr VeskUpdateText verifyingUpdate{"Verifying update…", "update progress"};
inline constexpr VeskUpdateText readyToInstall{"Ready to Install", "update progress"};
inline constexpr VeskUpdateText installAndRelaunch{"Install and Relaunch", "update progress"};
inline constexpr VeskUpdateText preparingToInstall{"Preparing to install…", "update progress"};

// Progress window, titles.
/// Name of the host application.
inline constexpr VeskUpdateText applicationUpdate{"%@ Update", "update progress window title"};
inline constexpr VeskUpdateText softwareUpdate{"Software Update", "update progress window title"};

// Prompt.
inline constexpr VeskUpdateText stabilityUpdateAvailable{"Stability Update Available", "Build-only update title"};
/// Name of the application, offered version, running build, offered build.
inline constexpr VeskUpdateText stabilityUpdateDescription{
    "A stability update for %1$@ %2$@ is available. You have build %3$@; build %4$@ is ready to install.",
    "Build-only update description"};
inline constexpr VeskUpdateText releaseNotes{"Release Notes:", "news feed release notes heading"};
inline constexpr VeskUpdateText installUpdate{"Install Update", "news feed button"};
inline constexpr VeskUpdateText remindMeLater{"Remind Me Later", "news feed button"};
inline constexpr VeskUpdateText skipThisUpdate{"Skip This Update", "news feed button"};

// Alerts.
inline constexpr VeskUpdateText noUpdatesAvailable{"No Updates Available", "new window alert"};
/// Name of the application.
inline constexpr VeskUpdateText runningCurrentVersion{"You are running the current version of %@.",
                                                      "news window alert"};
inline constexpr VeskUpdateText unableToCheckOffline{"Unable to Check For Updates. Internet appears to be offline.",
                                                     "news window alert"};
inline constexpr VeskUpdateText unableToCheck{"Unable to Check For Updates", "news window alert"};
inline constexpr VeskUpdateText tryAgainLater{"Please try again later.", "news window alert"};
inline constexpr VeskUpdateText downloadFailed{"Download Failed", "installer download error"};
inline constexpr VeskUpdateText updateFailed{"Update Failed", "automatic update installation error"};
inline constexpr VeskUpdateText manualInstallationFallback{
    "The update could not be installed automatically. You can download and install it manually.",
    "manual installation fallback"};
inline constexpr VeskUpdateText manualUpdateFallback{
    "The automatic update could not be installed. You can download the update manually.", "manual update fallback"};
inline constexpr VeskUpdateText updateManually{"Update Manually", "manual update fallback button"};
inline constexpr VeskUpdateText cancel{"Cancel", "manual update fallback cancel button"};
inline constexpr VeskUpdateText updateCanceled{"Update Canceled", "automatic update authorization canceled"};
inline constexpr VeskUpdateText updateNotInstalled{
    "The update was not installed. It will be offered again the next time you check for updates.",
    "automatic update authorization canceled"};
inline constexpr VeskUpdateText ok{"OK", "alert confirmation button"};

// Texts of the application's own table.
inline constexpr VeskUpdateText newVersionAvailable{"A new version is available!", ""};
inline constexpr VeskUpdateText newBetaVersionAvailable{"A new beta version is available!", ""};
/// The key is the name of the application followed by this text: offered version, running version. The dash is U+FF0D.
inline constexpr VeskUpdateText versionDescriptionAfterName{
    " version %@ is now available － you have %@. Would you like to download it now?", ""};
inline constexpr VeskUpdateText checkForBetaReleases{"Check for beta releases", "Check for beta releases"};

/// Every text of `table`.
inline constexpr std::array all{downloadingUpdate,
                                preparingDownload,
                                receivedOfExpected,
                                received,
                                extractingUpdate,
                                openingInstaller,
                                verifyingUpdate,
                                readyToInstall,
                                installAndRelaunch,
                                preparingToInstall,
                                applicationUpdate,
                                softwareUpdate,
                                stabilityUpdateAvailable,
                                stabilityUpdateDescription,
                                releaseNotes,
                                installUpdate,
                                remindMeLater,
                                skipThisUpdate,
                                noUpdatesAvailable,
                                runningCurrentVersion,
                                unableToCheckOffline,
                                unableToCheck,
                                tryAgainLater,
                                downloadFailed,
                                updateFailed,
                                manualInstallationFallback,
                                manualUpdateFallback,
                                updateManually,
                                cancel,
                                updateCanceled,
                                updateNotInstalled,
                                ok};

/// Every text of `applicationTable`, the one whose key holds the application's name left out.
inline constexpr std::array allOfApplication{newVersionAvailable, newBetaVersionAvailable, checkForBetaReleases};

}  // namespace VeskUpdateTexts
}  // namespace quillon
