#include "rpc/parameters.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

/// Only nine roles exist; duplicates merely inflate rows.
constexpr int mostRoles = 100;

bool isText(const QVariant& value)
{
    return value.userType() == QMetaType::QString;
}

/// The number, if the value is a whole number of 32 bits.
std::optional<int> toInt(const QVariant& value)
{
    const int type = value.userType();
    if (type != QMetaType::LongLong && type != QMetaType::ULongLong && type != QMetaType::Double &&
        type != QMetaType::Int)
        return std::nullopt;
    const double number = value.toDouble();
    const bool isInRange = number >= std::numeric_limits<int>::min() && number <= std::numeric_limits<int>::max();
    if (!isInRange || number != std::trunc(number))
        return std::nullopt;
    return static_cast<int>(number);
}

} // namespace

Parameters::Parameters(const std::optional<QVariant>& given, const QStringList& known)
{
    if (!given)
        return;
    if (given->userType() == QMetaType::QVariantList)
        takeList(given->toList(), known);
    else
        takeMap(given->toMap(), known);
}

void Parameters::takeList(const QVariantList& list, const QStringList& known)
{
    if (list.size() > known.size())
        complain(QStringLiteral("there are more than %1 parameters").arg(known.size()));
    for (int i = 0; i < std::min(list.size(), known.size()); ++i)
        m_fields.insert(known.at(i), list.at(i));
}

void Parameters::takeMap(const QVariantMap& fields, const QStringList& known)
{
    for (auto field = fields.cbegin(); field != fields.cend(); ++field) {
        if (!known.contains(field.key()))
            complain(QStringLiteral("there is no parameter '%1'").arg(field.key()));
    }
    m_fields = fields;
}

CMPath Parameters::path()
{
    const QVariant text = m_fields.value(QStringLiteral("path"));
    if (!isText(text))
        complain(QStringLiteral("'path' must be a string"));
    return CMPath::fromEncoded(text.toString());
}

QString Parameters::text(const QString& name)
{
    const auto field = m_fields.constFind(name);
    if (field == m_fields.constEnd())
        return {};
    if (!isText(*field))
        complain(QStringLiteral("'%1' must be a string").arg(name));
    return field->toString();
}

int Parameters::integer(const QString& name, int byDefault)
{
    const auto field = m_fields.constFind(name);
    if (field == m_fields.constEnd())
        return byDefault;
    const std::optional<int> number = toInt(*field);
    if (!number)
        complain(QStringLiteral("'%1' must be a whole number of 32 bits").arg(name));
    return number.value_or(byDefault);
}

QStringList Parameters::roles(const QStringList& byDefault)
{
    const auto field = m_fields.constFind(QStringLiteral("roles"));
    if (field == m_fields.constEnd())
        return byDefault;
    const QVariantList elements = field->toList();
    QStringList roles;
    for (const QVariant& role : elements) {
        if (isText(role))
            roles.append(role.toString());
    }
    if (field->userType() != QMetaType::QVariantList || roles.size() != elements.size())
        complain(QStringLiteral("'roles' must be a list of strings"));
    if (roles.size() > mostRoles)
        complain(QStringLiteral("there are more than %1 roles").arg(mostRoles));
    return roles;
}

QVariant Parameters::value()
{
    return m_fields.value(QStringLiteral("value"), QVariant::fromValue(nullptr));
}

void Parameters::complain(const QString& problem)
{
    if (!m_problem)
        m_problem = Failure::wrongUse(problem);
}

Result<void> Parameters::check() const
{
    if (m_problem)
        return *m_problem;
    return {};
}
