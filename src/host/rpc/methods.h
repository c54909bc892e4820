#pragma once

#include "content/content.h"
#include "exec/requestexecutor.h"
#include "rpc/parameters.h"
#include "rpc/sharedlistings.h"

#include <functional>
#include <optional>

class TrLanguage;

/// A call of a method, its parameters read.
struct Call
{
    enum class Kind {
        /// A request to the content.
        Request,
        /// Opens or closes the path.
        Open,
        Close
    };

    Kind kind = Kind::Request;
    /// Empty if the call concerns no path.
    CMPath path = {};
    RequestExecutor::Lane lane = RequestExecutor::Lane::Quick;
    /// Of a request for rows.
    std::optional<SharedListings::Request> rows = {};
    /// The language of the client's texts from this call on; null: as before.
    const TrLanguage* language = nullptr;
    /// Returns the result of any other request as JSON. May throw what a worker throws, and `std::bad_alloc`.
    std::function<Result<QByteArray>(const Content&)> run = {};
};

/// A method under the name and with the parameters by which clients call it.
struct Method
{
    const char* name;
    /// In the order of calls that give them without names.
    QStringList parameters;
    /// Reads the parameters. The caller checks them for problems before it runs the call.
    Call (*read)(Parameters& parameters, const Content& content);
};

/// Null if there is none.
[[nodiscard]] const Method* findMethod(const QString& name);

/// The parameters of the notification of a change.
[[nodiscard]] QVariantHash changeParameters(const CMPath& path, const QStringList& changes, int version);
