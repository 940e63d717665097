// Any file as power configuration: what is refused, and what each lookup gives, as a walk through
// a tree of its own says.

#include "Config_world.h"
#include "Power_config.h"

namespace {

const std::vector<std::string> tokens = {
    "<power>",
    "</power>",
    "<state name=\"on\">",
    "<state name=\"low-power\">",
    "<state name=\"sleep\">",
    "<state name='on' name2='x'>",
    "<state>",
    "</state>",
    "<device name=\"system\">",
    "<device name=\"display\">",
    "<device name=\"can_1\">",
    "</device>",
    "<param name=\"timeout\">",
    "</param>",
    "on",
    "off",
    " ",
    "\n",
    "-1",
    "100",
    "7s",
    "4294967296",
    "On",
    "<device name=\"system\">on</device>",
    "<device name=\"display\">off</device>",
    "<param name=\"timeout\">30</param>",
    "<state name=\"low-power\"/>",
    "<!-- -->",
    "<x/>",
    "&lt;",
    "<power/>",
    "<PowerCntlML>",
    "<?xml version=\"1.1\"?>",
    "<!DOCTYPE power [",
    "<!ENTITY a \"on\">",
    "<!ENTITY b '&a;&a;'>",
    "<!ENTITY lt \"&#38;#60;\">",
    "<!ENTITY % p \"<!ENTITY a '<x/>'>\">",
    "%p;",
    "]>",
    "&a;",
    "&b;",
    "'",
};

const char* const states[] = {"on", "low-power", "sleep"};

/// The first child that matches, or null.
const Plain_element* first(const Plain_element* parent, const char* tag, const std::string& name)
{
    if (parent == nullptr)
        return nullptr;
    for (const Plain_element& child : parent->children) {
        if (child.tag == tag && child.attribute("name") == name)
            return &child;
    }
    return nullptr;
}

/// An element that is empty counts as absent, and so does blank text.
std::string entry(const Loaded& loaded, int state, const char* tag, const std::string& name)
{
    const Plain_element* found = first(first(&loaded.root, "state", states[state]), tag, name);
    return found == nullptr ? std::string() : found->text;
}

void check_device(const Loaded& loaded, int state, const char* name, bool default_on)
{
    const std::string text = entry(loaded, state, "device", name);
    const bool expected = text == "on" || (text != "off" && default_on);
    require(get_device_power(loaded.document.get(), state, name, default_on) == expected,
            "the device is as the file says", loaded.bytes);
}

void check_timeout(const Loaded& loaded, int state)
{
    constexpr int unset = 12345;
    const std::string text = entry(loaded, state, "param", "timeout");
    int expected = unset;
    (void)std::sscanf(text.c_str(), "%d", &expected);
    require(get_state_timeout(loaded.document.get(), state, unset) == expected,
            "the time-out is as the file says", loaded.bytes);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    captured_output().take();
    captured_errors().take();
    Choices choices(data, size);
    const Loaded loaded = load(make_file(choices, tokens), load_power_config, "power");
    if (!loaded.has_plain_root)
        return 0;
    for (int state = 0; state < 3; ++state) {
        for (const char* name : {"system", "display", "can_1"}) {
            check_device(loaded, state, name, true);
            check_device(loaded, state, name, false);
        }
        check_timeout(loaded, state);
    }
    return 0;
}
