// The program as it is shipped, with the machine's own paths and commands: in a sandbox in which
// these lead to the test's files. Where the machine grants no namespaces, the test says so and
// ends with 77.

#include "Terminal.h"

#include <QCoreApplication>
#include <QDBusConnectionInterface>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

#include <csignal>

class Real_paths : public QObject {
    Q_OBJECT

private:
    static void add(QStringList& options, const char* option, const QString& from,
                    const QString& to)
    {
        options << QLatin1String(option) << from << to;
    }

    /// Shows the machine's programs and libraries, as they are.
    static void add_machine(QStringList& options)
    {
        for (const char* name : {"/usr", "/bin", "/sbin", "/lib", "/lib64"}) {
            const QFileInfo info{QString::fromLatin1(name)};
            if (info.isSymLink())
                add(options, "--symlink", info.symLinkTarget(), info.filePath());
            else if (info.exists())
                add(options, "--ro-bind", info.filePath(), info.filePath());
        }
        const QString cache = QStringLiteral("/etc/ld.so.cache");
        add(options, "--ro-bind-try", cache, cache);
        options << QStringLiteral("--proc") << QStringLiteral("/proc") << QStringLiteral("--dev")
                << QStringLiteral("/dev");
    }

    /// The options of a sandbox that shows the terminal's files in place of the machine's. The
    /// stub lies over the machine's `systemctl`, and what that would talk to is not there.
    static QStringList sandbox(const Terminal& terminal)
    {
        QStringList options = {QStringLiteral("--die-with-parent")};
        add_machine(options);
        const auto root = [&terminal](const char* name) {
            return terminal.root.path(QLatin1String(name));
        };
        const QString systemctl = QStringLiteral("/usr/bin/systemctl");
        if (QFile::exists(systemctl))
            add(options, "--ro-bind", root("bin/systemctl"), systemctl);
        add(options, "--ro-bind", Daemon_process::shipped_program(), QStringLiteral("/dov-dbus"));
        add(options, "--dev-bind", terminal.controller.device(), QStringLiteral("/dev/ttyUSB0"));
        add(options, "--bind", root("log"), QStringLiteral("/dev/log"));
        add(options, "--bind", root("tmp"), QStringLiteral("/tmp"));
        add(options, "--bind", root("media"), QStringLiteral("/media"));
        add(options, "--ro-bind", root("nv"), QStringLiteral("/nv"));
        for (const char* name : {"power_manage.conf", "oem_profile.conf", "bsp_version_short"}) {
            const QString file = QStringLiteral("etc/") + QLatin1String(name);
            add(options, "--ro-bind-try", terminal.root.path(file), QLatin1Char('/') + file);
        }
        // What the sanitizers have to know lies beside the tests.
        const QString tests = QDir::cleanPath(QStringLiteral(DOV_GOLDEN "/../.."));
        add(options, "--ro-bind", tests, tests);
        // The stub notes its calls below the root, and the bus listens in its own directory.
        const QString bus = terminal.bus.directory();
        add(options, "--bind", terminal.root.path(), terminal.root.path());
        add(options, "--bind", bus, bus);
        return options;
    }

    /// Whether the stub is the only `systemctl` in the sandbox.
    static bool is_sandbox_safe(const Terminal& terminal)
    {
        Daemon_process check;
        check.start_program(QStringLiteral("/usr/bin/env"), terminal.root.path(),
                            terminal.bus.address(),
                            QStringList{QStringLiteral("bwrap")} + sandbox(terminal) +
                                QStringList{QStringLiteral("sh"), QStringLiteral("-c"),
                                            QStringLiteral("systemctl is stubbed && "
                                                           "PATH=/usr/bin:/bin command -v "
                                                           "systemctl | while read -r real; do "
                                                           "cmp \"$real\" \"$DOV_TEST_ROOT\""
                                                           "/bin/systemctl || exit 1; done")});
        const bool safe =
            check.wait_for_end() && check.exit_status() == 0 &&
            terminal.root.systemctl_calls() == QStringList{QStringLiteral("is stubbed")};
        terminal.root.remove(QStringLiteral("systemctl.calls"));
        return safe;
    }

    /// Starts it in the sandbox as it is started on a terminal, without options.
    static void start(Terminal& terminal)
    {
        if (!is_sandbox_safe(terminal))
            qFatal("the sandbox is not safe:\n%s", terminal.daemon.errors().constData());
        terminal.daemon.start_program(QStringLiteral("/usr/bin/env"), terminal.root.path(),
                                      terminal.bus.address(),
                                      QStringList{QStringLiteral("bwrap")} + sandbox(terminal) +
                                          QStringList{QStringLiteral("/dov-dbus")});
        if (!terminal.wait_until_started())
            qFatal("the program does not start:\n%s%s", terminal.daemon.output().constData(),
                   terminal.daemon.errors().constData());
    }

    /// Ends the daemon itself, which the sandbox's own process waits for.
    static bool ends_cleanly(Terminal& terminal)
    {
        const uint pid =
            terminal.connection().interface()->servicePid(QStringLiteral("com.quorin.system"));
        ::kill(static_cast<pid_t>(pid), SIGTERM);
        return terminal.daemon.wait_for_end() && terminal.daemon.exit_status() == 0;
    }

    static QString version(Terminal& terminal, const char* name)
    {
        return terminal.get(QLatin1String("version/") + QLatin1String(name), QStringLiteral("get"))
            .toString();
    }

private Q_SLOTS:
    void a_life_on_the_real_paths()
    {
        Terminal terminal;
        terminal.root.write(QStringLiteral("etc/oem_profile.conf"),
                            "<profile><code>3</code></profile>");
        terminal.root.write(QStringLiteral("tmp/.buzzer_on"), "");
        terminal.root.make_directory(QStringLiteral("media/usb0"));
        start(terminal);
        const QStringList lines = terminal.log.lines();
        QCOMPARE_CONTAINS(lines, QLatin1String("Timeout for low-power is 100"));
        QCOMPARE_CONTAINS(lines, QLatin1String("Configured OEM code for this system is 3"));
        QCOMPARE_CONTAINS(terminal.log.datagrams().first(), QLatin1String(" orb-dbus: ===="));
        QCOMPARE_STARTS(terminal.log.datagrams().first(), QLatin1String("<30>"));
        QCOMPARE_CONTAINS(terminal.daemon.output(),
                          "Media changed /media/\nAdded usb0\nCurrent usb0\n");
        QCOMPARE(version(terminal, "serial_number"), QStringLiteral("1234\n"));
        QCOMPARE_ENDS(version(terminal, "kernel"), QLatin1String("-v7.3\n"));
        QCOMPARE_STARTS(version(terminal, "customer_part_number"), QLatin1String("PN-1\n"));
        QVERIFY(version(terminal, "customer_part_number").endsWith(QLatin1String("VP2\n,B3\n")) ||
                version(terminal, "customer_part_number").endsWith(QLatin1String("VP2\n-e ,B3\n")));
        QVERIFY(ends_cleanly(terminal));
        QVERIFY(!QFile::exists(terminal.root.path(QStringLiteral("tmp/.buzzer_on"))));
        QCOMPARE_EMPTY(terminal.root.systemctl_calls());
        QVERIFY(wait_for([&] {
            return terminal.log.lines().contains(
                QLatin1String("=============== Exiting ================="));
        }));
    }

    void without_its_files_it_switches_the_terminal_off()
    {
        Terminal terminal;
        terminal.root.remove(QStringLiteral("etc/power_manage.conf"));
        terminal.root.remove(QStringLiteral("etc/bsp_version_short"));
        terminal.root.remove(QStringLiteral("nv/info/SERIAL_NUMBER"));
        start(terminal);
        QCOMPARE(terminal.root.systemctl_calls(),
                 QStringList{QStringLiteral("poweroff --no-block")});
        // The program's full path may stand before the message.
        QCOMPARE_ENDS(version(terminal, "serial_number"),
                      QLatin1String("cat: /nv/info/SERIAL_NUMBER: No such file or directory\n"));
        QCOMPARE(version(terminal, "kernel"),
                 QStringLiteral("cat: /etc/bsp_version_short: No such file or directory\n"));
        QVERIFY(ends_cleanly(terminal));
    }
};

namespace {

constexpr int cannot_run = 77;

/// Why the machine grants no namespaces; empty where it does.
QByteArray refusal()
{
    QProcess sandbox;
    sandbox.start(QStringLiteral("bwrap"), {QStringLiteral("--ro-bind"), QStringLiteral("/"),
                                            QStringLiteral("/"), QStringLiteral("true")});
    if (!sandbox.waitForFinished())
        qFatal("there is no bwrap: %s", qPrintable(sandbox.errorString()));
    return sandbox.exitCode() == 0 ? QByteArray() : sandbox.readAllStandardError().trimmed();
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QByteArray reason = refusal();
    if (!reason.isEmpty()) {
        qWarning("cannot run here: no namespaces: %s", reason.constData());
        return cannot_run;
    }
    Real_paths test;
    return QTest::qExec(&test, argc, argv);
}

#include "real_paths.moc"
