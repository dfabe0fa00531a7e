#include "DittoArguments.h"

#include <string_view>

namespace quillon {
namespace {

/// The letters of short options, each given once or several times.
struct Letters {
  bool extracts = false;
  bool creates = false;
  bool isZip = false;
};

void readLetters(std::string_view option, Letters& letters) {
  for (const char letter : option.substr(1)) {
    switch (letter) {
      case 'x':
        letters.extracts = true;
        break;
      case 'c':
        letters.creates = true;
        break;
      case 'k':
        letters.isZip = true;
        break;
      default:
        throw DittoArgumentError("unknown option " + std::string(option));
    }
  }
}

void readPaths(const std::vector<std::string>& paths, DittoArguments& result) {
  if (paths.size() != 2) throw DittoArgumentError("there must be two paths");
  if (paths[0].empty() || paths[1].empty()) throw DittoArgumentError("a path is empty");
  result.source = paths[0];
  result.destination = paths[1];
}

}  // namespace

DittoArguments parseDittoArguments(const std::vector<std::string>& arguments) {
  DittoArguments result;
  Letters letters;
  std::vector<std::string> paths;
  bool hasOptions = true;
  for (const std::string& argument : arguments) {
    if (!hasOptions || !argument.starts_with('-') || argument == "-") {
      paths.push_back(argument);
    } else if (argument == "--") {
      hasOptions = false;
    } else if (argument == "--help" || argument == "--version") {
      result.operation = argument == "--help" ? DittoArguments::Operation::help : DittoArguments::Operation::version;
      return result;
    } else if (argument == "--keepParent") {
      result.keepsParent = true;
    } else if (argument.starts_with("--")) {
      // What macOS's tool needs to keep attributes in this way is always done here.
      if (argument != "--sequesterRsrc") throw DittoArgumentError("unknown option " + argument);
    } else {
      readLetters(argument, letters);
    }
  }
  if (letters.extracts == letters.creates) throw DittoArgumentError("there must be one of -x and -c");
  if (!letters.isZip) throw DittoArgumentError("-k is missing: there are zip archives only");
  if (letters.extracts && result.keepsParent) throw DittoArgumentError("--keepParent belongs to -c");
  result.operation = letters.extracts ? DittoArguments::Operation::extract : DittoArguments::Operation::create;
  readPaths(paths, result);
  return result;
}

std::string dittoUsage() {
  return "Usage: quillon-ditto -x -k ARCHIVE DESTINATION\n"
         "       quillon-ditto -c -k [--keepParent] SOURCE ARCHIVE\n"
         "Unpacks a zip archive into a folder, or makes one of a folder or file.\n"
         "\n"
         "  --keepParent  put the folder SOURCE itself into the archive\n"
         "  --help        show this text\n"
         "  --version     show the version\n";
}

}  // namespace quillon
