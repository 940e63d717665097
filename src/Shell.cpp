#include "Shell.h"

#include <cerrno>
#include <csignal>

#include <paths.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

void run_in_shell(const char* command)
{
    // The daemon ignores these; a command expects them as they are by default.
    sigset_t defaults;
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGPIPE);
    sigaddset(&defaults, SIGXFSZ);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setsigdefault(&attributes, &defaults);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);

    const char* const arguments[] = {"sh", "-c", command, nullptr};
    pid_t child = -1;
    const int failure = posix_spawn(&child, _PATH_BSHELL, nullptr, &attributes,
                                    const_cast<char* const*>(arguments), environ);
    posix_spawnattr_destroy(&attributes);
    if (failure != 0)
        return;
    while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
}
