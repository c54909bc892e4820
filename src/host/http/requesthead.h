#pragma once

#include <QByteArray>

#include <vector>

struct HeaderField
{
    QByteArray name;
    QByteArray value;
};

/// The head of a request, as it arrived.
struct RequestHead
{
    QByteArray method;
    /// Not decoded.
    QByteArray target;
    /// In their order, values without the whitespace around them.
    std::vector<HeaderField> fields;

    /// How many fields have the name, in any case.
    [[nodiscard]] int count(const char* name) const;
    /// The value of the field; of several, their values with ", " between them. Null if there is none.
    [[nodiscard]] QByteArray value(const char* name) const;
};

/// Whether the Content-Type is `application/json`, with or without parameters. A page of another origin cannot send
/// that without asking first.
[[nodiscard]] bool hasJsonBody(const RequestHead& head);
