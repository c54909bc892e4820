#pragma once

#include <QByteArray>
#include <QJsonObject>

/// A message of JSON-RPC.
[[nodiscard]] QByteArray rpcRequest(int id, const char* method, const QJsonObject& parameters = {});
