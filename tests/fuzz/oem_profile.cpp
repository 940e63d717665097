// Any file as OEM profile: what is refused, and the two numbers, as a tree of its own says.

#include "OEM_profile.h"

#include "Config_world.h"

namespace {

const std::vector<std::string> tokens = {
    "<profile>",
    "</profile>",
    "<code>",
    "</code>",
    "<RemoteSwitchPowerUpTime>",
    "</RemoteSwitchPowerUpTime>",
    "3",
    "300",
    "-1",
    "99999999999999999999",
    " ",
    "+7x",
    "<x>",
    "</x>",
    "<code/>",
    "<code>5</code>",
    "<RemoteSwitchPowerUpTime>20</RemoteSwitchPowerUpTime>",
    "<!-- -->",
    "&amp;",
    "&#49;",
    "<OEMprofile>",
    "<?xml version=\"1.1\"?>",
    "<!DOCTYPE profile [",
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

std::uint8_t number(const Plain_element& root, const char* tag, std::uint8_t otherwise)
{
    for (const Plain_element& child : root.children) {
        if (child.tag != tag)
            continue;
        unsigned int value = 0;
        return std::sscanf(child.text.c_str(), "%u", &value) == 1
                   ? static_cast<std::uint8_t>(value % 256)
                   : otherwise;
    }
    return otherwise;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    captured_errors().take();
    Choices choices(data, size);
    const Loaded loaded = load(make_file(choices, tokens), load_oem_profile, "profile");
    if (!loaded.has_plain_root)
        return 0;
    for (const std::uint8_t otherwise : {std::uint8_t{15}, std::uint8_t{255}}) {
        require(get_oem_code(loaded.document.get(), otherwise) ==
                    number(loaded.root, "code", otherwise),
                "the code is as the file says", loaded.bytes);
        require(get_remote_switch_power_up_time(loaded.document.get(), otherwise) ==
                    number(loaded.root, "RemoteSwitchPowerUpTime", otherwise),
                "the power-up time is as the file says", loaded.bytes);
    }
    return 0;
}
