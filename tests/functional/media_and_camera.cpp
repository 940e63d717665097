// The removable media, on a real directory, and the camera placeholder.

#include "Terminal.h"

#include <QDir>
#include <QFile>

#include <sys/stat.h>

class Media_and_camera : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<Terminal> terminal_;

    Terminal& terminal() { return *terminal_; }

    QString directory() { return terminal().root.path(QStringLiteral("media")) + QLatin1Char('/'); }

    void make(const char* name) { QVERIFY(QDir(directory()).mkdir(QLatin1String(name))); }

    Terminal::Signal connection(const char* name, bool connected)
    {
        return {QStringLiteral("media"),
                QStringLiteral("connection"),
                {directory() + QLatin1String(name), connected}};
    }

    QList<Terminal::Signal> media_signals()
    {
        QList<Terminal::Signal> found;
        for (const auto& signal : terminal().seen_signals()) {
            if (signal.path == QLatin1String("media"))
                found.append(signal);
        }
        return found;
    }

    /// Waits until the signals of the media are these, and settles.
    void expect_signals(const QList<Terminal::Signal>& expected)
    {
        WAIT_UNTIL(media_signals().size(), >=, expected.size());
        terminal().settle();
        QCOMPARE(media_signals(), expected);
    }

    /// Has a scan of the directory made and done, and forgets its traces.
    void rescan()
    {
        terminal().call(QStringLiteral("media"), QStringLiteral("media_changed"), {directory()});
    }

private Q_SLOTS:
    void init() { terminal_ = std::make_unique<Terminal>(); }
    void cleanup() { terminal_.reset(); }

    void medium_present_at_start_is_announced()
    {
        make("usb0");
        terminal().start();
        QCOMPARE_CONTAINS(terminal().output(),
                          "Media changed " + directory().toUtf8() + "\nAdded usb0\nCurrent usb0\n");
        expect_signals({connection("usb0", true)});
    }

    void other_names_are_not_media()
    {
        make("usb1");
        terminal().start();
        terminal().clear();
        make("data");
        make("USB1");
        QVERIFY(QFile::link(QStringLiteral("nowhere"), directory() + QStringLiteral("usb-broken")));
        QCOMPARE(mkfifo((directory() + QStringLiteral("usb-pipe")).toUtf8().constData(), 0600), 0);
        rescan();
        terminal().settle();
        QCOMPARE_EMPTY(terminal().seen_signals());
        const QByteArray text = terminal().output();
        QCOMPARE_CONTAINS(text, "Media changed " + directory().toUtf8() + "\nCurrent usb1\n");
        QCOMPARE_LACKS(text, "Added");
        QCOMPARE_LACKS(text, "Current data");
    }

    void files_and_directories_are_media_sorted_without_case()
    {
        terminal().start();
        terminal().clear();
        // All before one scan.
        for (const char* name : {"usbC", "usba", "usbB"})
            terminal().root.write(QStringLiteral("tmp/") + QLatin1String(name), "");
        QDir(terminal().root.path()).rename(QStringLiteral("media"), QStringLiteral("old"));
        QDir(terminal().root.path()).rename(QStringLiteral("tmp"), QStringLiteral("media"));
        rescan();
        WAIT_UNTIL(terminal().seen_signals().size(), >=, 3);
        terminal().settle();
        QCOMPARE(terminal().seen_signals(),
                 (QList<Terminal::Signal>{connection("usba", true), connection("usbB", true),
                                          connection("usbC", true)}));
        QCOMPARE_CONTAINS(
            terminal().output(),
            "Added usba\nAdded usbB\nAdded usbC\nCurrent usba\nCurrent usbB\nCurrent usbC\n");
    }

    void removal_comes_before_addition()
    {
        make("usb0");
        terminal().start();
        terminal().clear();
        QVERIFY(QDir(directory()).rename(QStringLiteral("usb0"), QStringLiteral("usb0a")));
        expect_signals({connection("usb0", false), connection("usb0a", true)});
        const QByteArray text = terminal().output();
        QCOMPARE_CONTAINS(text, "Removed usb0\n");
        QCOMPARE_LT(text.indexOf("Removed usb0\n"), text.indexOf("Added usb0a\n"));
        QCOMPARE_CONTAINS(text, "Current usb0a\n");
    }

    void names_that_differ_in_case_are_different_media()
    {
        make("usba");
        terminal().start();
        terminal().clear();
        QVERIFY(QDir(directory()).rename(QStringLiteral("usba"), QStringLiteral("usbA")));
        expect_signals({connection("usba", false), connection("usbA", true)});
    }

    void removals_are_in_the_order_of_the_last_listing()
    {
        for (const char* name : {"usbC", "usba", "usbB"})
            make(name);
        terminal().start();
        terminal().clear();
        terminal().call(QStringLiteral("media"), QStringLiteral("media_changed"),
                        {QStringLiteral("/nowhere/")});
        QList<Terminal::Signal> removed;
        for (const char* name : {"usba", "usbB", "usbC"})
            removed.append({QStringLiteral("media"),
                            QStringLiteral("connection"),
                            {QStringLiteral("/nowhere/") + QLatin1String(name), false}});
        expect_signals(removed);
        QCOMPARE(terminal().output(), QByteArray("Media changed /nowhere/\nRemoved usba\n"
                                                 "Removed usbB\nRemoved usbC\n"));
    }

    void names_may_have_every_character()
    {
        const QByteArrayList names = {
            "usb",    "usb\n1",     "usb %s%n",        "usb*?",
            "usb[1]", "usb\\x",     "usb\x01\x7f",     "usb\xf0\x9f\x92\xbe",
            "usb.",   "usb'\"$(x)", "usb-\xef\xbf\xbd"};
        for (const QByteArray& name : names + QByteArrayList{"usb" + QByteArray(252, 'x')})
            QCOMPARE(mkdir((directory().toUtf8() + name).constData(), 0700), 0);
        terminal().start();
        terminal().settle();
        QCOMPARE(media_signals().size(), names.size() + 1);
        const QByteArray text = terminal().output();
        for (const QByteArray& name : names) {
            const Terminal::Signal added = {QStringLiteral("media"),
                                            QStringLiteral("connection"),
                                            {directory() + QString::fromUtf8(name), true}};
            QCOMPARE_CONTAINS(media_signals(), added);
            QCOMPARE_CONTAINS(text, "Added " + name + "\n");
        }
    }

    void link_to_what_exists_is_a_medium()
    {
        terminal().start();
        terminal().clear();
        QVERIFY(QFile::link(terminal().root.path(QStringLiteral("tmp")),
                            directory() + QStringLiteral("usb-link")));
        expect_signals({connection("usb-link", true)});
    }

    void change_is_noticed_without_a_call()
    {
        terminal().start();
        terminal().clear();
        make("usb7");
        expect_signals({connection("usb7", true)});
        QVERIFY(QDir(directory()).rmdir(QStringLiteral("usb7")));
        expect_signals({connection("usb7", true), connection("usb7", false)});
    }

    void inside_of_a_medium_is_not_watched()
    {
        make("usb0");
        terminal().start();
        terminal().clear();
        make("usb0/usb");
        make("usb1");
        expect_signals({connection("usb1", true)});
        QCOMPARE(terminal().output(), "Media changed " + directory().toUtf8() +
                                          "\nAdded usb1\nCurrent usb0\n" + "Current usb1\n");
    }

    void scan_of_another_directory_replaces_the_list()
    {
        make("usb0");
        terminal().root.make_directory(QStringLiteral("tmp/usbX"));
        terminal().start();
        terminal().clear();
        const QString other = terminal().root.path(QStringLiteral("tmp")) + QLatin1Char('/');
        terminal().call(QStringLiteral("media"), QStringLiteral("media_changed"), {other});
        expect_signals({{QStringLiteral("media"),
                         QStringLiteral("connection"),
                         {other + QStringLiteral("usb0"), false}},
                        {QStringLiteral("media"),
                         QStringLiteral("connection"),
                         {other + QStringLiteral("usbX"), true}}});
        const QString nowhere = QStringLiteral("/nowhere/");
        terminal().clear();
        terminal().call(QStringLiteral("media"), QStringLiteral("media_changed"), {nowhere});
        expect_signals({{QStringLiteral("media"),
                         QStringLiteral("connection"),
                         {QStringLiteral("/nowhere/usbX"), false}}});
    }

    void missing_directory_is_never_watched()
    {
        terminal().root.remove(QStringLiteral("media"));
        terminal().start();
        QCOMPARE_CONTAINS(terminal().output(),
                          "Media changed " + directory().toUtf8() + "\nPath: ");
        terminal().clear();
        terminal().root.make_directory(QStringLiteral("media/usb0"));
        terminal().settle();
        QCOMPARE_EMPTY(terminal().seen_signals());
        QCOMPARE_LACKS(terminal().errors(), "QFileSystemWatcher");
    }

    void camera_takes_every_call_and_does_nothing()
    {
        terminal().start();
        terminal().clear();
        const QString path = QStringLiteral("device/camera");
        const QVariant byte = QVariant::fromValue(uchar{1});
        const QList<QPair<QString, QVariantList>> calls = {
            {QStringLiteral("media_changed"), {QStringLiteral("/x")}},
            {QStringLiteral("switch_channel"), {1U}},
            {QStringLiteral("scan_channels"), {QStringLiteral("1,2"), 5U}},
            {QStringLiteral("request4"), {byte, byte, byte, byte}},
            {QStringLiteral("request5"), {byte, byte, byte, byte, byte}},
            {QStringLiteral("request6"), {byte, byte, byte, byte, byte, byte}},
        };
        for (const auto& each : calls) {
            const QDBusMessage reply = terminal().call(path, each.first, each.second);
            QCOMPARE(reply.type(), QDBusMessage::ReplyMessage);
            QCOMPARE_EMPTY(reply.arguments());
        }
        QCOMPARE(terminal().get(path, QStringLiteral("is_connected")), QVariant(false));
        terminal().settle();
        QCOMPARE_EMPTY(terminal().output());
        QCOMPARE_EMPTY(terminal().seen_signals());
        QCOMPARE_EMPTY(terminal().requests());
    }
};

QTEST_GUILESS_MAIN(Media_and_camera)
#include "media_and_camera.moc"
