#pragma once

#include "model/cmrequestcontext.h"

#include <QVariant>

/// The bytes that a value takes in an answer's text (JSON), about.
[[nodiscard]] qint64 sizeInAnswer(const QVariant& value);

/// Returns make(), an item for the request that the calling thread serves, and takes the item's size from what the
/// answer may take. Returns an invalid item if the request is cancelled or the answer has no room; if that is so from
/// the start, `make` is not called.
template<typename Make>
[[nodiscard]] QVariant itemWithinRequest(Make make)
{
    CMRequestContext* const request = CMRequestContext::current();
    if (!request)
        return make();
    if (!request->mayContinue())
        return {};
    const QVariant item = make();
    return !request->isCancelled() && request->take(sizeInAnswer(item)) ? item : QVariant();
}
