#pragma once

/// To be called before there is an application object, and by the only thread: returns whether the
/// environment's locale writes texts in UTF-8.
///
/// Qt 6 writes them so whatever the locale says, and its newer versions complain on standard error
/// of a locale that says otherwise. With Qt 6 such a locale becomes C.UTF-8, for the commands that
/// the program starts, too. With Qt 5, whose texts follow the locale, it stays what it is.
bool use_utf8_locale();
