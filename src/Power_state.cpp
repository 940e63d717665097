#include "Power_state.h"

const char* power_state_name(int state)
{
    static constexpr const char* names[power_state_count] = {"on", "low-power", "sleep"};
    return state >= 0 && state < power_state_count ? names[state] : "null";
}
