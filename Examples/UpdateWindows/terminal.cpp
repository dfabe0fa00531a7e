// The same windows in a terminal, a file or a pipe: UpdateInTerminal BUNDLE LANGUAGE

#include <unistd.h>

#include <iostream>
#include <memory>
#include <stop_token>

#include "QuillonCore/Runtime/QuillonMainThreadQueue.h"
#include "QuillonCore/Runtime/QuillonSystemMonotonicTime.h"
#include "QuillonUpdatesAppKitUI/Presentation/Terminal/Posix/VeskUpdateTerminalKeys.h"
#include "QuillonUpdatesAppKitUI/Presentation/Terminal/VeskUpdateTerminalAlertRunner.h"
#include "QuillonUpdatesAppKitUI/Presentation/Terminal/VeskUpdateTerminalProgressWindows.h"
#include "QuillonUpdatesAppKitUI/Presentation/Terminal/VeskUpdateTerminalPromptWindows.h"
#include "UpdateWalk.h"

int main(int count, char** arguments) {
  using namespace quillon;
  if (count != 3) {
    std::cerr << "Usage: UpdateInTerminal BUNDLE LANGUAGE\n";
    return 2;
  }
  const auto queue = std::make_shared<QuillonMainThreadQueue>();
  const auto terminal = std::make_shared<VeskUpdateTerminal>(std::cout, terminalStyle(STDOUT_FILENO));
  const VeskUpdateTerminalKeys keys(STDIN_FILENO, terminal, queue);
  const auto serve = [queue](const std::stop_token& stopToken) { queue->run(stopToken); };
  std::stop_source end;
  const auto nobodyAnswers = [&end] {
    std::cout << "Nobody can confirm the installation.\n";
    end.request_stop();
  };
  UpdateWalk walk(QuillonURL::fileURL(arguments[1]), arguments[2],
                  {.mainThread = queue,
                   .progressWindows = std::make_shared<VeskUpdateTerminalProgressWindows>(
                       terminal, makeSystemMonotonicTimeProvider(), nobodyAnswers),
                   .promptWindows = std::make_shared<VeskUpdateTerminalPromptWindows>(terminal),
                   .alerts = std::make_shared<VeskUpdateTerminalAlertRunner>(terminal, serve)});
  walk.begin([&end] { end.request_stop(); });
  queue->run(end.get_token());
  return 0;
}
