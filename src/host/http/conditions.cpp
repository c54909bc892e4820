#include "http/conditions.h"

#include "media/httpdate.h"

namespace {

QByteArray withoutWeakness(const QByteArray& entityTag)
{
    return entityTag.startsWith("W/") ? entityTag.mid(2) : entityTag;
}

/// Whether the list has the tag. Quoted tags may contain commas.
bool containsTag(const QByteArray& list, const QByteArray& entityTag)
{
    const QByteArray wanted = withoutWeakness(entityTag);
    int begin = list.indexOf('"');
    while (begin >= 0) {
        const int end = list.indexOf('"', begin + 1);
        if (end < 0)
            return false;
        if (list.mid(begin, end + 1 - begin) == wanted)
            return true;
        begin = list.indexOf('"', end + 1);
    }
    return false;
}

} // namespace

bool isNotModified(const RequestHead& head, const Validators& validators)
{
    const QByteArray known = head.value("If-None-Match");
    if (!known.isNull())
        return known == "*" || containsTag(known, validators.entityTag);
    const std::optional<std::time_t> since = fromHttpDate(head.value("If-Modified-Since"));
    return since && validators.lastModified && *validators.lastModified <= *since;
}
