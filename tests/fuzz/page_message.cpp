// Any bytes that a browser may send: they are a request with all that its kind takes, or an error
// that says why not.

#include "Fuzz_world.h"
#include "Page_request.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArray text(reinterpret_cast<const char*>(data), static_cast<int>(size));
    const Page_message message = read_page_message(text);
    require(message.request.has_value() == message.error.isEmpty(),
            "it is a request, or there is an error");
    if (!message.request)
        return 0;
    const Page_request& request = *message.request;
    require(request.id == message.id, "the request has the message's id");
    require(request.object >= 0, "no place is negative");
    for (const char byte : request.line)
        require(static_cast<unsigned char>(byte) >= ' ' && byte != 0x7f,
                "a command is one line, without control characters");
    return 0;
}
