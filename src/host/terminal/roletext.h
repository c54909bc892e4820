#pragma once

#include <QString>
#include <QVariant>

/// A role's value as a person reads it; "-" where there is none.
[[nodiscard]] QString roleText(const QString& role, const QVariant& value);

/// A length of time in milliseconds as hours, minutes and seconds ("1:02:03", "4:05"); "-" if it is not known.
[[nodiscard]] QString durationText(const QVariant& milliseconds);
