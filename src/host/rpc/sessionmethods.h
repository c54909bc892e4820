#pragma once

#include "content/session.h"

#include <QVariant>

#include <optional>

/// One of the session's operations under the name and with the parameters that clients call it by.
struct SessionMethod
{
    /// Where it may run.
    enum class Lane {
        /// On any thread, done soon.
        Quick,
        /// On any thread, may walk a whole tree.
        Long,
        /// On the worker's thread, after those that came before it.
        InOrder
    };

    const char* name;
    Lane lane;
    /// In the order that they have where they come without names.
    QStringList parameters;
    Result<QVariant> (*call)(Session& session, class Parameters& parameters);
};

/// Null if there is none.
[[nodiscard]] const SessionMethod* findSessionMethod(const QString& name);

/// Parameters of another type than the method takes fail as wrong use, before the session sees them.
/// `given`: a QVariantMap, a QVariantList or nothing.
Result<QVariant> callSession(Session& session, const SessionMethod& method, const std::optional<QVariant>& given);

/// The parameters of the notification of a change.
[[nodiscard]] QVariantHash changeParameters(const CMPath& path, const QStringList& changes, int version);
