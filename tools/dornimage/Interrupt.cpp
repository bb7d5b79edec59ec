#include "Interrupt.h"

#include <atomic>
#include <csignal>

namespace {

constexpr int signals[] = {SIGINT, SIGTERM};

std::atomic<bool> come{false};
static_assert(std::atomic<bool>::is_always_lock_free, "signal handlers may touch nothing else");

void note(int) {
    come = true;
}

} // namespace

Interrupt::Interrupt() {
    come = false;
    struct sigaction action {};
    action.sa_handler = note;
    action.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
    for (const int signal : signals) {
        struct sigaction present {};
        // One that is ignored, as for a job in the background, stays so.
        if (sigaction(signal, nullptr, &present) == 0 && present.sa_handler != SIG_IGN) {
            sigaction(signal, &action, nullptr);
        }
    }
}

Interrupt::~Interrupt() {
    for (const int signal : signals) {
        struct sigaction present {};
        if (sigaction(signal, nullptr, &present) == 0 && present.sa_handler == note) {
            std::signal(signal, SIG_DFL);
        }
    }
}

bool Interrupt::hasCome() {
    return come;
}

void Interrupt::check() {
    if (come) {
        throw Interrupted();
    }
}
