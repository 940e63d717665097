#pragma once

#include "Bench_client.h"
#include "Change_token.h"
#include "Line_watch.h"
#include "Loop_pace.h"
#include "Method_table.h"
#include "Options.h"
#include "Page_request.h"
#include "Tap_client.h"
#include "Terminal_values.h"
#include "Watcher.h"
#include "Web_server.h"

#include <QElapsedTimer>
#include <QJsonObject>
#include <QObject>
#include <QTimer>

#include <map>
#include <optional>
#include <vector>

/// The panel: what it knows of terminal, vehicle and line goes to the pages, and what the pages ask
/// for goes there, if they may.
///
/// Each thing is told at most once in batch_ms, and made into a text once for all pages that get
/// the same.
///
/// Thread: the one of its event loop.
class Panel : public QObject {
    Q_OBJECT
public:
    static constexpr int batch_ms = 25;
    /// Calls of a page's that the service has not answered.
    static constexpr int most_calls = 64;
    /// Wrong tokens after which a page is closed.
    static constexpr int most_guesses = 5;

    Panel(const Options& options, const Change_token& token);

    /// Begins to serve. Returns an error's text, or nothing.
    QString start();

    /// Where browsers find it; with the token where there is one.
    QString address() const;

private:
    using Page = Web_server::Page;

    struct Page_state {
        bool may_change = false;
        bool wants_frames = false;
        bool is_behind = false; ///< has missed values and states
        quint64 dropped = 0;    ///< frames, which it has not been told
        int guesses = 0;
        int calls = 0;
    };

    /// A call that the service has not answered.
    struct Pending_call {
        Page page;
        std::optional<qint64> id;
    };

    /// What a page has had the controller do, until the state that came of it is told.
    struct Done_command {
        Page page;
        std::optional<qint64> id;
        QString error;
    };

    void open_page(Page page);
    void close_page(Page page);
    void take_text(Page page, const QByteArray& text);
    void take_request(Page page, Page_state& state, const Page_request& request);
    void take_token(Page page, Page_state& state, const Page_request& request);
    void take_watch(Page page, Page_state& state, const Page_request& request);
    void take_history(Page page, const Page_request& request);
    void take_call(Page page, Page_state& state, const Page_request& request);
    void take_bench(Page page, const Page_state& state, const Page_request& request);
    QString refusal_of_call(const Page_state& state, const Page_request& request,
                            QVariantList& arguments) const;

    void answer(Page page, const std::optional<qint64>& id, const QString& error,
                const QJsonValue& value = QJsonValue::Undefined);
    void answer_call(quint64 number, const QString& error, const QVariant& value);
    void give_up_calls(const QString& error);

    void tell();
    void tell_partners();
    void tell_values();
    void tell_state();
    void tell_done_commands();
    void tell_frames();
    void tell_line();
    void look_at_slow_pages();
    void send_to_all(const QJsonObject& message);
    void send_what_is_known(Page page);

    QJsonObject hello(bool may_change) const;
    QJsonObject partners() const;
    QJsonObject values_message(const QJsonArray& values) const;
    QJsonObject state_message() const;
    bool has_service() const;

    Options options_;
    Change_token token_;
    Method_table methods_;
    QJsonObject catalogue_;
    Watcher watcher_;
    Terminal_values values_;
    std::optional<Bench_client> bench_;
    std::optional<Tap_client> tap_;
    Line_watch line_;
    std::map<Page, Page_state> pages_;
    std::map<quint64, Pending_call> calls_;
    quint64 last_call_ = 0;
    QJsonObject told_partners_;
    bool has_new_state_ = false;
    std::vector<Done_command> done_commands_;
    Loop_pace pace_{std::chrono::milliseconds(5)};
    QTimer batch_timer_;
    QTimer line_timer_;
    /// The last: its thread asks the others while it is there.
    Web_server server_;
};
