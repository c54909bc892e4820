#include "rpc/sessionmethods.h"

#include <tavo/tavoroles.h>

#include <algorithm>
#include <vector>

/// What a call was given, read by name and type. The first thing wrong with it is kept.
class Parameters
{
public:
    Parameters(const QVariant& given, const QStringList& known);

    [[nodiscard]] CMPath path();
    [[nodiscard]] int integer(const QString& name, int byDefault);
    [[nodiscard]] QStringList roles(const QStringList& byDefault);
    [[nodiscard]] QVariant value();

    [[nodiscard]] const std::optional<Failure>& problem() const { return m_problem; }

private:
    void takeList(const QVariantList& list, const QStringList& known);
    void takeObject(const QVariantMap& fields, const QStringList& known);
    void complain(const QString& what);

    QVariantMap m_fields;
    std::optional<Failure> m_problem;
};

namespace {

const QLatin1String pathName("path");
const QLatin1String firstName("first");
const QLatin1String lastName("last");
const QLatin1String versionName("version");
const QLatin1String rolesName("roles");
const QLatin1String valueName("value");

template<typename T>
Result<QVariant> toResult(const Result<T>& result)
{
    if (!result)
        return result.failure();
    if constexpr (std::is_same_v<T, Session::Page>)
        return result.value().toVariant();
    else if constexpr (std::is_same_v<T, Done>)
        return QVariant(true);
    else
        return QVariant(result.value());
}

Result<QVariant> describe(Session& session, Parameters& parameters)
{
    if (parameters.problem())
        return *parameters.problem();
    const Session::Description description = session.describe();
    const QVariantHash services{
        {QStringLiteral("preparePlaylist"), description.preparePlaylist.toEncoded()},
        {QStringLiteral("prepareLibrary"), description.prepareLibrary.toEncoded()},
        {QStringLiteral("countFiles"), description.countFiles.toEncoded()}};
    return QVariant(QVariantHash{
        {QStringLiteral("prefix"), description.prefix},
        {QStringLiteral("root"), description.rootDirectory},
        {QStringLiteral("roles"), description.roles},
        {QStringLiteral("services"), services},
        {QStringLiteral("contextMenu"), description.contextMenu.toEncoded()}});
}

Result<QVariant> rows(Session& session, Parameters& parameters)
{
    Session::RowsQuery query;
    query.path = parameters.path();
    query.first = parameters.integer(firstName, query.first);
    query.last = parameters.integer(lastName, query.last);
    query.version = parameters.integer(versionName, query.version);
    query.roles = parameters.roles(query.roles);
    if (parameters.problem())
        return *parameters.problem();
    return toResult(session.rows(query));
}

Result<QVariant> data(Session& session, Parameters& parameters)
{
    const CMPath path = parameters.path();
    const QStringList roles = parameters.roles(entryRoles());
    if (parameters.problem())
        return *parameters.problem();
    return toResult(session.data(path, roles));
}

Result<QVariant> set(Session& session, Parameters& parameters)
{
    const CMPath path = parameters.path();
    const QVariant value = parameters.value();
    if (parameters.problem())
        return *parameters.problem();
    return session.set(path, value);
}

Result<QVariant> menu(Session& session, Parameters& parameters)
{
    const CMPath item = parameters.path();
    const QStringList roles = parameters.roles(CMAllRoles());
    if (parameters.problem())
        return *parameters.problem();
    return toResult(session.menu(item, roles));
}

Result<QVariant> open(Session& session, Parameters& parameters)
{
    const CMPath path = parameters.path();
    if (parameters.problem())
        return *parameters.problem();
    return toResult(session.open(path));
}

Result<QVariant> close(Session& session, Parameters& parameters)
{
    const CMPath path = parameters.path();
    if (parameters.problem())
        return *parameters.problem();
    return toResult(session.close(path));
}

const std::vector<SessionMethod>& sessionMethods()
{
    using Lane = SessionMethod::Lane;
    static const std::vector<SessionMethod> methods = {
        {"describe", Lane::Quick, {}, describe},
        {"rows", Lane::Quick, {pathName, firstName, lastName, versionName, rolesName}, rows},
        {"data", Lane::Quick, {pathName, rolesName}, data},
        {"set", Lane::Long, {pathName, valueName}, set},
        {"menu", Lane::Quick, {pathName, rolesName}, menu},
        {"open", Lane::InOrder, {pathName}, open},
        {"close", Lane::InOrder, {pathName}, close}};
    return methods;
}

bool isInt(const QVariant& value)
{
    return value.userType() == QMetaType::LongLong && value.toLongLong() == static_cast<int>(value.toLongLong());
}

bool isString(const QVariant& value)
{
    return value.userType() == QMetaType::QString;
}

} // namespace

Parameters::Parameters(const QVariant& given, const QStringList& known)
{
    if (given.userType() == QMetaType::QVariantList)
        takeList(given.toList(), known);
    else
        takeObject(given.toMap(), known);
}

void Parameters::takeList(const QVariantList& list, const QStringList& known)
{
    if (list.size() > known.size())
        complain(QStringLiteral("there are more than %1 parameters").arg(known.size()));
    for (int i = 0; i < std::min(list.size(), known.size()); ++i)
        m_fields.insert(known.at(i), list.at(i));
}

void Parameters::takeObject(const QVariantMap& fields, const QStringList& known)
{
    for (const QString& name : fields.keys()) {
        if (!known.contains(name))
            complain(QStringLiteral("there is no parameter '%1'").arg(name));
    }
    m_fields = fields;
}

CMPath Parameters::path()
{
    const QVariant text = m_fields.value(pathName);
    if (!isString(text))
        complain(QStringLiteral("'path' must be a string"));
    return CMPath::fromEncoded(text.toString());
}

int Parameters::integer(const QString& name, int byDefault)
{
    const QVariant number = m_fields.value(name);
    if (!number.isValid())
        return byDefault;
    if (!isInt(number)) {
        complain(QStringLiteral("'%1' must be a whole number of 32 bits").arg(name));
        return byDefault;
    }
    return number.toInt();
}

QStringList Parameters::roles(const QStringList& byDefault)
{
    const QVariant list = m_fields.value(rolesName);
    if (!list.isValid())
        return byDefault;
    const bool isList = list.userType() == QMetaType::QVariantList;
    const QVariantList elements = isList ? list.toList() : QVariantList();
    QStringList roles;
    for (const QVariant& role : elements) {
        if (isString(role))
            roles.append(role.toString());
    }
    if (!isList || roles.size() != elements.size())
        complain(QStringLiteral("'roles' must be a list of strings"));
    // Each makes every row longer, and there are not ten.
    constexpr int mostRoles = 100;
    if (roles.size() > mostRoles)
        complain(QStringLiteral("there are more than %1 roles").arg(mostRoles));
    return roles;
}

QVariant Parameters::value()
{
    if (!m_fields.contains(valueName))
        complain(QStringLiteral("'value' is missing"));
    return m_fields.value(valueName);
}

void Parameters::complain(const QString& what)
{
    if (!m_problem)
        m_problem = Failure::wrongUse(what);
}

const SessionMethod* findSessionMethod(const QString& name)
{
    const std::vector<SessionMethod>& methods = sessionMethods();
    const auto method = std::find_if(methods.cbegin(), methods.cend(), [&name](const SessionMethod& candidate) {
        return name == QLatin1String(candidate.name);
    });
    return method == methods.cend() ? nullptr : &*method;
}

Result<QVariant> callSession(Session& session, const SessionMethod& method, const std::optional<QVariant>& given)
{
    Parameters parameters(given.value_or(QVariant()), method.parameters);
    return method.call(session, parameters);
}

QVariantHash changeParameters(const CMPath& path, const QStringList& changes, int version)
{
    return {
        {QStringLiteral("path"), path.toEncoded()},
        {QStringLiteral("changes"), changes},
        {QStringLiteral("version"), version}};
}
