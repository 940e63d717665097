#include "Reader_patience.h"

#include <poll.h>

namespace {

constexpr int last_wait_ms = 200;

} // namespace

int Reader_patience::interrupt_ = -1;
bool Reader_patience::ended_ = false;

bool Reader_patience::wait_for(int descriptor)
{
    for (;;) {
        pollfd waited[] = {{descriptor, POLLOUT, 0}, {interrupt_, POLLIN, 0}};
        const bool is_last = ended_;
        const int ready = poll(waited, is_last ? 1 : 2, is_last ? last_wait_ms : -1);
        if (waited[0].revents != 0)
            return true;
        if (ready > 0)
            ended_ = true;
        else if (ready == 0)
            return false;
    }
}
