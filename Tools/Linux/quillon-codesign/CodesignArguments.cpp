#include "CodesignArguments.h"

#include <charconv>
#include <optional>
#include <string_view>

namespace quillon {
namespace {

using Operation = CodesignArguments::Operation;

class Parser {
 public:
  explicit Parser(const std::vector<std::string>& arguments) : arguments_(arguments) {}

  CodesignArguments parse() {
    while (next_ < arguments_.size()) {
      const std::string& argument = arguments_[next_++];
      if (argument == "--") {
        result_.paths.insert(result_.paths.end(), arguments_.begin() + static_cast<std::ptrdiff_t>(next_),
                             arguments_.end());
        break;
      }
      if (argument.starts_with("--")) {
        longOption(argument);
      } else if (argument.size() > 1 && argument.front() == '-') {
        shortOptions(std::string_view(argument).substr(1));
      } else {
        result_.paths.push_back(argument);
      }
    }
    check();
    return std::move(result_);
  }

 private:
  void setOperation(Operation operation) {
    if (operation_ && *operation_ != operation) {
      throw CodesignArgumentError("only one of --sign, --verify and --display can be asked for");
    }
    operation_ = operation;
  }

  std::string value(const std::string& option, const std::optional<std::string>& attached) {
    if (!attached && next_ == arguments_.size()) throw CodesignArgumentError(option + " needs a value");
    std::string text = attached ? *attached : arguments_[next_++];
    // From an unset variable of a script: signed without, the code would not be what was meant.
    if (text.empty()) throw CodesignArgumentError(option + " has an empty value");
    return text;
  }

  void setVerbosity(const std::optional<std::string>& level) {
    if (!level) {
      ++result_.verbosity;
      return;
    }
    const char* const end = level->data() + level->size();
    const auto [position, error] = std::from_chars(level->data(), end, result_.verbosity);
    if (error != std::errc() || position != end || result_.verbosity < 0) {
      throw CodesignArgumentError("--verbose takes a number, not " + *level);
    }
  }

  void longOption(const std::string& argument) {
    const std::size_t equals = argument.find('=');
    const std::string name = argument.substr(0, equals);
    std::optional<std::string> attached;
    if (equals != std::string::npos) attached = argument.substr(equals + 1);
    if (name == "--verbose") return setVerbosity(attached);
    if (name == "--strict") return setStrict(attached);
    if (name == "--options") return setOptions(value(name, attached));
    if (name == "--timestamp") return setTimestamp(value(name, attached));
    if (name == "--key")
      result_.keyFile = value(name, attached);
    else if (name == "--certificate")
      result_.certificateFile = value(name, attached);
    else if (name == "--identifier")
      result_.identifier = value(name, attached);
    else if (name == "--entitlements")
      result_.entitlementsFile = value(name, attached);
    else if (attached)
      throw CodesignArgumentError("unknown option " + argument);
    else
      flag(name);
  }

  /// Strict verification has one extent here; a list of single checks would promise what is not kept.
  void setStrict(const std::optional<std::string>& checks) {
    if (checks && *checks != "all") throw CodesignArgumentError("--strict takes no value but \"all\"");
    result_.isStrict = true;
  }

  /// Of the flags that a signature can have, the one that changes what the code may do.
  void setOptions(const std::string& names) {
    if (names != "runtime") throw CodesignArgumentError("--options takes no value but \"runtime\"");
    result_.isRuntimeHardened = true;
  }

  /// Time stamps come from an authority on the network, which this command never asks.
  void setTimestamp(const std::string& authority) {
    if (authority != "none") throw CodesignArgumentError("--timestamp takes no value but \"none\"");
    hasTimestampOption_ = true;
  }

  void flag(const std::string& name) {
    if (name == "--verify")
      setOperation(Operation::verify);
    else if (name == "--display")
      setOperation(Operation::display);
    else if (name == "--sign")
      setOperation(Operation::sign), takeAdHocMark();
    else if (name == "--help")
      setOperation(Operation::help);
    else if (name == "--version")
      setOperation(Operation::version);
    else if (name == "--deep")
      result_.isDeep = true;
    else if (name == "--force")
      result_.replacesSignature = true;
    else if (name != "--all-architectures")
      throw CodesignArgumentError("unknown option " + name);
  }

  /// "-" instead of an identity: sign without one.
  void takeAdHocMark() {
    if (next_ < arguments_.size() && arguments_[next_] == "-") {
      isAdHoc_ = true;
      ++next_;
    }
  }

  /// As on the platform, `-v` is the verbosity beside another operation, and verification alone.
  void shortOptions(std::string_view letters) {
    for (std::size_t i = 0; i < letters.size(); ++i) {
      switch (letters[i]) {
        case 'd':
          setOperation(Operation::display);
          break;
        case 'v':
          ++result_.verbosity;
          ++shortVerbose_;
          break;
        case 'f':
          result_.replacesSignature = true;
          break;
        case 'h':
          setOperation(Operation::help);
          break;
        case 's':
          setOperation(Operation::sign);
          if (i + 1 == letters.size()) takeAdHocMark();
          break;
        case 'i':
          if (i + 1 != letters.size()) throw CodesignArgumentError("-i needs a value");
          result_.identifier = value("-i", std::nullopt);
          break;
        case 'o':
          if (i + 1 != letters.size()) throw CodesignArgumentError("-o needs a value");
          setOptions(value("-o", std::nullopt));
          break;
        default:
          throw CodesignArgumentError("unknown option -" + std::string(1, letters[i]));
      }
    }
  }

  void check() {
    if (!operation_ && shortVerbose_ > 0) {
      operation_ = Operation::verify;
      --result_.verbosity;
    }
    if (!operation_) throw CodesignArgumentError("one of --sign, --verify and --display must be asked for");
    result_.operation = *operation_;
    if (result_.operation == Operation::help || result_.operation == Operation::version) return;
    if (result_.paths.empty()) throw CodesignArgumentError("no path is given");
    checkSigning();
  }

  void checkSigning() const {
    const bool hasIdentity = !result_.keyFile.empty() || !result_.certificateFile.empty();
    if (result_.operation != Operation::sign) {
      if (hasIdentity || result_.replacesSignature || hasSigningOption()) {
        throw CodesignArgumentError(
            "--key, --certificate, --identifier, --entitlements, --options, --timestamp and --force belong to --sign");
      }
      return;
    }
    if (result_.isStrict) throw CodesignArgumentError("--strict belongs to --verify");
    if (result_.keyFile.empty() != result_.certificateFile.empty()) {
      throw CodesignArgumentError("--key and --certificate belong together");
    }
    if (hasIdentity == isAdHoc_) {
      throw CodesignArgumentError("--sign needs either --key and --certificate, or \"-\" for an ad-hoc signature");
    }
  }

  [[nodiscard]] bool hasSigningOption() const {
    return !result_.identifier.empty() || !result_.entitlementsFile.empty() || result_.isRuntimeHardened ||
           hasTimestampOption_;
  }

  const std::vector<std::string>& arguments_;
  std::size_t next_ = 0;
  CodesignArguments result_;
  std::optional<Operation> operation_;
  bool isAdHoc_ = false;
  bool hasTimestampOption_ = false;
  int shortVerbose_ = 0;
};

}  // namespace

CodesignArguments parseCodesignArguments(const std::vector<std::string>& arguments) {
  return Parser(arguments).parse();
}

std::string codesignUsage() {
  return "Usage: quillon-codesign --verify [--strict] [--deep] [-v] path ...\n"
         "       quillon-codesign -d [-v] [--verbose[=level]] path ...\n"
         "       quillon-codesign --sign --key file --certificate file [signing option] ... path ...\n"
         "       quillon-codesign --sign - [signing option] ... path ...\n"
         "       quillon-codesign --help | --version\n"
         "Signing options: --identifier text, --entitlements file, --options runtime, --timestamp none, --force, "
         "--deep\n";
}

}  // namespace quillon
