#ifndef QUARNEL_BENCH_HANDWRITTEN_POLL_H
#define QUARNEL_BENCH_HANDWRITTEN_POLL_H

#include <csignal>

/// A program that asks after every step whether it is to stop, as the library's learners do: the
/// signals are blocked and looked at by a system call.
class Poll {
 public:
  Poll() {
    sigemptyset(&signals);
    for (const int signal : {SIGUSR1, SIGUSR2, SIGTERM, SIGINT}) {
      sigaddset(&signals, signal);
    }
    sigprocmask(SIG_BLOCK, &signals, &oldMask);
  }

  ~Poll() { sigprocmask(SIG_SETMASK, &oldMask, nullptr); }

  Poll(const Poll&) = delete;
  Poll& operator=(const Poll&) = delete;

  /// @return true when one of the signals has arrived.
  const bool isToStop() const {
    sigset_t pending;
    sigpending(&pending);
    for (const int signal : {SIGUSR1, SIGUSR2, SIGTERM, SIGINT}) {
      if (sigismember(&pending, signal) == 1) {
        return true;
      }
    }
    return false;
  }

 private:
  sigset_t signals;
  sigset_t oldMask;
};

#endif
