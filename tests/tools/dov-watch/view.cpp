// What the screen shows at any size, and what the keys do.

#include "Screen_view.h"

#include <QFile>
#include <QRegularExpression>
#include <QTest>

#include <cstdio>

class View : public QObject {
    Q_OBJECT

public:
    /// The whole screen with a service that has just been read.
    static QString screen()
    {
        Watch_model model;
        fill(model);
        Screen_view view(model, Glyphs::utf8(), QString());
        QString text = drawn(view, 160, 40);
        static const QRegularExpression blanks(QStringLiteral(" +\n"));
        return text.replace(blanks, QStringLiteral("\n"));
    }

private:
    const QString prefix_ = QStringLiteral("/com/quorin/system/");

    /// A service with every value read.
    static void fill(Watch_model& model)
    {
        model.set_owner(QStringLiteral(":1.5"), 0);
        for (const Value_place& place : model.take_due(Watch_model::Due::all)) {
            const Object_kind& kind =
                *model.objects().at(static_cast<std::size_t>(place.object)).entry.kind;
            const QByteArray getter = kind.values[static_cast<std::size_t>(place.value)].getter;
            QVariant value = 12.5;
            if (getter.startsWith("is_"))
                value = getter == "is_enabled";
            if (getter == "get")
                value = QStringLiteral("v1.2.3");
            model.take_reading(place, value, 0);
        }
        model.sample();
    }

    static QString drawn(Screen_view& view, int width, int height, const Screen_facts& facts = {})
    {
        Canvas canvas(width, height);
        view.draw(canvas, facts);
        QString text;
        for (int y = 0; y < height; ++y)
            text += canvas.row(y) + QLatin1Char('\n');
        return text;
    }

    static Action press(Screen_view& view, const char* keys)
    {
        Action last;
        for (const char* key = keys; *key != '\0'; ++key)
            last = view.handle_key({Key::Code::character, QLatin1Char(*key)});
        return last;
    }

    static void select(Screen_view& view, const char* text)
    {
        press(view, "/");
        view.handle_key({Key::Code::escape, {}});
        press(view, "/");
        press(view, text);
        view.handle_key({Key::Code::enter, {}});
    }

private Q_SLOTS:
    void large_screen_shows_every_object()
    {
        Watch_model model;
        fill(model);
        Screen_view view(model, Glyphs::utf8(), QString());
        const QString text = drawn(view, 160, 50);
        for (const Watched_object& each : model.objects())
            QCOMPARE_CONTAINS(text, each.entry.title);
        QCOMPARE_CONTAINS(text, QStringLiteral("12.500 V"));
        QCOMPARE_CONTAINS(text, QStringLiteral("service :1.5"));
        QCOMPARE_CONTAINS(text, QStringLiteral("versions known"));
        QCOMPARE_CONTAINS(text, prefix_ + QStringLiteral("device/io/input/digital/0"));
    }

    void the_screen_is_as_kept()
    {
        QFile file(QStringLiteral(DOV_WATCH_TESTS "/screen.txt"));
        QVERIFY2(file.open(QIODevice::ReadOnly), qPrintable(file.errorString()));
        const QStringList shown = screen().split(QLatin1Char('\n'));
        const QStringList kept = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'));
        QVERIFY2(
            shown == kept,
            qPrintable(QStringLiteral("the screen is not as in tests/tools/dov-watch/screen.txt\n"
                                      "to write that anew: tools/regenerate screen") +
                       report::difference(shown, kept)));
    }

    void every_column_begins_with_a_section_data()
    {
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("height");
        QTest::newRow("wide") << 160 << 40;
        QTest::newRow("two columns") << 80 << 60;
        QTest::newRow("not all of it") << 120 << 20;
    }
    void every_column_begins_with_a_section()
    {
        QFETCH(int, width);
        QFETCH(int, height);
        Watch_model model;
        fill(model);
        Screen_view view(model, Glyphs::utf8(), QString());
        QStringList headings;
        for (const char* title : section_titles)
            headings += QString::fromUtf8(title).toUpper();
        const QStringList rows = drawn(view, width, height).split(QLatin1Char('\n'));
        for (const QString& column : rows[3].split(Glyphs::utf8().divider))
            QVERIFY2(headings.contains(column.trimmed()), qPrintable(rows.join(QLatin1Char('\n'))));
        // Also the first, when what stands above it is hidden.
        for (std::size_t i = 0; i < device_object_count; ++i) {
            view.handle_key({Key::Code::down, {}});
            const QString first = drawn(view, width, height).split(QLatin1Char('\n'))[3];
            const QString column = first.section(Glyphs::utf8().divider, 0, 0).trimmed();
            QCOMPARE_CONTAINS(headings, column);
        }
    }

    void any_size_can_be_drawn()
    {
        Watch_model model;
        fill(model);
        for (const Glyphs* glyphs : {&Glyphs::utf8(), &Glyphs::ascii()}) {
            Screen_view view(model, *glyphs, QString());
            for (int width = 0; width <= 170; width += 7)
                for (int height = 0; height <= 60; height += 3) {
                    view.handle_key({Key::Code::page_down, {}});
                    QCOMPARE(drawn(view, width, height).size(), (width + 1) * height);
                }
        }
    }

    void ascii_is_ascii()
    {
        Watch_model model;
        fill(model);
        Screen_view view(model, Glyphs::ascii(), QString());
        for (const QChar character : drawn(view, 160, 50))
            QVERIFY2(character.unicode() < 128, qPrintable(QString(character)));
    }

    void selection_stays_on_the_screen()
    {
        Watch_model model;
        fill(model);
        Screen_view view(model, Glyphs::ascii(), QString());
        for (std::size_t i = 0; i < model.objects().size(); ++i) {
            const QString text = drawn(view, 80, 12);
            QCOMPARE_CONTAINS(text, QLatin1Char('>') + model.objects().at(i).entry.title);
            view.handle_key({Key::Code::down, {}});
        }
        view.handle_key({Key::Code::home, {}});
        QCOMPARE_CONTAINS(drawn(view, 80, 12), QStringLiteral(">input 0"));
    }

    void filter_shows_only_what_matches()
    {
        Watch_model model;
        fill(model);
        Screen_view view(model, Glyphs::ascii(), QString());
        press(view, "/VOLT");
        QCOMPARE_CONTAINS(drawn(view, 80, 24), QStringLiteral("Show only: VOLT"));
        view.handle_key({Key::Code::enter, {}});
        QString text = drawn(view, 80, 24);
        QCOMPARE_CONTAINS(text, QStringLiteral(">voltage 0"));
        QCOMPARE_LACKS(text, QStringLiteral("temperature"));
        view.handle_key({Key::Code::escape, {}});
        text = drawn(view, 80, 24);
        QCOMPARE_CONTAINS(text, QStringLiteral("temperature 0"));
        press(view, "/nothing like it");
        QCOMPARE_CONTAINS(drawn(view, 80, 24), QStringLiteral("Nothing matches"));
        view.handle_key({Key::Code::enter, {}});
        QCOMPARE(press(view, " ").kind, Action::Kind::none);
    }

    void space_switches_the_selected_output()
    {
        Watch_model model;
        fill(model);
        Screen_view view(model, Glyphs::utf8(), QString());
        QCOMPARE(press(view, " ").kind, Action::Kind::none);
        select(view, "output 2");
        const Action action = press(view, " ");
        QCOMPARE(action.kind, Action::Kind::switch_output);
        QCOMPARE(action.object, model.find(prefix_ + QStringLiteral("device/io/output/digital/2")));
        QCOMPARE(action.on, true);
        QCOMPARE(view.handle_key({Key::Code::enter, {}}).kind, Action::Kind::switch_output);
        const Action other = press(view, "e");
        QCOMPARE(other.kind, Action::Kind::enable_output);
        QCOMPARE(other.on, false);
    }

    void power_switches_are_not_switched()
    {
        Watch_model model;
        fill(model);
        Screen_view view(model, Glyphs::utf8(), QString());
        select(view, "device/system/power");
        QCOMPARE(press(view, " ").kind, Action::Kind::none);
        QCOMPARE(press(view, "e").kind, Action::Kind::none);
    }

    void brightness_is_asked_for()
    {
        Watch_model model;
        fill(model);
        Screen_view view(model, Glyphs::utf8(), QString());
        press(view, "b42.x");
        view.handle_key({Key::Code::backspace, {}});
        QCOMPARE_CONTAINS(drawn(view, 80, 24), QStringLiteral("42._"));
        press(view, "5");
        const Action action = view.handle_key({Key::Code::enter, {}});
        QCOMPARE(action.kind, Action::Kind::set_brightness);
        QCOMPARE(action.level, 42.5);
        press(view, "b101");
        QCOMPARE(view.handle_key({Key::Code::enter, {}}).kind, Action::Kind::none);
        QCOMPARE_CONTAINS(drawn(view, 80, 24), QStringLiteral("Not a number from 0 to 100: 101"));
        press(view, "b7");
        QCOMPARE(view.handle_key({Key::Code::escape, {}}).kind, Action::Kind::none);
        QCOMPARE(press(view, "+").level, 17.5);
        QCOMPARE(press(view, "-").level, 7.5);
    }

    void letters_in_a_prompt_are_text()
    {
        const Watch_model model;
        Screen_view view(model, Glyphs::utf8(), QString());
        QCOMPARE(press(view, "/q").kind, Action::Kind::none);
        view.handle_key({Key::Code::escape, {}});
        QCOMPARE(press(view, "?").kind, Action::Kind::none);
        QCOMPARE_CONTAINS(drawn(view, 80, 24),
                          QStringLiteral("switch the selected digital output"));
        QCOMPARE(press(view, "q").kind, Action::Kind::none);
        QCOMPARE(press(view, "q").kind, Action::Kind::quit);
    }

    void states_are_told_apart()
    {
        Watch_model model;
        Screen_view view(model, Glyphs::utf8(), QString());
        Screen_facts facts;
        QCOMPARE_CONTAINS(drawn(view, 100, 30, facts), QStringLiteral("no service, waiting"));
        facts.bus_connected = false;
        QCOMPARE_CONTAINS(drawn(view, 100, 30, facts), QStringLiteral("no bus"));
        facts.bus_connected = true;
        model.set_owner(QStringLiteral(":1.5"), 0);
        QCOMPARE_CONTAINS(drawn(view, 100, 30, facts), QStringLiteral("No PC Comms"));
        fill(model);
        const QString output = prefix_ + QStringLiteral("device/io/output/digital/0");
        model.take_reading({model.find(output), 1}, false, 0);
        QCOMPARE_CONTAINS(drawn(view, 100, 30, facts), QStringLiteral("disabled"));
    }

    void texts_cannot_disturb_the_screen()
    {
        Watch_model model;
        model.set_owner(QStringLiteral(":1.5"), 0);
        const int kernel = model.find(prefix_ + QStringLiteral("version/kernel"));
        const QString text = QStringLiteral("a") + QChar(0x6F22) + QChar(0x0301) + QChar(27);
        model.take_reading({kernel, 0}, text, 0);
        Screen_view view(model, Glyphs::utf8(), QStringLiteral("kernel"));
        QCOMPARE_CONTAINS(drawn(view, 80, 24), QStringLiteral("a??\\x1b"));
    }
};

int main(int count, char** arguments)
{
    if (count == 2 && qstrcmp(arguments[1], "--screen") == 0) {
        const QByteArray text = View::screen().toUtf8();
        return std::fputs(text.constData(), stdout) < 0 ? 1 : 0;
    }
    View view;
    return QTest::qExec(&view, count, arguments);
}
#include "view.moc"
