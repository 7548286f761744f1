#include "TerminationSignals.h"

#include "Platform.h"

#include <QSocketNotifier>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <sys/eventfd.h>
#include <unistd.h>

namespace {

constexpr std::array kSignals{SIGTERM, SIGINT, SIGHUP};

// Written by the handler, read by the event loop.
int arrival = -1;

int openArrival() {
    arrival = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    return arrival;
}

void noteArrival(int) {
    const int interrupted = errno;
    const std::uint64_t one = 1;
    [[maybe_unused]] auto written = ::write(arrival, &one, sizeof one);
    errno = interrupted;
}

void setHandlers(void (*handler)(int)) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    for (int number : kSignals) {
        struct sigaction present {};
        // Whoever started us with a signal ignored, as nohup does, wants it so.
        if (::sigaction(number, nullptr, &present) == 0 && present.sa_handler != SIG_IGN) {
            ::sigaction(number, &action, nullptr);
        }
    }
}

} // namespace

TerminationSignals::TerminationSignals()
    : arrived_(new QSocketNotifier(openArrival(), QSocketNotifier::Read, this)) {
    connect(arrived_, &QSocketNotifier::activated, this, [this] {
        arrived_->setEnabled(false);
        setHandlers(SIG_DFL); // whoever asks again means it
        platform::current().application->terminate();
    });
    setHandlers(noteArrival);
}

TerminationSignals::~TerminationSignals() {
    setHandlers(SIG_DFL);
    delete arrived_;
    ::close(arrival);
}
