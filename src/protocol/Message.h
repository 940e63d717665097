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

/// The two bytes at `at` as one unsigned number, high byte first.
constexpr quint16 big_endian(const uchar* at)
{
    return static_cast<quint16>(at[0] << 8 | at[1]);
}

/// Puts the low 16 bits of `value` at `at`, high byte first.
constexpr void put_big_endian(uchar* at, quint32 value)
{
    at[0] = static_cast<uchar>(value >> 8);
    at[1] = static_cast<uchar>(value);
}
