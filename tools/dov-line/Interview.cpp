#include "Interview.h"

#include "Message_text.h"
#include "Verb.h"

#include <utility>

void Interview::see(const Line_event& event)
{
    if (event.is_request()) {
        ++asked_;
        waiting_.insert(event.number, event.id());
    } else if (event.partner != 0 && waiting_.remove(event.partner) > 0) {
        times_.add(event.response_us);
    }
}

void Interview::ask(const QByteArray& bytes)
{
    const quint64 asked_before = asked_;
    conversation_.send(bytes);
    if (wait_ms_ == 0) {
        waiting_.clear();
        return;
    }
    const bool asks = asked_ > asked_before;
    conversation_.wait_until([this, asks] { return asks && waiting_.isEmpty(); }, wait_ms_);
    const auto unanswered = std::exchange(waiting_, {});
    if (conversation_.is_over())
        return;
    for (const uchar id : unanswered) {
        ++unanswered_;
        complain(QStringLiteral("no answer to %1 within %2 ms").arg(name_of(id)).arg(wait_ms_));
    }
}

QString Interview::text() const
{
    QString text = QStringLiteral("%1 requests, %2 answered, %3 not")
                       .arg(asked_)
                       .arg(times_.count())
                       .arg(unanswered_);
    if (times_.count() > 0)
        text += QStringLiteral("; within %1 ms half of them, %2 ms all")
                    .arg(times_.quantile_ms(50), 0, 'f', 3)
                    .arg(times_.most_ms(), 0, 'f', 3);
    return text;
}

QJsonObject Interview::json() const
{
    return {
        {QStringLiteral("kind"), QStringLiteral("summary")},
        {QStringLiteral("requests"), static_cast<qint64>(asked_)},
        {QStringLiteral("answered"), static_cast<qint64>(times_.count())},
        {QStringLiteral("unanswered"), static_cast<qint64>(unanswered_)},
        {QStringLiteral("p50_ms"), times_.quantile_ms(50)},
        {QStringLiteral("most_ms"), times_.most_ms()},
    };
}
