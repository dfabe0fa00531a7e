#include <gtest/gtest.h>

#include "QuillonCore/Runtime/Posix/TerminationSignalShield.h"

namespace quillon {
namespace {

volatile std::sig_atomic_t handled = 0;

TEST(TerminationSignalShieldTest, ASignalWaitsUntilTheShieldIsGone) {
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
    handled = 0;
    const auto previous = std::signal(signal, [](int number) { handled = number; });
    {
      const TerminationSignalShield shield;
      raise(signal);
      EXPECT_EQ(handled, 0);
    }
    EXPECT_EQ(handled, signal);
    std::signal(signal, previous);
  }
}

}  // namespace
}  // namespace quillon
