#pragma once

#include <string>
#include <string_view>

#include "QuillonCore/Contracts/QuillonFileManaging.h"

namespace sample {

/// Name of the folder, below the application's own in the Application Support folder, in which each update has a folder
/// to be unpacked in. Nothing else is kept there.
inline constexpr std::string_view kUpdateWorkingFolderName = "Update";

/// Removes that folder, and the one in the folder for temporary files that takes its place when there is no room, with
/// what earlier attempts have left in them, as far as they can be removed. Only for whoever knows that no other attempt
/// is under way.
void removeUpdateWorkingFolder(const quillon::QuillonFileManaging& files, const std::string& applicationFolderName);

}  // namespace sample
