#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchdJob.h"

namespace quillon {

QuillonPropertyListValue::Dictionary VeskAppBundleLaunchdJob::launchdDictionary() const {
  QuillonPropertyListValue::Array arguments;
  arguments.reserve(programArguments.size());
  for (const std::string& argument : programArguments) arguments.emplace_back(argument);
  return {
      {"Label", QuillonPropertyListValue(label)},
      {"ProgramArguments", QuillonPropertyListValue(std::move(arguments))},
      {"EnableTransactions", QuillonPropertyListValue(false)},
      {"RunAtLoad", QuillonPropertyListValue(true)},
      {"Nice", QuillonPropertyListValue(0)},
      {"ProcessType", QuillonPropertyListValue("Interactive")},
      {"LaunchOnlyOnce", QuillonPropertyListValue(true)},
  };
}

}  // namespace quillon
