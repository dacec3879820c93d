#include "cli/Interrupt.h"

#include <csignal>

namespace tessaro::cli {
namespace {

volatile std::sig_atomic_t gInterrupted = 0;

void OnInterrupt(int) { gInterrupted = 1; }

}  // namespace

void CatchInterrupt() {
    struct sigaction action {};
    action.sa_handler = OnInterrupt;
    // A second Ctrl-C takes the default action. Interrupted writes restart: an
    // output stream would otherwise drop what it was writing when the signal came.
    action.sa_flags = SA_RESETHAND | SA_RESTART;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
}

bool Interrupted() { return gInterrupted != 0; }

}  // namespace tessaro::cli
