#include "transport/system_threads.h"

#include <csignal>
#include <unistd.h>

namespace kavro {

struct SignalsHeldBack::Mask {
    sigset_t signals;
};

SignalsHeldBack::SignalsHeldBack() : before_(std::make_unique<Mask>()) {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_->signals);
}

SignalsHeldBack::~SignalsHeldBack() {
    pthread_sigmask(SIG_SETMASK, &before_->signals, nullptr);
}

long process_id() {
    return ::getpid();
}

} // namespace kavro
