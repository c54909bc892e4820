#pragma once

#include <QString>
#include <QStringList>

/// The known name that somebody may have meant by one that is not known; empty if none is similar.
[[nodiscard]] QString nearestName(const QString& name, const QStringList& known);
