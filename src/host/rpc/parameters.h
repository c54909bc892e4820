#pragma once

#include "content/result.h"

#include <model/cmpath.h>

#include <QStringList>
#include <QVariant>

#include <optional>

/// The parameters of a call, read by name and type. Keeps the first problem. A parameter of another type
/// reads as its default.
class Parameters
{
public:
    /// `given`: a QVariantMap by the parameters' names, a QVariantList in their order, or nothing.
    /// `known`: all parameters of the method.
    Parameters(const std::optional<QVariant>& given, const QStringList& known);

    [[nodiscard]] CMPath path();
    /// Empty if it is not given.
    [[nodiscard]] QString text(const QString& name);
    [[nodiscard]] int integer(const QString& name, int byDefault);
    [[nodiscard]] QStringList roles(const QStringList& byDefault);
    /// Null if it is not given.
    [[nodiscard]] QVariant value();

    /// Fails with the first problem.
    [[nodiscard]] Result<void> check() const;

private:
    void takeList(const QVariantList& list, const QStringList& known);
    void takeMap(const QVariantMap& fields, const QStringList& known);
    void complain(const QString& problem);

    QVariantMap m_fields;
    std::optional<Failure> m_problem;
};
