#pragma once

#include <cstddef>
#include <initializer_list>

/// What the objects on the bus have: the values that can be learned of each kind of object, the
/// settings that clients make, and the signals. Tables, and no behaviour.

/// A few rows in a constant.
template <class Row, std::size_t most>
class Short_list {
public:
    constexpr Short_list() = default;
    constexpr Short_list(std::initializer_list<Row> rows)
    {
        for (const Row& row : rows)
            rows_[size_++] = row;
    }

    constexpr std::size_t size() const { return size_; }
    constexpr const Row* begin() const { return rows_; }
    constexpr const Row* end() const { return rows_ + size_; }
    constexpr const Row& operator[](std::size_t index) const { return rows_[index]; }

private:
    Row rows_[most] = {};
    std::size_t size_ = 0;
};

/// What a method answers in a service that has just started and has heard nothing of its
/// controller. A number stands for each output of a method that has several.
struct Start_value {
    enum class Type {
        terminals_own, ///< the terminal or its configuration decides
        truth,
        number,
        text,
    };

    constexpr Start_value() = default;
    constexpr explicit Start_value(bool value) : type(Type::truth), number(value ? 1.0 : 0.0) {}
    constexpr explicit Start_value(double value) : type(Type::number), number(value) {}
    constexpr explicit Start_value(const char* value) : type(Type::text), text(value) {}

    Type type = Type::terminals_own;
    double number = 0.0; ///< of a truth value 0 or 1
    const char* text = "";
};

/// What an input holds that the controller has not reported yet.
inline constexpr double no_reading = -1000000.0;

/// The text of a version that the controller has not told yet.
inline constexpr const char* unknown_version = "No PC Comms";

/// What a byte holds that the controller has not reported yet.
inline constexpr unsigned char no_byte = 255;

/// The change that a measured input has to make to be reported, until a client sets another.
inline constexpr double start_hysteresis = 1000000.0;

/// Within these an input passes no limit, until a client sets others.
inline constexpr double start_min_value = -1000000.0;
inline constexpr double start_max_value = 1000000.0;

/// When a value is to be read by a method call, in place of or beside its signal.
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

inline constexpr Truth_words on_off = {"on", "off", true};

/// How a value is written.
struct Value_look {
    const char* unit = ""; ///< UTF-8, as written behind the number; empty for none
    int decimals = 0;
    Truth_words words = on_off; ///< for truth values
};

/// One value of an object.
struct Value_row {
    const char* getter = nullptr; ///< the method that returns it; null for none
    const char* signal = nullptr; ///< the signal whose first argument it is; null for none
    const char* type = "";        ///< of the getter's outputs, or the signal's argument; as D-Bus
                                  ///< writes types
    Reading reading = Reading::never;
    Value_look look = {};
    Start_value start = {};
    bool start_is_no_value = false; ///< told apart from every value that is known
};

/// A number that the clients of an object share: read by get_NAME, set by set_NAME.
struct Setting_row {
    const char* name = "";
    const char* type = "";
    Start_value start = {};
};

struct Signal_row {
    const char* name = "";
    bool is_sent = true; ///< false for one that is only part of the interface
};

/// One kind of object: a D-Bus interface, and what objects with it have.
struct Object_kind {
    const char* name;
    const char* interface; ///< behind the prefix
    Short_list<Value_row, 2> values;
    Short_list<Signal_row, 3> signals; ///< every one of the interface
    Short_list<Setting_row, 4> settings = {};
    bool is_in_digest = false; ///< the controller's digest carries its first value
    double spark_span = 0.0;   ///< the least height of a graph of its first value, in its unit;
                               ///< 0 for a value that is not drawn
};
