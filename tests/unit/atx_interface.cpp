// The acknowledgement of the ATX supply.

#include "ATX_interface.h"

#include "Captured_console.h"
#include "Objects.h"
#include "Test_daemon.h"

#include <QSignalSpy>

class ATX : public Daemon_test {
    Q_OBJECT
public:
    using Daemon_test::Daemon_test;

private Q_SLOTS:
    void init() { world_.clear(); }
    void cleanupTestCase() { world_.daemon->handle_quit(); }

    void acknowledges_and_is_acknowledged()
    {
        auto* atx = new ATX_interface(world_.daemon, QStringLiteral("atx"));
        QSignalSpy received(atx, &ATX_interface::received);
        const Captured_descriptor errors(STDERR_FILENO);
        QCOMPARE_EMPTY(world_.link->sent);
        atx->send_ack();
        QCOMPARE(world_.link->sent, Payloads{"3f00000000000000"});
        QCOMPARE(world_.lines(), QStringList{QStringLiteral("ATX acknowledge sent")});
        QVERIFY(offer(*atx, "40"));
        QCOMPARE(received.count(), 1);
        QCOMPARE(world_.lines().last(), QStringLiteral("ATX acknowledge received"));
        QVERIFY(!offer(*atx, "3f00000000000000"));
        QVERIFY(!offer(*atx, ""));
        QCOMPARE(received.count(), 1);
    }

    void is_logged_behind_what_it_does()
    {
        auto* atx = new ATX_interface(world_.daemon, QStringLiteral("atx"));
        QList<int> logged;
        const auto note = [this, &logged] {
            world_.log.settle();
            logged.append(static_cast<int>(world_.log.lines().size()));
        };
        connect(atx, &ATX_interface::received, this, note);
        world_.link->before_sending = note;
        atx->send_ack();
        world_.link->before_sending = nullptr;
        offer(*atx, "40");
        QCOMPARE(logged, (QList<int>{0, 1}));
    }
};

int main(int count, char** arguments)
{
    return run_with_daemon<ATX>(count, arguments, "<power/>");
}
#include "atx_interface.moc"
