#include "QuillonTool/Update/UpdateAnswers.h"

#include <utility>

namespace quillon {
namespace {

constexpr char kFirstChoice = '1';

}  // namespace

UpdateAnswers::UpdateAnswers(UpdateAnswering answering, std::shared_ptr<VeskUpdateTerminal> terminal,
                             std::shared_ptr<QuillonMainThreadDispatching> mainThread)
    : answering_(answering), terminal_(std::move(terminal)) {
  if (answering_ == UpdateAnswering::byNobody) terminal_->keyPressed(VeskUpdateTerminal::kEndOfInput);
  if (answering_ != UpdateAnswering::byConsent) return;
  terminal_->setAskingObserver([weak = std::weak_ptr(terminal_), mainThread = std::move(mainThread)](bool isAsking) {
    if (!isAsking) return;
    // Later: whoever asks does not hold the question yet.
    mainThread->post([weak] {
      if (const auto live = weak.lock()) live->keyPressed(kFirstChoice);
    });
  });
}

UpdateAnswers::~UpdateAnswers() {
  if (answering_ == UpdateAnswering::byConsent) terminal_->setAskingObserver(nullptr);
}

}  // namespace quillon
