#include "Line_splitter.h"

std::optional<QByteArray> Line_splitter::next()
{
    const auto end = static_cast<int>(pending_.indexOf('\n', begin_));
    const int size = (end < 0 ? static_cast<int>(pending_.size()) : end) - begin_;
    is_too_long_ = is_too_long_ || size > most_;
    if (is_too_long_)
        return std::nullopt;
    if (end >= 0) {
        QByteArray line = pending_.mid(begin_, size);
        begin_ = end + 1;
        return line;
    }
    pending_.remove(0, begin_);
    begin_ = 0;
    return std::nullopt;
}

QByteArray Line_splitter::take_rest()
{
    QByteArray rest = pending_.mid(begin_);
    pending_.clear();
    begin_ = 0;
    return rest;
}
