#pragma once

#include <QtGlobal>

// How requests and answers belong together.

/// How long the host waits for an answer before it drops the request, in milliseconds.
constexpr int response_time_ms = 300;

/// The identifier with which the controller answers a request.
constexpr uchar answer_to(uchar request)
{
    return static_cast<uchar>(request + 1);
}

/// Whether a message with one identifier answers a request with another. Nothing with identifier
/// 0 answers anything.
constexpr bool is_answer(uchar request, uchar answer)
{
    return answer - 1 == request;
}
