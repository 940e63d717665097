#include "Options.h"

#include <arpa/inet.h>
#include <netinet/in.h>

namespace {

const char* const description =
    R"(Serves one page that shows a vehicle display terminal to a browser on this machine:
the terminal's objects as dov-watch does, the line as dov-line does, and, where
dov-controller plays the vehicle, its inputs and faults.

Whoever can open the page can look. Nothing can be changed without --control,
and then only by a page that has the token of the address that is printed.)";

bool is_loopback(const QString& address)
{
    const QByteArray text = address.toLatin1();
    in_addr v4{};
    in6_addr v6{};
    constexpr uint loopback_net = 127;
    if (inet_pton(AF_INET, text.constData(), &v4) == 1)
        return ntohl(v4.s_addr) >> 24U == loopback_net;
    return inet_pton(AF_INET6, text.constData(), &v6) == 1 && IN6_IS_ADDR_LOOPBACK(&v6);
}

/// Takes "ADDRESS:PORT", "[ADDRESS]:PORT" or "localhost:PORT".
QString take_listen(const QString& value, Options& options)
{
    const auto colon = value.lastIndexOf(QLatin1Char(':'));
    QString address = value.left(colon);
    if (address == QLatin1String("localhost"))
        address = QStringLiteral("127.0.0.1");
    else if (address.startsWith(QLatin1Char('[')) && address.endsWith(QLatin1Char(']')))
        address = address.mid(1, address.size() - 2);
    bool is_number = false;
    const uint port = value.mid(colon + 1).toUInt(&is_number);
    constexpr uint most_port = 65535;
    if (colon < 0 || !is_number || port > most_port)
        return QStringLiteral("--listen: \"%1\" is not ADDRESS:PORT").arg(value);
    if (!is_loopback(address))
        return QStringLiteral("--listen: \"%1\" is not an address of the loopback interface")
            .arg(address);
    options.address = address;
    options.port = static_cast<int>(port);
    return {};
}

QString take_interval(const QString& value, Options& options)
{
    bool is_good = false;
    options.interval_ms = value.toInt(&is_good);
    constexpr int least_ms = 50;
    constexpr int most_ms = 3600000;
    return is_good && options.interval_ms >= least_ms && options.interval_ms <= most_ms
               ? QString()
               : QStringLiteral("--interval takes milliseconds from %1 to %2")
                     .arg(least_ms)
                     .arg(most_ms);
}

} // namespace

Tool_request parse_command_line(const QStringList& arguments, Options& options)
{
    Tool_command_line line(QStringLiteral("dov-panel"), QString::fromLatin1(description));
    line.add_text("bus", "address", "The bus of the terminal; the system bus by default.",
                  options.bus);
    line.add_text("controller", "path", "The socket of dov-controller, which plays the vehicle.",
                  options.controller);
    line.add_text("tap", "path", "The socket of dov-line tap, which hears the line.", options.tap);
    line.add("listen", "address", "Where browsers find it: 127.0.0.1:8037. Port 0 takes any.",
             [&](const QString& value) { return take_listen(value, options); });
    line.add("interval", "ms", "How often what no signal tells is read: 500.",
             [&](const QString& value) { return take_interval(value, options); });
    line.add_switch("control", "Lets pages that have the token change things; prints it.",
                    options.control);
    line.add_text("token-file", "file", "Where the token is kept; made there if it is not there.",
                  options.token_file);
    line.add_text("page", "path", "Takes the page's files from this directory.", options.page);
    line.set_further_help(QStringLiteral(
        "\nEach of bus, controller and tap may be absent, come later, go and come back.\n"
        "\nExit status: 0 ended as asked, 1 it cannot listen or the token cannot be kept,\n"
        "2 wrong usage.\n"));
    Tool_request request = line.parse(arguments);
    if (!options.token_file.isEmpty() && !options.control)
        request.refuse(QStringLiteral("--token-file is for --control"));
    return request;
}
