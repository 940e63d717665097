// Where objects belong.

#include "Object_holder.h"

#include "Lock_interface.h"
#include "Test_daemon.h"

class Object_holder_test : public Daemon_test {
    Q_OBJECT
public:
    using Daemon_test::Daemon_test;

private Q_SLOTS:
    void cleanupTestCase() { world_.daemon->handle_quit(); }

    void holder_belongs_to_the_daemon()
    {
        const auto& object = make<Lock_interface>();
        QCOMPARE_NE(object.parent(), world_.daemon);
        QCOMPARE(object.parent()->parent(), world_.daemon);
    }
};

int main(int count, char** arguments)
{
    return run_with_daemon<Object_holder_test>(count, arguments, "<power/>");
}
#include "object_holder.moc"
