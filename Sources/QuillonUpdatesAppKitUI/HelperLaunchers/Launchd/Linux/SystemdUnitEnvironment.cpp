#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/SystemdUnitEnvironment.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <set>
#include <string_view>

#include "QuillonCore/Text/QuillonScalars.h"

namespace quillon {
namespace {

constexpr auto kVariablesOfTheProcess = std::to_array<std::string_view>(
    {// Of its unit. The manager sets these for the unit that is started, if it does.
     "CACHE_DIRECTORY", "CONFIGURATION_DIRECTORY", "CREDENTIALS_DIRECTORY", "EXIT_CODE", "EXIT_STATUS", "INVOCATION_ID",
     "JOURNAL_STREAM", "LOGS_DIRECTORY", "LOG_NAMESPACE", "MAINPID", "MANAGERPID", "NOTIFY_SOCKET", "PIDFILE",
     "REMOTE_ADDR", "REMOTE_PORT", "RUNTIME_DIRECTORY", "SERVICE_RESULT", "STATE_DIRECTORY", "SYSTEMD_EXEC_PID",
     // Of the bus or the desktop that started it. An activation token is good for one window.
     "DBUS_STARTER_ADDRESS", "DBUS_STARTER_BUS_TYPE", "DESKTOP_STARTUP_ID", "GIO_LAUNCHED_DESKTOP_FILE",
     "GIO_LAUNCHED_DESKTOP_FILE_PID", "XDG_ACTIVATION_TOKEN"});
constexpr auto kFamiliesOfTheProcess =
    std::to_array<std::string_view>({"LISTEN_", "MONITOR_", "TRIGGER_", "WATCHDOG_"});

bool isAboutTheProcess(std::string_view name) noexcept {
  return std::ranges::find(kVariablesOfTheProcess, name) != kVariablesOfTheProcess.end() ||
         std::ranges::any_of(kFamiliesOfTheProcess, [name](auto family) { return name.starts_with(family); });
}

bool isDigit(char c) noexcept {
  return c >= '0' && c <= '9';
}

bool mayStandInName(char c) noexcept {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || isDigit(c) || c == '_';
}

bool isName(std::string_view text) noexcept {
  return !text.empty() && !isDigit(text.front()) && std::ranges::all_of(text, mayStandInName);
}

/// A bad byte is read as a surrogate.
bool isCharacter(char32_t scalar) noexcept {
  const bool isSurrogate = scalar >= 0xD800 && scalar <= 0xDFFF;
  const bool isNoncharacter = (scalar >= 0xFDD0 && scalar <= 0xFDEF) || (scalar & 0xFFFEU) == 0xFFFE;
  return !isSurrogate && !isNoncharacter;
}

bool isValue(std::string_view text) noexcept {
  while (!text.empty()) {
    if (!isCharacter(takeFirstScalar(text))) return false;
  }
  return true;
}

/// The variables that a manager takes one by one.
std::vector<std::string_view> acceptableOnes(const std::vector<std::string>& variables) {
  std::vector<std::string_view> accepted;
  std::set<std::string_view> names;
  for (const std::string_view variable : variables) {
    const std::size_t end = variable.find('=');
    if (end == std::string_view::npos) continue;
    const std::string_view name = variable.substr(0, end);
    // Of two variables of a name programs see the first, whatever becomes of it here.
    if (!names.insert(name).second || !isName(name) || isAboutTheProcess(name)) continue;
    if (isValue(variable.substr(end + 1))) accepted.push_back(variable);
  }
  return accepted;
}

/// The indexes of the shortest variables, as many as keep the limits.
std::vector<std::size_t> indexesWithinLimits(const std::vector<std::string_view>& variables) {
  std::vector<std::size_t> indexes(variables.size());
  std::iota(indexes.begin(), indexes.end(), std::size_t{0});
  std::ranges::stable_sort(indexes, {}, [&](std::size_t index) { return variables[index].size(); });
  std::size_t count = 0;
  std::size_t length = 0;
  while (count < std::min(indexes.size(), kLargestUnitEnvironment)) {
    length += variables[indexes[count]].size() + 1;
    if (length > kLongestUnitEnvironment) break;
    ++count;
  }
  indexes.resize(count);
  return indexes;
}

}  // namespace

std::vector<std::string> systemdUnitEnvironment(const std::vector<std::string>& variables) {
  const std::vector<std::string_view> accepted = acceptableOnes(variables);
  std::vector<std::size_t> indexes = indexesWithinLimits(accepted);
  std::ranges::sort(indexes);
  std::vector<std::string> environment;
  environment.reserve(indexes.size());
  for (const std::size_t index : indexes) environment.emplace_back(accepted[index]);
  return environment;
}

}  // namespace quillon
