#pragma once

#include <istream>
#include <ostream>
#include <string_view>

namespace quillon {

/// Standard input, output and error of the command. Borrows the streams.
class QuillonToolConsole {
 public:
  QuillonToolConsole(std::istream& input, std::ostream& output, std::ostream& error, bool errorIsTerminal = false)
      : input_(input), output_(output), error_(error), errorIsTerminal_(errorIsTerminal) {}

  [[nodiscard]] std::istream& input() const noexcept { return input_; }
  [[nodiscard]] std::ostream& output() const noexcept { return output_; }
  [[nodiscard]] std::ostream& error() const noexcept { return error_; }

  /// Prints one line; control characters, which could steer the terminal, are escaped.
  void printLine(std::string_view line);
  /// Prints a text of the program's own, of any number of lines, as it stands.
  void printText(std::string_view text);
  /// Prints one line to standard error, after everything printed so far; control characters are escaped.
  void printError(std::string_view line);
  /// Whether somebody may be watching standard error.
  [[nodiscard]] bool errorIsTerminal() const noexcept { return errorIsTerminal_; }
  /// Brings a text of the program's own to standard error at once, as it stands.
  void writeToTerminal(std::string_view text);
  /// Brings everything to standard output. False when some of it could not be written.
  [[nodiscard]] bool finish();

 private:
  std::istream& input_;
  std::ostream& output_;
  std::ostream& error_;
  bool errorIsTerminal_;
};

}  // namespace quillon
