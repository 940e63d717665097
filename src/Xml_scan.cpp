#include "Xml_scan.h"

#include <algorithm>
#include <climits>

namespace {

class Scanner {
public:
    explicit Scanner(const QString& text) : text_(text) {}

    Xml_demand scan()
    {
        while (at_ < text_.size()) {
            if (skip("<!--", "-->") || skip("<?", "?>") || skip("<![CDATA[", "]]>"))
                continue;
            if (begins_with("<!"))
                scan_document_type();
            else if (text_[at_] == QLatin1Char('<'))
                scan_tag();
            else
                take_character();
        }
        return demand_;
    }

private:
    bool begins_with(const char* begin) const
    {
        const QLatin1String expected(begin);
        return QStringView(text_).mid(at_, expected.size()) == expected;
    }

    void go_behind(const QString& end, int from)
    {
        const auto found = text_.indexOf(end, from);
        at_ = static_cast<int>(found < 0 ? text_.size() : found + end.size());
    }

    bool skip(const char* begin, const char* end)
    {
        if (!begins_with(begin))
            return false;
        const QLatin1String opening(begin);
        go_behind(QLatin1String(end), at_ + static_cast<int>(opening.size()));
        return true;
    }

    bool is_at_quote() const
    {
        return text_[at_] == QLatin1Char('"') || text_[at_] == QLatin1Char('\'');
    }

    /// Goes behind a quoted value; what it holds.
    QString take_value()
    {
        const int begin = at_ + 1;
        go_behind(QString(text_[at_]), begin);
        return text_.mid(begin, at_ - 1 - begin);
    }

    /// Goes behind a character or a reference; the entity's name, if it is one.
    QString take_character()
    {
        const int begin = at_ + 1;
        if (text_[at_] != QLatin1Char('&')) {
            ++at_;
            return {};
        }
        go_behind(QStringLiteral(";"), begin);
        QString name = text_.mid(begin, at_ - 1 - begin);
        ++demand_.references[name];
        return name;
    }

    void scan_tag()
    {
        int values = 0;
        for (; at_ < text_.size() && text_[at_] != QLatin1Char('>'); ++at_) {
            if (!is_at_quote())
                continue;
            const QChar quote = text_[at_];
            ++values;
            ++at_;
            while (at_ < text_.size() && text_[at_] != quote) {
                const QString name = take_character();
                if (!name.isEmpty())
                    demand_.references_in_values.insert(name);
            }
        }
        demand_.values = std::max(demand_.values, values);
    }

    /// A value is declared in quotes, or as one of the words that begin with '#'. Those within an
    /// entity's value are declared as often as it may be referred to.
    void scan_document_type()
    {
        int declared = 0;
        int declared_within = 0;
        int parameters = 0;
        int depth = 0;
        do {
            if (skip("<!--", "-->") || skip("<?", "?>"))
                continue;
            if (is_at_quote()) {
                const QString value = take_value();
                ++declared;
                declared_within +=
                    static_cast<int>(value.count(QLatin1Char('#')) + value.count(QLatin1Char('"')) +
                                     value.count(QLatin1Char('\'')));
                demand_.declared_references += static_cast<int>(value.count(QLatin1Char('&')) -
                                                                value.count(QLatin1String("&#")));
                continue;
            }
            const QChar character = text_[at_++];
            depth += int{character == QLatin1Char('<')} - int{character == QLatin1Char('>')};
            declared += int{character == QLatin1Char('#')};
            parameters += int{character == QLatin1Char('%')};
        } while (depth > 0 && at_ < text_.size());
        demand_.declared_references += parameters;
        const qint64 values =
            demand_.declared_references + declared + qint64{declared_within} * parameters;
        demand_.values =
            static_cast<int>(std::max<qint64>(demand_.values, std::min<qint64>(values, INT_MAX)));
    }

    const QString& text_;
    int at_ = 0;
    Xml_demand demand_;
};

} // namespace

Xml_demand scan_xml(const QString& text)
{
    return Scanner(text).scan();
}
