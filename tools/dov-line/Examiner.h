#pragma once

#include "Conversation.h"
#include "Message.h"

#include <QSet>

#include <map>
#include <optional>
#include <vector>

/// What checks of a controller do with it, and what it has said since the first of them.
class Examiner {
public:
    /// `wait_ms`: how long an answer may take.
    explicit Examiner(int wait_ms);

    Conversation conversation;

    int wait_ms() const { return wait_ms_; }

    /// Sends a request and waits for k + 1; none when it does not come in time.
    std::optional<Message> ask(const Message& request);

    /// The same for bytes that are to have a message with this identifier answer them.
    std::optional<Message> ask(const QByteArray& bytes, uchar answer);

    /// The answer to a request that several checks look at: asked for once.
    std::optional<Message> answer_to_once(const Message& request);

    /// How long the last answer took, in milliseconds, also when that was too long; -1 when none
    /// came.
    double answer_ms() const { return answer_ms_; }

    /// Waits until so many messages with an identifier have come from now on, or a time is over;
    /// when each of them came, in milliseconds.
    std::vector<double> collect(uchar id, int count, int ms);

    /// A request that is to be sent when the present check is over, so that it leaves nothing
    /// behind. The last one is sent first.
    void put_back(const Message& request) { leftovers_.push_back(request); }

    /// Sends them.
    void clean_up();

    /// A message with this identifier is nobody's fault.
    void excuse(uchar id) { excused_.insert(id); }
    bool is_excused(uchar id) const { return excused_.contains(id); }

    /// Everything that the controller has sent.
    const std::vector<Line_event>& heard() const { return heard_; }

private:
    std::optional<Message> find(uchar id, std::size_t from) const;
    bool may_be_late();

    std::vector<Line_event> heard_;
    std::map<uchar, std::optional<Message>> answers_; ///< by request
    std::vector<Message> leftovers_;
    QSet<uchar> excused_;
    double answer_ms_ = 0;
    int wait_ms_;
    int asked_in_vain_ = 0; ///< of a controller that has never said anything
};

/// A request in the host's frame.
QByteArray frame_of(const Message& request);
