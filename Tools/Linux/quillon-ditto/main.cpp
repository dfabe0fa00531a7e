// quillon-ditto: unpacks and makes zip archives of bundles.

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <string_view>
#include <vector>

#include "DittoArguments.h"
#include "QuillonCore/Runtime/Posix/CommandProcess.h"
#include "QuillonCore/Values/QuillonError.h"
#include "TerminationRequests.h"
#include "ZipArchive/Posix/ArchiveExtractor.h"
#include "ZipArchive/Posix/ArchiveMaker.h"

namespace quillon {
namespace {

constexpr int kUsageError = 64;  // EX_USAGE of <sysexits.h>

void printError(std::string_view text) {
  const std::string line = "quillon-ditto: " + std::string(text) + "\n";
  std::fputs(line.c_str(), stderr);
}

int run(const DittoArguments& arguments, const std::stop_token& stop) {
  switch (arguments.operation) {
    case DittoArguments::Operation::extract:
      extractArchive(arguments.source, arguments.destination, ZipArchiveLimits{}, stop);
      break;
    case DittoArguments::Operation::create:
      makeArchive(arguments.source, arguments.destination,
                  arguments.keepsParent ? ArchiveRoot::sourceItself : ArchiveRoot::contents, ZipArchiveLimits{}, stop);
      break;
    case DittoArguments::Operation::help:
      std::fputs(dittoUsage().c_str(), stdout);
      break;
    case DittoArguments::Operation::version:
      std::puts("quillon-ditto " QUILLON_VERSION);
      break;
  }
  return EXIT_SUCCESS;
}

int runStoppably(const std::vector<std::string>& commandLine) {
  const DittoArguments arguments = parseDittoArguments(commandLine);
  TerminationRequests requests;
  try {
    return run(arguments, requests.stopToken());
  } catch (const QuillonCancellationError&) {
    requests.dieOfSignal();
    return EXIT_FAILURE;
  }
}

}  // namespace
}  // namespace quillon

int main(int argumentCount, char** argumentValues) {
  quillon::prepareCommandProcess();
  try {
    return quillon::runStoppably({argumentValues + 1, argumentValues + argumentCount});
  } catch (const quillon::DittoArgumentError& error) {
    quillon::printError(error.description());
    std::fputs(quillon::dittoUsage().c_str(), stderr);
    return quillon::kUsageError;
  } catch (const std::exception& error) {
    quillon::printError(error.what());
    return EXIT_FAILURE;
  }
}
