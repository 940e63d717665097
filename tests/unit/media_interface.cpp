// The media that come and go.

#include "Media_interface.h"

#include "Captured_console.h"
#include "Objects.h"
#include "Test_daemon.h"
#include "Waiting.h"

#include <QDir>

#include <sys/stat.h>
#include <unistd.h>

class Media : public Daemon_test {
    Q_OBJECT
public:
    using Daemon_test::Daemon_test;

private:
    /// What it prints when it is made counts.
    Media_interface& make_media()
    {
        return *new Media_interface(world_.daemon, QStringLiteral("media"));
    }

    /// A media directory of this test's own, ending in '/'.
    QString media(const char* name) const
    {
        world_.root.make_directory(QString::fromLatin1(name));
        return world_.root.path(QString::fromLatin1(name)) + QLatin1Char('/');
    }

    static bool wait_for_signals(const QSignalSpy& spy, int count)
    {
        return QTest::qWaitFor([&] { return spy.count() >= count; }, patience_ms);
    }

private Q_SLOTS:
    void init() { world_.clear(); }
    void cleanupTestCase() { world_.daemon->handle_quit(); }

    void media_present_at_the_start_are_announced()
    {
        world_.root.make_directory(QStringLiteral("media/usb0"));
        Captured_descriptor output(STDOUT_FILENO);
        auto& object = make_media();
        const QByteArray directory = world_.root.path(QStringLiteral("media")).toUtf8() + "/";
        QCOMPARE(output.text(), "Media changed " + directory + "\nAdded usb0\nCurrent usb0\n");
        // Changes of the directory reach it, and leaving and coming are in that order.
        QSignalSpy connection(&object, &Media_interface::connection);
        world_.root.remove(QStringLiteral("media/usb0"));
        world_.root.make_directory(QStringLiteral("media/usb1"));
        QVERIFY(wait_for_signals(connection, 2));
        QCOMPARE(seen(connection),
                 (QList<QVariantList>{{QString::fromUtf8(directory + "usb0"), false},
                                      {QString::fromUtf8(directory + "usb1"), true}}));
        QCOMPARE_EMPTY(world_.link->sent);
    }

    void media_are_compared_with_the_last_scan()
    {
        const Captured_descriptor quiet(STDERR_FILENO);
        const QString first = media("first");
        const QString second = media("second");
        for (const char* name : {"first/usb1", "first/usba", "first/usbB", "second/usb1"})
            world_.root.make_directory(QString::fromLatin1(name));
        world_.root.write(QStringLiteral("first/usb.file"), "");
        Captured_descriptor output(STDOUT_FILENO);
        auto& object = make_media();
        QSignalSpy connection(&object, &Media_interface::connection);
        object.media_changed(first);
        const auto before = connection.count();
        object.media_changed(second);
        object.media_changed(QStringLiteral("/nonexistent/"));
        const auto all = seen(connection);
        QCOMPARE(all.mid(before),
                 (QList<QVariantList>{{second + QLatin1String("usb.file"), false},
                                      {second + QLatin1String("usba"), false},
                                      {second + QLatin1String("usbB"), false},
                                      {QStringLiteral("/nonexistent/usb1"), false}}));
        QCOMPARE_CONTAINS(output.text(), "Media changed " + first.toUtf8() + "\n");
        // In the order of the names, whatever their case.
        QCOMPARE_CONTAINS(output.text(), "Current usb.file\nCurrent usb1\nCurrent usba\n"
                                         "Current usbB\n");
        QCOMPARE_ENDS(output.text(), "Media changed /nonexistent/\nRemoved usb1\n");
    }

    void media_are_directories_and_files_named_usb()
    {
        const QString directory = media("kinds");
        for (const char* name : {"usbdir", "USB1", "data", "ausb", ".usb", "usb"})
            world_.root.make_directory(QLatin1String("kinds/") + QString::fromLatin1(name));
        world_.root.write(QStringLiteral("kinds/usbfile"), "");
        const QByteArray path = directory.toUtf8();
        QCOMPARE(symlink("usbdir", (path + "usblink").constData()), 0);
        QCOMPARE(symlink("nowhere", (path + "usbbroken").constData()), 0);
        QCOMPARE(mkfifo((path + "usbpipe").constData(), 0600), 0);
        Captured_descriptor output(STDOUT_FILENO);
        auto& object = make_media();
        object.media_changed(directory);
        QCOMPARE_ENDS(output.text(), "Current usb\nCurrent usbdir\nCurrent usbfile\n"
                                     "Current usblink\n");
    }

    void renamed_medium_goes_and_comes()
    {
        const QString directory = media("renamed");
        world_.root.make_directory(QStringLiteral("renamed/usb0"));
        const Captured_descriptor output(STDOUT_FILENO);
        auto& object = make_media();
        object.media_changed(directory);
        QSignalSpy connection(&object, &Media_interface::connection);
        QVERIFY(QDir(directory).rename(QStringLiteral("usb0"), QStringLiteral("usb0a")));
        object.media_changed(directory);
        object.media_changed(directory); // nothing new
        QCOMPARE(seen(connection),
                 (QList<QVariantList>{{directory + QLatin1String("usb0"), false},
                                      {directory + QLatin1String("usb0a"), true}}));
    }
};

int main(int count, char** arguments)
{
    return run_with_daemon<Media>(count, arguments, "<power/>");
}
#include "media_interface.moc"
