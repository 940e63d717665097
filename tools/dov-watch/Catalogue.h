#pragma once

#include <QString>

#include <array>
#include <vector>

/// What there is to watch: every object of the service, the values each one has, how each value
/// is learned, and how it is written. Tables, and no behaviour.

/// When a value is read by a method call, in place of or beside its signal.
enum class Reading {
    never,      ///< it cannot be read
    once,       ///< when the service appears, and when the object has signalled anything since
    when_quiet, ///< every interval in which its signal has not come
    always,     ///< every interval: no signal carries it
};

/// How a truth value is called.
struct Truth_words {
    const char* yes;
    const char* no;
    bool good; ///< the value shown as the active one
};

constexpr Truth_words on_off = {"on", "off", true};
constexpr Truth_words suspended_words = {"off", "on", false};

/// One value of an object.
struct Value_row {
    const char* getter; ///< the method that returns it; null for none
    const char* signal; ///< the signal whose first argument it is; null for none
    Reading reading;
    const char* unit; ///< UTF-8, as written behind the number; empty for none
    int decimals;
    Truth_words words; ///< for truth values
};

/// One kind of object: a D-Bus interface with the values and signals that matter here.
struct Kind {
    const char* interface; ///< behind "com.quorin.system."
    std::array<Value_row, 2> values;
    std::array<const char*, 2> events; ///< signals that carry no value of the table; null for none
    double spark_span; ///< the least height of its sparkline, in its unit; 0 for no sparkline
    bool threshold;    ///< signals only past a threshold or after a period that clients set
};

/// Objects of one kind that stand together.
struct Object_row {
    const char* section;
    const char* path;  ///< behind "/com/quorin/system/"; %1 is the index, from 0
    const char* label; ///< %1 as in the path
    int count;
    const Kind* kind;
};

/// One object, expanded from its row.
struct Catalogue_object {
    QString section;
    QString path; ///< whole
    QString label;
    QString interface; ///< whole
    const Kind* kind;
};

extern const char* const service_name;

/// The text of a version that the controller has not told yet.
extern const char* const unknown_version;

/// What an input holds that the controller has not reported yet, and below.
constexpr double no_reading = -1000000.0;

/// The display's backlight, whose brightness the keys set.
QString backlight_path();

/// Every object of the service, in the order in which they are shown.
std::vector<Catalogue_object> catalogue();

/// The values of the kind that exist: its values without the empty rows at the end.
int value_count(const Kind& kind);

/// Whether the object is a switched output, which the keys operate.
bool is_switched_output(const Kind& kind);

/// Whether the object's text is told by the controller, once it answers.
bool is_controller_version(const Kind& kind);
