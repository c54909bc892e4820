#pragma once

#include <QByteArray>

/// A message's text in parts, so that equal answers to many clients share the memory of `body`. Without a line's end.
struct Message
{
    QByteArray head;
    QByteArray body = {};
    QByteArray tail = {};

    /// Bytes.
    [[nodiscard]] int size() const { return head.size() + body.size() + tail.size(); }
    /// The parts as one text, followed by `end`.
    [[nodiscard]] QByteArray text(const char* end = "") const { return head + body + tail + end; }
};
