#include "QuillonCore/Runtime/Posix/QuillonProcessEnvironment.h"

#include <unistd.h>

extern char** environ;

namespace quillon {

QuillonProcessEnvironment environmentForOwnPrivileges() noexcept {
  return geteuid() == 0 ? QuillonProcessEnvironment::minimal : QuillonProcessEnvironment::inherited;
}

std::vector<std::string> environmentVariables(QuillonProcessEnvironment environment) {
  if (environment == QuillonProcessEnvironment::minimal) return {"PATH=/usr/bin:/bin", "LANG=C.UTF-8"};
  std::vector<std::string> variables;
  if (environ == nullptr) return variables;
  for (char** variable = environ; *variable != nullptr; ++variable) variables.emplace_back(*variable);
  return variables;
}

std::vector<char*> pointersToStrings(std::vector<std::string>& strings) {
  std::vector<char*> pointers;
  pointers.reserve(strings.size() + 1);
  for (std::string& string : strings) pointers.push_back(string.data());
  pointers.push_back(nullptr);
  return pointers;
}

}  // namespace quillon
