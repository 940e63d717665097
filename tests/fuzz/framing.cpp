// Any bytes in any pieces: the frames found, what is printed and what stays buffered are those of
// a second scanner that looks at one byte after the other.

#include "Console.h"
#include "Fuzz_world.h"
#include "Power_controller_interface.h"

#include <deque>

namespace {

constexpr std::size_t frame_size = 13;
using Payloads = std::vector<std::string>;

/// A link without a line.
class Deaf_link : public Power_controller_interface {
public:
    void arrive(const std::string& bytes)
    {
        put_received(QByteArray(bytes.data(), static_cast<int>(bytes.size())));
        Q_EMIT readyRead();
    }
};

/// The second scanner.
class Slow_scanner {
public:
    void arrive(const std::string& bytes)
    {
        for (const char byte : bytes) {
            window_.push_back(static_cast<std::uint8_t>(byte));
            while (examine()) {
            }
        }
    }

    Payloads payloads;
    std::string printed;
    std::size_t waiting() const { return window_.size(); }

private:
    /// Whether another look is worth while.
    bool examine()
    {
        if (window_.size() < 3)
            return false;
        if (window_[0] != 24 || window_[1] != 239) {
            window_.pop_front();
            return true;
        }
        if (window_.size() < frame_size)
            return false;
        report_addresses();
        int sum = 0;
        for (std::size_t i = 4; i < 12; ++i)
            sum += window_[i];
        if ((sum + 216) % 256 != window_[12]) {
            printed += "Checksum failed";
            window_.pop_front();
            return true;
        }
        payloads.emplace_back(window_.begin() + 4, window_.begin() + 12);
        window_.erase(window_.begin(), window_.begin() + frame_size);
        return true;
    }

    void report_addresses()
    {
        if (window_[2] == 'Y' && window_[3] == 'x')
            return;
        char text[80];
        (void)std::snprintf(text, sizeof text, "Src/Dest test failed %2x:59 %2x:78\n",
                            static_cast<unsigned int>(static_cast<std::int8_t>(window_[2])),
                            static_cast<unsigned int>(static_cast<std::int8_t>(window_[3])));
        printed += text;
    }

    std::deque<std::uint8_t> window_;
};

std::string frame(std::string payload, bool to_host)
{
    payload.resize(8);
    std::string bytes = (to_host ? "\x18\xEFYx" : "\x18\xEFxY") + payload;
    int sum = 0;
    for (const char byte : bytes)
        sum += static_cast<std::uint8_t>(byte);
    return bytes + static_cast<char>(sum);
}

/// One stretch of the line's bytes, as the input chooses.
std::string stretch(Choices& choices)
{
    const unsigned int kind = choices.below(8);
    const unsigned int more = choices.byte();
    switch (kind) {
    case 0:
    case 1:
        return frame(choices.text(8), true);
    case 2:
        return frame(choices.text(8), false);
    case 3: { // one wrong byte
        std::string bytes = frame(choices.text(8), true);
        bytes[more % frame_size] = static_cast<char>(bytes[more % frame_size] ^ (1 << more % 8));
        return bytes;
    }
    case 4: // the beginning of a frame
        return frame(choices.text(8), true).substr(0, more % frame_size);
    case 5: // a frame inside a frame
        return frame(choices.text(8), true).insert(more % frame_size, frame("inside", true));
    case 6: // sync bytes
        return std::string(more % 16, '\x18') + "\xEF";
    default:
        return choices.text(more % 32);
    }
}

/// A line with its two receivers.
struct Line {
    Line()
    {
        QObject::connect(&link, &Packet_serial_interface::handle_packet,
                         [this](const unsigned char* payload, uint len) {
                             found.emplace_back(payload, payload + len);
                         });
        captured_output().take();
        rest();
    }

    void arrive(const std::string& bytes)
    {
        link.arrive(bytes);
        scanner.arrive(bytes);
        require(found == scanner.payloads, "the same frames are found at the same time");
        found.clear();
        scanner.payloads.clear();
        require(link.bytesAvailable() == static_cast<qint64>(scanner.waiting()),
                "the same bytes wait");
    }

    /// Leaves both with the same two zeros.
    void rest()
    {
        arrive(std::string(2 * frame_size, '\0'));
        require(scanner.waiting() == 2, "zeros end every frame");
    }

    void compare_texts()
    {
        const std::string printed = captured_output().take();
        require(printed == scanner.printed, "the same is printed", printed + scanner.printed);
        scanner.printed.clear();
    }

    Deaf_link link;
    Slow_scanner scanner;
    Payloads found;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static auto* const line = new Line;
    Choices choices(data, size);
    {
        const Console_batch batch; // one write for all the texts
        const std::size_t split = choices.byte() % 16;
        while (choices.are_left()) {
            const std::string bytes = stretch(choices);
            const std::size_t piece = split == 0 ? bytes.size() + 1 : split;
            for (std::size_t at = 0; at < bytes.size(); at += piece)
                line->arrive(bytes.substr(at, piece));
        }
        line->rest();
    }
    line->compare_texts();
    return 0;
}
