#include "Dialogue.h"

void Dialogue::pass(int ms)
{
    wait_until([] { return false; }, ms);
}

void Dialogue::note(const Line_record& record)
{
    analysis_.take(record);
    Line_event event;
    while (analysis_.next(event))
        listener_(event);
}
