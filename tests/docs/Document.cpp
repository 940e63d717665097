#include "Document.h"

#include <QFile>
#include <QRegularExpression>

#include <utility>

namespace {

const QString fence = QStringLiteral("```");

int heading_level(const QString& line)
{
    static const QRegularExpression heading(QStringLiteral("^(#+) "));
    return static_cast<int>(heading.match(line).capturedLength(1));
}

bool is_ruler(const QString& line)
{
    static const QRegularExpression ruler(QStringLiteral("^\\|[-|: ]+\\|$"));
    return ruler.match(line).hasMatch();
}

QStringList cells(const QString& line)
{
    QStringList cells = line.split(QLatin1Char('|'));
    cells.removeFirst();
    cells.removeLast();
    for (QString& cell : cells)
        cell = cell.trimmed();
    return cells;
}

} // namespace

QVector<QStringList> Document::Section::rows() const
{
    QVector<QStringList> rows;
    for (int i = 1; i < lines.size(); ++i) {
        const bool is_row = lines[i].startsWith(QLatin1Char('|')) && !is_ruler(lines[i]);
        const bool is_title = i + 1 < lines.size() && is_ruler(lines[i + 1]);
        if (is_row && !is_title)
            rows.append(cells(lines[i]));
    }
    return rows;
}

QVector<QStringList> Document::Section::blocks(const QString& language) const
{
    QVector<QStringList> blocks;
    QString open;
    for (const QString& line : lines) {
        if (line.startsWith(fence)) {
            const bool begins = open.isNull();
            open = begins ? line.mid(fence.size()) + QLatin1Char('.') : QString();
            if (begins && line.mid(fence.size()) == language)
                blocks.append(QStringList());
        } else if (open == language + QLatin1Char('.')) {
            blocks.last().append(line);
        }
    }
    return blocks;
}

Document::Document(const QString& path) : path_(path)
{
    QFile file(source_path(path));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("cannot read %s", qPrintable(path));
    lines_ = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'));

    bool in_code = false;
    for (const QString& line : std::as_const(lines_)) {
        if (line.startsWith(fence))
            in_code = !in_code;
        const int level = in_code ? 0 : heading_level(line);
        if (level > 0)
            sections_.append({level, line.mid(level + 1), {}});
        // A line belongs to its section and to those around it.
        int inner = sections_.isEmpty() ? 0 : sections_.last().level + 1;
        for (int i = static_cast<int>(sections_.size()) - 1; i >= 0; --i) {
            if (sections_[i].level < inner) {
                inner = sections_[i].level;
                sections_[i].lines.append(line);
            }
        }
    }
}

Document::Section Document::section(const QString& title) const
{
    for (const Section& section : sections_) {
        if (section.title == title)
            return section;
    }
    return {};
}

QStringList Document::prose() const
{
    QStringList prose;
    bool in_code = false;
    for (const QString& line : lines_) {
        if (line.startsWith(fence))
            in_code = !in_code;
        else if (!in_code)
            prose.append(line);
    }
    return prose;
}

QStringList Document::anchors() const
{
    static const QRegularExpression dropped(QStringLiteral("[^\\w\\- ]"));
    QStringList anchors;
    for (const Section& section : sections_) {
        QString anchor = section.title.toLower();
        anchor.remove(dropped);
        anchors.append(anchor.replace(QLatin1Char(' '), QLatin1Char('-')));
    }
    return anchors;
}

QString source_path(const QString& relative)
{
    return QStringLiteral(DOV_SOURCES "/") + relative;
}

QString plain(QString cell)
{
    return cell.remove(QLatin1Char('`'));
}
