#pragma once

#include "content/host.h"
#include "content/result.h"

#include <QCommandLineParser>

/// The path that a person means by what they wrote: relative to the root, "./" and slashes more than needed left out.
/// Where it climbs ("..") it is left as it is, for the worker to judge.
[[nodiscard]] CMPath pathFrom(const Host& host, const QString& argument);

void addJsonOption(QCommandLineParser& parser);
[[nodiscard]] bool wantsJson(const QCommandLineParser& parser);
/// The value as one line of JSON, with its end. Fails if it is longer than a QByteArray can hold.
[[nodiscard]] Result<QByteArray> jsonLine(const QVariant& value);
