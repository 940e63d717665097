// Any sequence of writes to the log's stream: the messages are those of a model that looks at one
// character after the other.

#include "Fuzz_world.h"
#include "Logger.h"

#include <syslog.h>

namespace {

/// What must reach syslog.
class Model {
public:
    void write(const std::string& text)
    {
        for (const char character : text) {
            make_room();
            if (character == '\xFF') {
                flush();
                good_ = false;
                return;
            }
            put_kept(character);
        }
    }

    void put(char character)
    {
        make_room();
        put_kept(character);
    }

    void flush()
    {
        if (!line_.empty())
            messages.push_back({priority, line_.substr(0, line_.find('\0'))});
        line_.clear();
    }

    bool is_good() const { return good_; }
    void become_good() { good_ = true; }

    int priority = LOG_INFO;
    std::vector<Log_message> messages;

private:
    void make_room()
    {
        if (line_.size() == 254)
            flush();
    }

    void put_kept(char character)
    {
        line_ += character;
        if (character == '\n')
            flush();
    }

    std::string line_;
    bool good_ = true;
};

void step(Choices& choices, Logger::Channel& channel, Logger::OStream*& stream, Model& model)
{
    const unsigned int kind = choices.below(8);
    switch (kind) {
    case 0:
    case 1:
    case 2: {
        const std::string text = choices.text(choices.byte());
        *stream << text;
        if (model.is_good())
            model.write(text);
        return;
    }
    case 3: { // one character, past the text form
        const char character = static_cast<char>(choices.byte());
        stream->put(character);
        if (model.is_good())
            model.put(character);
        return;
    }
    case 4: {
        const std::string text(choices.byte() * 2U, 'x');
        *stream << text;
        if (model.is_good())
            model.write(text);
        return;
    }
    case 5:
        *stream << std::endl;
        if (model.is_good())
            model.put('\n');
        model.flush();
        return;
    case 6:
        stream->flush();
        model.flush();
        return;
    default:
        model.priority = static_cast<int>(choices.below(8));
        model.become_good();
        stream = &channel.stream(model.priority);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    captured_errors().take();
    Logger::Channel channel("fuzz", 0, LOG_DAEMON, false);
    Logger::OStream* stream = &channel.stream(LOG_INFO);
    Model model;
    Choices choices(data, size);
    while (choices.are_left())
        step(choices, channel, stream, model);
    stream->flush();
    model.flush();
    const std::vector<Log_message> sent = take_log();
    require(sent == model.messages, "the model's messages are sent",
            to_text(sent) + "but predicted:\n" + to_text(model.messages));
    return 0;
}
