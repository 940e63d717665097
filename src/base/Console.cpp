#include "Console.h"

#include <cerrno>

#include <fcntl.h>
#include <paths.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

bool same_file(int left, int right)
{
    struct stat a;
    struct stat b;
    return fstat(left, &a) == 0 && fstat(right, &b) == 0 && a.st_dev == b.st_dev &&
           a.st_ino == b.st_ino;
}

} // namespace

Text_stream Console::out_(STDOUT_FILENO);
Text_stream Console::err_(STDERR_FILENO);

void Console::open()
{
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
        if (fcntl(descriptor, F_GETFD) < 0 && errno == EBADF)
            (void)::open(_PATH_DEVNULL, O_RDWR); // takes the lowest number, which is this one
    }
    if (same_file(STDOUT_FILENO, STDERR_FILENO))
        err_.join(out_);
    out_.open_anew();
    err_.open_anew();
}

void Console::flush()
{
    out_.flush();
    err_.flush();
    Console_batch::let_go();
}
