#pragma once

#include <csignal>
#include <thread>
#include <utility>

/// Starts a thread that no signal is delivered to: signals are for the threads that wait for them.
template <class Work>
std::thread signal_free_thread(Work work)
{
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    std::thread thread(std::move(work));
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return thread;
}
