#pragma once

#include "Dialogue.h"
#include "Message.h"

#include <QSet>

#include <map>
#include <optional>
#include <vector>

/// When something came, in milliseconds: after the last look that found nothing, and before it was
/// told. These are far apart when this process, or its machine, stood still meanwhile.
struct Arrival {
    double earliest_ms;
    double latest_ms;
};

/// What checks of a controller do with it, and what it has said since the first of them.
class Examiner {
public:
    /// `wait_ms`: how long an answer may take.
    Examiner(Dialogue& dialogue, int wait_ms);

    /// What is said with the controller.
    Dialogue& dialogue;

    int wait_ms() const { return wait_ms_; }

    /// Sends a request and waits for k + 1; none when it is certain that it does not come in time.
    std::optional<Message> ask(const Message& request);

    /// The same for bytes that are to have a message with this identifier answer them.
    std::optional<Message> ask(const QByteArray& bytes, uchar answer);

    /// The answer to a request that several checks look at: asked for once.
    std::optional<Message> answer_to_once(const Message& request);

    /// Has it asked for once more.
    void forget(const Message& request) { answers_.erase(request[0]); }

    /// How long the last answer took at most, in milliseconds, also when that was too long; -1 when
    /// none came.
    double answer_ms() const { return answer_ms_; }

    /// When the last request had been sent.
    double sent_ms() const { return sent_ms_; }

    /// Whether it is certain that the last answer came in time.
    bool is_in_time() const { return answer_ms_ >= 0 && answer_ms_ <= wait_ms_; }

    /// Waits until so many messages with an identifier have come from now on, or a time is over;
    /// when each of them came.
    std::vector<Arrival> collect(uchar id, int count, int ms);

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
    std::size_t find(uchar id, std::size_t from) const;
    bool may_be_late();

    std::vector<Line_event> heard_;
    std::vector<Arrival> arrivals_;                   ///< of what was heard
    std::map<uchar, std::optional<Message>> answers_; ///< by request
    std::vector<Message> leftovers_;
    QSet<uchar> excused_;
    double sent_ms_ = 0;
    double answer_ms_ = 0;
    int wait_ms_;
    int asked_in_vain_ = 0; ///< of a controller that has never said anything
};

/// A request in the host's frame.
QByteArray frame_of(const Message& request);
