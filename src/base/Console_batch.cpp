#include "Console_batch.h"

#include "Console.h"

#include <utility>

int Console_batch::open_ = 0;
std::function<void()> Console_batch::follower_;

Console_batch::~Console_batch()
{
    if (--open_ == 0)
        Console::flush();
}

void Console_batch::let_go()
{
    if (follower_)
        std::exchange(follower_, nullptr)();
}
