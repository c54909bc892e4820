#pragma once

#include "cli/options.h"
#include "content/contenthost.h"

#include <model/cmpath.h>

#include <QCommandLineParser>

/// The path of an argument that is relative to the root with the ID: without "./" and superfluous slashes. A path that
/// climbs ("..") stays as it is, for the worker to judge.
[[nodiscard]] CMPath relativePath(const QString& id, const QString& argument);
/// Why the argument is no path, where there are several roots.
[[nodiscard]] Failure unknownRoot(const QStringList& ids, const QString& argument);

/// The path that a person means.
///
/// With one root it is relative to the root; with several it is ID:PATH, or an encoded path as rows have it, and
/// nothing at all stands for all roots.
Result<CMPath> pathFrom(const ContentHost& host, const QString& argument);

/// The path as pathFrom() takes it.
[[nodiscard]] QString pathText(const ContentHost& host, const CMPath& path);

/// The number that identifies an entry of the queue.
Result<QVariant> entryIdFrom(const QString& argument);

[[nodiscard]] OptionList jsonOption();
[[nodiscard]] bool wantsJson(const QCommandLineParser& parser);

/// Writes the results of a command; gives the program's exit status.
Result<int> print(int output, const QByteArray& text);
/// Writes the value as JSON, with a newline.
Result<int> printJson(int output, const QVariant& value);
