#pragma once

#include "Controller_checks.h"

#include <QByteArray>
#include <QJsonObject>
#include <QStringList>

/// A check that is over.
struct Check_result {
    QString name;
    Verdict verdict;
    double seconds;
};

/// How many of each kind there are.
struct Check_counts {
    int passed = 0;
    int failed = 0;
    int left_out = 0;
    int unjudged = 0;
};
Check_counts count(const std::vector<Check_result>& results);

// What it comes to, for people and for programs.
QString text_of(const Check_counts& counts);
QJsonObject json_of(const Check_counts& counts);

// A result in each of the formats.

/// A line for people.
QString line_of(const Check_result& result);

/// The lines of TAP 13; numbers begin at 1.
QString tap_of(const Check_result& result, int number);
QString tap_header(std::size_t count);

QJsonObject json_of(const Check_result& result);

/// All of them as JUnit has it.
QByteArray junit_of(const std::vector<Check_result>& results);
