#include <iostream>
#include <string>
#include <vector>

#include "QuillonCore/Runtime/Posix/CommandProcess.h"
#include "QuillonCore/Runtime/QuillonSystemServices.h"
#include "QuillonCore/Runtime/QuillonTerminal.h"
#include "QuillonTool/QuillonToolMain.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleCodeSigningTool.h"

int main(int argumentCount, char** argumentValues) {
  quillon::prepareCommandProcess();
  std::ios::sync_with_stdio(false);
  const std::vector<std::string> words(argumentValues + (argumentCount > 0 ? 1 : 0), argumentValues + argumentCount);
  quillon::QuillonToolConsole console(std::cin, std::cout, std::cerr, quillon::standardErrorIsTerminal());
  const quillon::QuillonToolMain tool({.fileManager = quillon::makeSystemFileManager(),
                                       .processRunner = quillon::makeSystemProcessRunner(),
                                       .codeSigningToolPath = quillon::systemCodeSigningToolPath(),
                                       .systemVersion = quillon::QuillonSystemVersion::running()},
                                      QUILLON_VERSION);
  return tool.execute(words, console);
}
