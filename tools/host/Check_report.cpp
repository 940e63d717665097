#include "Check_report.h"

#include <QXmlStreamWriter>

namespace {

QString seconds_text(double seconds)
{
    return QString::number(seconds, 'f', 3);
}

QString word_of(Verdict::Kind kind)
{
    switch (kind) {
    case Verdict::Kind::passed:
        return QStringLiteral("passed");
    case Verdict::Kind::failed:
        return QStringLiteral("failed");
    case Verdict::Kind::unjudged:
        return QStringLiteral("unjudged");
    case Verdict::Kind::left_out:
        break;
    }
    return QStringLiteral("left out");
}

/// JUnit's; none for what passed.
QString element_of(Verdict::Kind kind)
{
    switch (kind) {
    case Verdict::Kind::failed:
        return QStringLiteral("failure");
    case Verdict::Kind::left_out:
        return QStringLiteral("skipped");
    case Verdict::Kind::unjudged:
        return QStringLiteral("error");
    case Verdict::Kind::passed:
        break;
    }
    return {};
}

void write_case(QXmlStreamWriter& writer, const Check_result& result)
{
    writer.writeStartElement(QStringLiteral("testcase"));
    writer.writeAttribute(QStringLiteral("classname"),
                          QStringLiteral("controller.") +
                              result.name.section(QLatin1Char('.'), 0, 0));
    writer.writeAttribute(QStringLiteral("name"), result.name);
    writer.writeAttribute(QStringLiteral("time"), seconds_text(result.seconds));
    const QString element = element_of(result.verdict.kind);
    if (!element.isEmpty()) {
        writer.writeEmptyElement(element);
        writer.writeAttribute(QStringLiteral("message"), result.verdict.text);
    }
    writer.writeEndElement();
}

} // namespace

Check_counts count(const std::vector<Check_result>& results)
{
    Check_counts counts;
    for (const Check_result& result : results) {
        counts.passed += result.verdict.kind == Verdict::Kind::passed ? 1 : 0;
        counts.failed += result.verdict.kind == Verdict::Kind::failed ? 1 : 0;
        counts.left_out += result.verdict.kind == Verdict::Kind::left_out ? 1 : 0;
        counts.unjudged += result.verdict.kind == Verdict::Kind::unjudged ? 1 : 0;
    }
    return counts;
}

QString text_of(const Check_counts& counts)
{
    const QString text = QStringLiteral("%1 checks: %2 passed, %3 failed, %4 left out")
                             .arg(counts.passed + counts.failed + counts.left_out + counts.unjudged)
                             .arg(counts.passed)
                             .arg(counts.failed)
                             .arg(counts.left_out);
    return counts.unjudged == 0 ? text
                                : text + QStringLiteral(", %1 unjudged").arg(counts.unjudged);
}

QJsonObject json_of(const Check_counts& counts)
{
    return {{QStringLiteral("passed"), counts.passed},
            {QStringLiteral("failed"), counts.failed},
            {QStringLiteral("left_out"), counts.left_out},
            {QStringLiteral("unjudged"), counts.unjudged}};
}

QString line_of(const Check_result& result)
{
    const bool is_failed = result.verdict.kind == Verdict::Kind::failed;
    const QString word = word_of(result.verdict.kind);
    const QString line =
        QStringLiteral("%1 %2").arg(is_failed ? word.toUpper() : word, -8).arg(result.name);
    return result.verdict.text.isEmpty() ? line : line + QStringLiteral(": ") + result.verdict.text;
}

QString tap_header(std::size_t count)
{
    return QStringLiteral("TAP version 13\n1..%1").arg(count);
}

QString tap_of(const Check_result& result, int number)
{
    switch (result.verdict.kind) {
    case Verdict::Kind::passed:
        break;
    case Verdict::Kind::left_out:
        return QStringLiteral("ok %1 - %2 # SKIP %3")
            .arg(number)
            .arg(result.name, result.verdict.text);
    case Verdict::Kind::failed:
    case Verdict::Kind::unjudged:
        return QStringLiteral("not ok %1 - %2\n  ---\n  message: '%3'\n  ...")
            .arg(number)
            .arg(result.name,
                 QString(result.verdict.text).replace(QLatin1Char('\''), QLatin1String("''")));
    }
    return QStringLiteral("ok %1 - %2").arg(number).arg(result.name);
}

QJsonObject json_of(const Check_result& result)
{
    return {
        {QStringLiteral("name"), result.name},
        {QStringLiteral("result"), word_of(result.verdict.kind)},
        {QStringLiteral("text"), result.verdict.text},
        {QStringLiteral("seconds"), result.seconds},
    };
}

QByteArray junit_of(const std::vector<Check_result>& results)
{
    const Check_counts counts = count(results);
    double seconds = 0;
    for (const Check_result& result : results)
        seconds += result.seconds;
    QByteArray text;
    QXmlStreamWriter writer(&text);
    writer.setAutoFormatting(true);
    writer.writeStartDocument();
    writer.writeStartElement(QStringLiteral("testsuite"));
    writer.writeAttribute(QStringLiteral("name"), QStringLiteral("dov-line check"));
    writer.writeAttribute(QStringLiteral("tests"), QString::number(results.size()));
    writer.writeAttribute(QStringLiteral("failures"), QString::number(counts.failed));
    writer.writeAttribute(QStringLiteral("errors"), QString::number(counts.unjudged));
    writer.writeAttribute(QStringLiteral("skipped"), QString::number(counts.left_out));
    writer.writeAttribute(QStringLiteral("time"), seconds_text(seconds));
    for (const Check_result& result : results)
        write_case(writer, result);
    writer.writeEndDocument();
    return text;
}
