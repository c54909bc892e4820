#pragma once

#include "rpc/dispatcher.h"

#include <QByteArray>

#include <functional>
#include <memory>
#include <optional>

/// A message of JSON-RPC on its own, without a client that stays.
namespace RpcCall {

/// The answer, or nothing if the message asks for none.
using Receive = std::function<void(const std::optional<QByteArray>& answer)>;

/// As in Dispatcher::Profile.
struct Settings
{
    const TrLanguage* language = nullptr;
    Dispatcher::Task refused = [] {};
};

/// Calls `receive` once, in any thread, perhaps before start() returns. Destroying the returned object cancels the
/// call: `receive` is not called after that. `receive` must not block. From one thread at a time.
[[nodiscard]] std::shared_ptr<void>
start(const Services& services, const Settings& settings, const QByteArray& message, Receive receive);

} // namespace RpcCall
