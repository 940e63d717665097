#pragma once

#include "Tool_command_line.h"

#include <QString>
#include <QStringList>

/// The command line.
struct Options {
    QString bus;        ///< its address; empty for the machine's system bus
    QString controller; ///< the socket of dov-controller; empty for none
    QString tap;        ///< the socket of dov-line tap; empty for none
    QString address = QStringLiteral("127.0.0.1"); ///< to listen at; of the loopback interface
    int port = 8037;
    int interval_ms = 500; ///< of reading what no signal tells
    bool control = false;  ///< whether a page that has the token may change things
    QString token_file;    ///< where the token is kept; empty for nowhere
    QString page;          ///< where the page's files are; empty for those in the program
};

Tool_request parse_command_line(const QStringList& arguments, Options& options);
