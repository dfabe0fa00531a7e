#include "QuillonCore/Runtime/Posix/TerminationSignalShield.h"

#include <initializer_list>

namespace quillon {

TerminationSignalShield::TerminationSignalShield() noexcept {
  sigset_t shielded{};
  sigemptyset(&shielded);
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) sigaddset(&shielded, signal);
  pthread_sigmask(SIG_BLOCK, &shielded, &previous_);
}

TerminationSignalShield::~TerminationSignalShield() {
  pthread_sigmask(SIG_SETMASK, &previous_, nullptr);
}

}  // namespace quillon
