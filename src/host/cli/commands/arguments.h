#pragma once

#include "content/contenthost.h"

#include <model/cmpath.h>

#include <QCommandLineParser>

/// The path that a person means.
///
/// With one root it is relative to the root, without "./" and superfluous slashes; with several it is ID:PATH, or an
/// encoded path as rows have it, and nothing at all stands for all roots. A path that climbs ("..") stays as it is, for
/// the worker to judge.
Result<CMPath> pathFrom(const ContentHost& host, const QString& argument);

/// The path as pathFrom() takes it.
[[nodiscard]] QString pathText(const ContentHost& host, const CMPath& path);

void addJsonOption(QCommandLineParser& parser);
[[nodiscard]] bool wantsJson(const QCommandLineParser& parser);

/// Writes the results of a command; gives the program's exit status.
Result<int> print(int output, const QByteArray& text);
/// Writes the value as JSON, with a newline.
Result<int> printJson(int output, const QVariant& value);
