#include "Scenario.h"

#include <QFile>
#include <QFileInfo>
#include <QLocale>

#include <algorithm>
#include <utility>

namespace {

[[noreturn]] void refuse(const QString& where, const char* what)
{
    qFatal("%s: %s", qPrintable(where), what);
}

/// Reads one line, word after word.
class Line {
public:
    Line(const QByteArray& text, const QString& where) : text_(text.trimmed()), where_(where) {}

    bool is_at_end() const { return at_ == text_.size(); }
    const QString& where() const { return where_; }

    /// The next word, or nothing at the end. Quotes and escapes inside are resolved.
    QByteArray word()
    {
        QByteArray word;
        bool quoted = false;
        for (; !is_at_end() && (quoted || text_[at_] != ' '); ++at_) {
            if (text_[at_] == '"')
                quoted = !quoted;
            else
                word += text_[at_] == '\\' ? escape() : text_[at_];
        }
        while (!is_at_end() && text_[at_] == ' ')
            ++at_;
        if (quoted)
            refuse(where_, "a quote is missing");
        return word;
    }

    /// The rest of the line, in hexadecimal.
    QByteArray bytes()
    {
        const QByteArray rest = text_.mid(at_);
        at_ = static_cast<int>(text_.size());
        QByteArray bytes = QByteArray::fromHex(rest);
        if (bytes.toHex() != QByteArray(rest).replace(' ', "").toLower())
            refuse(where_, "these are no bytes");
        return bytes;
    }

    QByteArray message()
    {
        const QByteArray message = bytes();
        if (message.isEmpty() || message.size() > 8)
            refuse(where_, "a message has 1 to 8 bytes");
        return message.leftJustified(8, '\0');
    }

    /// The values up to the end or an arrow, which is taken as well.
    QVariantList values()
    {
        QVariantList values;
        while (!is_at_end()) {
            const QByteArray value = word();
            if (value == "->")
                break;
            values.append(to_value(value));
        }
        return values;
    }

private:
    /// The character that an escape means; leaves its last character to be passed.
    char escape()
    {
        ++at_;
        switch (text_.at(at_)) {
        case 'n':
            return '\n';
        case 'r':
            return '\r';
        case 't':
            return '\t';
        case 'x':
            at_ += 2;
            return QByteArray::fromHex(text_.mid(at_ - 1, 2))[0];
        default:
            return text_.at(at_);
        }
    }

    QVariant to_value(const QByteArray& word) const
    {
        const QString text = QString::fromUtf8(word.mid(2));
        switch (word.startsWith(word.left(1) + ':') ? word[0] : '\0') {
        case 'b':
            return text == QLatin1String("true");
        case 'd':
            return text.toDouble();
        case 'i':
            return text.toInt();
        case 'u':
            return text.toUInt();
        case 'y':
            return QVariant::fromValue(static_cast<uchar>(text.toUInt()));
        case 's':
            return text;
        default:
            refuse(where_, "this is no value");
        }
    }

    QByteArray text_;
    int at_ = 0;
    QString where_;
};

Scenario::Step read_call(Line& line)
{
    Scenario::Step step;
    step.kind = Scenario::Step::Kind::call;
    step.path = QString::fromUtf8(line.word());
    step.method = QString::fromUtf8(line.word());
    step.values = line.values();
    step.result = Scenario::to_text(line.values());
    return step;
}

/// A step, when the line is one.
bool read_step(const QByteArray& keyword, Line& line, QVector<Scenario::Step>& steps)
{
    Scenario::Step step;
    if (keyword == ">") {
        step.bytes = line.message();
    } else if (keyword == "raw") {
        step.kind = Scenario::Step::Kind::raw;
        step.bytes = line.bytes();
    } else if (keyword == "call") {
        step = read_call(line);
    } else {
        return false;
    }
    steps.append(step);
    return true;
}

/// What must come of the steps, when the line tells that.
bool read_expectation(const QByteArray& keyword, Line& line, Scenario::Outcome& expected)
{
    if (keyword == "out") {
        expected.out += line.word();
    } else if (keyword == "err") {
        expected.err += line.word();
    } else if (keyword == "log") {
        expected.log.append(QString::fromUtf8(line.word()));
    } else if (keyword == "<") {
        expected.requests.append(QString::fromLatin1(line.message().toHex(' ')));
    } else if (keyword == "signal") {
        const QString path = QString::fromUtf8(line.word());
        const QString name = QString::fromUtf8(line.word());
        expected.signals_seen.append(path + QLatin1Char(' ') + name +
                                     Scenario::to_text(line.values()));
    } else {
        return false;
    }
    return true;
}

void read_line(Line& line, Scenario& scenario)
{
    const QByteArray keyword = line.word();
    if (keyword == "file") {
        const QString below = QString::fromUtf8(line.word());
        scenario.files.append({below, line.word()});
    } else if (keyword == "answer") {
        scenario.answers.append(line.message());
    } else if (keyword == "until") {
        scenario.awaited.append(line.message().toHex());
    } else if (keyword == "line") {
        scenario.only_line = true;
    } else if (keyword == "setup") {
        if (!read_step(line.word(), line, scenario.setup))
            refuse(line.where(), "this cannot be done first");
    } else if (!read_step(keyword, line, scenario.steps) &&
               !read_expectation(keyword, line, scenario.expected)) {
        refuse(line.where(), "this is nothing that a scenario tells");
    }
    if (!line.is_at_end())
        refuse(line.where(), "something is left over");
}

} // namespace

bool Scenario::has(Step::Kind kind) const
{
    return std::any_of(steps.begin(), steps.end(),
                       [kind](const Step& step) { return step.kind == kind; });
}

bool Scenario::concerns_poll() const
{
    const QVector<Step> all = setup + steps;
    return std::any_of(all.begin(), all.end(), [](const Step& step) {
        return step.kind == Step::Kind::message &&
               is_poll_answer(static_cast<uchar>(step.bytes[0]));
    });
}

Scenario Scenario::read(const QString& file_name)
{
    QFile file(file_name);
    if (!file.open(QIODevice::ReadOnly))
        refuse(file_name, "cannot be read");
    Scenario scenario;
    scenario.name = QFileInfo(file_name).completeBaseName();
    int number = 0;
    while (!file.atEnd()) {
        const QByteArray text = file.readLine().trimmed();
        ++number;
        if (text.isEmpty() || text.startsWith('#'))
            continue;
        Line line(text, QStringLiteral("%1:%2").arg(file_name).arg(number));
        read_line(line, scenario);
    }
    for (const Step& step : std::as_const(scenario.steps)) {
        if (step.kind == Step::Kind::call)
            scenario.expected.results.append(step.path + QLatin1Char(' ') + step.method +
                                             step.result);
    }
    return scenario;
}

QString Scenario::to_text(const QVariantList& values)
{
    QString text;
    for (const QVariant& value : values) {
        switch (value.userType()) {
        case QMetaType::Bool:
            text += value.toBool() ? QStringLiteral(" b:true") : QStringLiteral(" b:false");
            break;
        case QMetaType::Double:
            text += QStringLiteral(" d:") +
                    QString::number(value.toDouble(), 'g', QLocale::FloatingPointShortest);
            break;
        case QMetaType::Int:
            text += QStringLiteral(" i:%1").arg(value.toInt());
            break;
        case QMetaType::UInt:
            text += QStringLiteral(" u:%1").arg(value.toUInt());
            break;
        case QMetaType::UChar:
            text += QStringLiteral(" y:%1").arg(value.toUInt());
            break;
        default:
            text += QStringLiteral(" s:\"%1\"").arg(value.toString());
        }
    }
    return text;
}

bool is_poll_answer(uchar id)
{
    return id == 0x1C || id == 0x22 || id == 0x24 || id == 0x28;
}
