#pragma once

#include <cstdint>
#include <memory>

#include "QuillonCore/Contracts/QuillonMainThreadDispatching.h"
#include "QuillonUpdatesAppKitUI/Presentation/Terminal/VeskUpdateTerminal.h"

namespace quillon {

/// Who answers the questions of an update.
enum class UpdateAnswering : std::uint8_t {
  byKeys,     ///< whoever sits at the terminal
  byConsent,  ///< the first choice is made every time
  byNobody,   ///< the choice that changes nothing is made every time
};

/// Answers the questions of a terminal without its user, as long as this lives. On the main thread.
class UpdateAnswers {
 public:
  /// For UpdateAnswering::byKeys this does nothing: VeskUpdateTerminalKeys answers then.
  UpdateAnswers(UpdateAnswering answering, std::shared_ptr<VeskUpdateTerminal> terminal,
                std::shared_ptr<QuillonMainThreadDispatching> mainThread);
  ~UpdateAnswers();
  UpdateAnswers(const UpdateAnswers&) = delete;
  UpdateAnswers& operator=(const UpdateAnswers&) = delete;

 private:
  const UpdateAnswering answering_;
  const std::shared_ptr<VeskUpdateTerminal> terminal_;
};

}  // namespace quillon
