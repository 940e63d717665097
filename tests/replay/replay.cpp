// Every scenario of the corpus, delivered as it is written, in pieces and all at once, where the
// outcome must be the very same, and twice, without a byte and with a wrong bit, where the rules
// below must hold.

#include "Player.h"

#include <QDirIterator>

#include <utility>

Q_DECLARE_METATYPE(Delivery)

namespace {

QVector<Scenario> read_scenarios()
{
    QStringList names;
    QDirIterator files(QStringLiteral(DOV_SCENARIOS), {QStringLiteral("*.txt")}, QDir::Files,
                       QDirIterator::Subdirectories);
    while (files.hasNext())
        names.append(files.next());
    names.sort();
    QVector<Scenario> scenarios;
    for (const QString& name : std::as_const(names))
        scenarios.append(Scenario::read(name));
    return scenarios;
}

QString lines(const QStringList& texts)
{
    return texts.join(QLatin1Char('\n'));
}

QString readable(const QByteArray& text)
{
    return QString::fromLatin1(text);
}

/// What differs, for a report; empty when nothing does.
QString difference(const char* what, const QString& seen, const QString& expected)
{
    return seen == expected ? QString()
                            : QStringLiteral("%1 seen:\n%2\n%1 expected:\n%3\n")
                                  .arg(QLatin1String(what), seen, expected);
}

QString difference(const Scenario::Outcome& seen, const Scenario::Outcome& expected)
{
    return difference("output", readable(seen.out), readable(expected.out)) +
           difference("errors", readable(seen.err), readable(expected.err)) +
           difference("log", lines(seen.log), lines(expected.log)) +
           difference("signals", lines(seen.signals_seen), lines(expected.signals_seen)) +
           difference("requests", lines(seen.requests), lines(expected.requests)) +
           difference("results", lines(seen.results), lines(expected.results));
}

/// The same, of what counts in a scenario.
QString difference(const Scenario::Outcome& seen, const Scenario& scenario)
{
    return scenario.only_line
               ? difference("requests", lines(seen.requests), lines(scenario.expected.requests))
               : difference(seen, scenario.expected);
}

/// Whether a delivery says something about a scenario. A lost answer costs 300 ms: of those that
/// have answers to lose, one in three has to do.
bool is_played(Delivery delivery, const Scenario& scenario)
{
    constexpr uint one_in = 3;
    switch (delivery) {
    case Delivery::whole:
        return true;
    case Delivery::split:
    case Delivery::merged:
        return !scenario.needs_own_daemon();
    default:
        if (scenario.needs_own_daemon() || scenario.only_line ||
            scenario.has(Scenario::Step::Kind::raw) || !scenario.has(Scenario::Step::Kind::message))
            return false;
        return delivery == Delivery::duplicated || scenario.expected.requests.isEmpty() ||
               qHash(scenario.name) % one_in == 0;
    }
}

/// What decides how messages are split and damaged: 1, or as DOV_REPLAY_SEED says.
quint32 seed()
{
    bool is_number = false;
    const uint number = qEnvironmentVariable("DOV_REPLAY_SEED").toUInt(&is_number);
    return is_number ? number : 1;
}

/// The identifiers of the messages that the output names.
QByteArrayList named_messages(const QByteArray& out)
{
    const QByteArray label = "Got message ";
    QByteArrayList ids;
    for (auto at = out.indexOf(label); at >= 0; at = out.indexOf(label, at + 1))
        ids.append(out.mid(at + label.size(), 2).replace(' ', '0'));
    return ids;
}

/// The signals of an event, which comes again with the message that brings it.
bool is_event(const QString& signal)
{
    return signal.contains(QLatin1String(" short_press")) ||
           signal.contains(QLatin1String(" received"));
}

QStringList with_events_twice(const QStringList& texts)
{
    QStringList twice;
    for (const QString& text : texts) {
        twice.append(text);
        if (is_event(text))
            twice.append(text);
    }
    return twice;
}

} // namespace

class Replay : public QObject {
    Q_OBJECT

private:
    QVector<Scenario> scenarios_;
    Player shared_{seed()};

    static void add_deliveries(std::initializer_list<QPair<const char*, Delivery>> deliveries)
    {
        QTest::addColumn<Delivery>("delivery");
        for (const auto& [name, delivery] : deliveries)
            QTest::newRow(name) << delivery;
    }

    /// Plays every scenario that the judge can judge; reports all that fail.
    template <class Judge>
    void play_all(Delivery delivery, Judge judge)
    {
        int played = 0;
        int failed = 0;
        for (const Scenario& scenario : std::as_const(scenarios_)) {
            if (!is_played(delivery, scenario))
                continue;
            QString found;
            if (scenario.needs_own_daemon()) {
                Player own(seed());
                own.start(&scenario);
                found = judge(own, scenario);
            } else {
                found = judge(shared_, scenario);
            }
            ++played;
            if (!found.isEmpty()) {
                ++failed;
                qWarning("%s:\n%s", qPrintable(scenario.name), qPrintable(found));
            }
        }
        qInfo("%d scenarios", played);
        QCOMPARE(failed, 0);
        QCOMPARE_GT(played, 0);
    }

private Q_SLOTS:
    void initTestCase()
    {
        scenarios_ = read_scenarios();
        QCOMPARE_GE(scenarios_.size(), 200);
        shared_.start();
        QVERIFY(shared_.wait_for_detection());
    }

    void outcome_is_the_very_same_data()
    {
        add_deliveries(
            {{"whole", Delivery::whole}, {"split", Delivery::split}, {"merged", Delivery::merged}});
    }
    void outcome_is_the_very_same()
    {
        QFETCH(Delivery, delivery);
        play_all(delivery, [delivery](Player& player, const Scenario& scenario) {
            return difference(player.play(scenario, delivery).outcome, scenario);
        });
    }

    /// A message that comes twice is handled twice: events are signalled again, everything else
    /// is as after the first.
    void message_that_comes_twice()
    {
        play_all(Delivery::duplicated, [](Player& player, const Scenario& scenario) {
            const auto played = player.play(scenario, Delivery::duplicated);
            const Scenario::Outcome& expected = scenario.expected;
            return difference("messages", readable(named_messages(played.outcome.out).join(' ')),
                              readable(played.arrived.join(' '))) +
                   difference("signals", lines(played.outcome.signals_seen),
                              lines(with_events_twice(expected.signals_seen))) +
                   difference("requests", lines(played.outcome.requests),
                              lines(expected.requests)) +
                   difference("results", lines(played.outcome.results), lines(expected.results));
        });
    }

    void damaged_message_harms_no_other_data()
    {
        add_deliveries({{"dropped", Delivery::dropped}, {"bit_flipped", Delivery::bit_flipped}});
    }

    /// A message that is damaged is lost, unless only an address is wrong; all others arrive, in
    /// order, requests go out all the same, and the scenario, when it is played again without
    /// damage, ends as ever.
    void damaged_message_harms_no_other()
    {
        QFETCH(Delivery, delivery);
        play_all(delivery, [delivery](Player& player, const Scenario& scenario) {
            const auto played = player.play(scenario, delivery);
            const QByteArray& out = played.outcome.out;
            QString found = difference("messages", readable(named_messages(out).join(' ')),
                                       readable(played.arrived.join(' '))) +
                            difference("requests", lines(played.outcome.requests),
                                       lines(scenario.expected.requests));
            if (played.checksum_is_wrong && !out.contains("Checksum failed"))
                found += QStringLiteral("the wrong checksum is not reported\n");
            if (played.address_is_wrong && !out.contains("Src/Dest test failed"))
                found += QStringLiteral("the wrong address is not reported\n");
            found += difference(player.play(scenario, Delivery::whole).outcome, scenario.expected);
            return found;
        });
    }
};

QTEST_GUILESS_MAIN(Replay)

#include "replay.moc"
