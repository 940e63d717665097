#pragma once

#include <QtGlobal>

#include <array>

/// The length of every controller message.
constexpr int message_size = 8;

/// One controller message: [0] identifier, [1]..[7] arguments, unused ones 0.
using Message = std::array<uchar, message_size>;

/// Builds a message from its identifier and its leading arguments.
template <class... Bytes>
constexpr Message message(uchar id, Bytes... arguments)
{
    static_assert(sizeof...(arguments) <= 7, "a message has seven argument bytes");
    return {id, static_cast<uchar>(arguments)...};
}
