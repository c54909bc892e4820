#include "cli/commands/queueserver.h"

#include "cli/commands/arguments.h"
#include "cli/rowsreader.h"
#include "http/tokenfile.h"
#include "language/translatable.h"

#include <tavo/tavokeys.h>
#include <tavo/tavoroles.h>

#include <QHash>

namespace {

const QLatin1String serverOption("server");
const QLatin1String tokenFileOption("token-file");

const QLatin1String usualServer("http://127.0.0.1:8420/");

/// So many rows have less text and fewer values than an answer may have.
constexpr int rowsPerPage = 2000;

/// The option's value, or else the variable's.
QString setting(const QCommandLineParser& parser, const QString& option, const char* variable)
{
    return parser.isSet(option) ? parser.value(option) : qEnvironmentVariable(variable);
}

Result<QByteArray> tokenFor(const QCommandLineParser& parser)
{
    const QString file = setting(parser, tokenFileOption, "TAVO_TOKEN_FILE");
    return file.isEmpty() ? QByteArray() : TokenFile(file).read();
}

Result<RpcClient> clientFor(const QCommandLineParser& parser)
{
    const QString url = setting(parser, serverOption, "TAVO_SERVER");
    const Result<ServerAddress> address = ServerAddress::fromUrl(url.isEmpty() ? QString(usualServer) : url);
    if (!address)
        return address.failure();
    const Result<QByteArray> token = tokenFor(parser);
    if (!token)
        return token.failure();
    return RpcClient(address.value(), token.value());
}

Content::Page pageFrom(const QVariantMap& answer)
{
    Content::Page page;
    page.count = answer.value(QStringLiteral("count")).toInt();
    page.version = answer.value(QStringLiteral("version")).toInt();
    page.rows = answer.value(QStringLiteral("rows")).toList();
    return page;
}

/// Servers give little more than the names of errors to a network.
Failure inWords(Failure failure, const char* missing)
{
    static const QHash<QString, const char*> texts = {
        {QStringLiteral("noOutput"),
         QT_TRANSLATE_NOOP("Host", "there is no such output, or none at all: see 'tavo output'")},
        {QStringLiteral("queueFull"), QT_TRANSLATE_NOOP("Host", "the queue has no room for so many entries")},
        {TavoErrorAccessViolation(), QT_TRANSLATE_NOOP("Host", "the server does not show that path")},
        {TavoErrorInvalidPath(), QT_TRANSLATE_NOOP("Host", "the server has no such path")}};
    const char* const text = failure.name == QLatin1String("noSuchItem") ? missing : texts.value(failure.name);
    if (text)
        failure.message = translatable(text);
    return failure;
}

} // namespace

OptionList serverOptions()
{
    return {
        {serverOption,
         translatable(
             QT_TRANSLATE_NOOP("Host", "Address of the server. Default: the variable TAVO_SERVER, or %1."),
             {QString(usualServer)}),
         QT_TRANSLATE_NOOP("Host", "URL")},
        {tokenFileOption,
         translatable(QT_TRANSLATE_NOOP(
             "Host", "File with the server's token, if it needs one. Default: the variable TAVO_TOKEN_FILE.")),
         QT_TRANSLATE_NOOP("Host", "FILE")}};
}

Result<QueueServer> QueueServer::find(const QCommandLineParser& parser)
{
    const Result<RpcClient> client = clientFor(parser);
    if (!client)
        return client.failure();
    QueueServer server(client.value());
    if (const Result<void> described = server.describe(); !described)
        return described.failure();
    return server;
}

Result<void> QueueServer::describe()
{
    const Result<QVariant> description = m_client.call(QStringLiteral("describe"));
    if (!description)
        return description.failure();
    const QVariantList roots = description.value().toMap().value(QStringLiteral("roots")).toList();
    for (const QVariant& root : roots) {
        const QVariantMap fields = root.toMap();
        const QString id = CMPath::fromEncoded(fields.value(QStringLiteral("prefix")).toString()).prefix();
        if (fields.value(QStringLiteral("kind")) == QStringLiteral("playlist"))
            m_queueId = id;
        else
            m_rootIds.append(id);
    }
    if (!m_queueId.isEmpty())
        return {};
    return Failure{
        Failure::Kind::Refused,
        translatable(QT_TRANSLATE_NOOP("Host", "the server at %1 has no queue"), {m_client.server().toUrl()})};
}

Result<CMPath> QueueServer::pathFrom(const QString& argument) const
{
    if (argument.startsWith(u'/'))
        return CMPath::fromEncoded(argument);
    const QString id = argument.section(u':', 0, 0);
    if (argument.contains(u':') && m_rootIds.contains(id))
        return relativePath(id, argument.mid(id.size() + 1));
    if (m_rootIds.size() == 1)
        return relativePath(m_rootIds.first(), argument);
    return unknownRoot(m_rootIds, argument);
}

Result<QVariant> QueueServer::set(const QString& base, const QVariant& value, const char* missing) const
{
    const CMPath path(m_queueId, base);
    Result<QVariant> answer = m_client.call(
        QStringLiteral("set"), {{QStringLiteral("path"), path.toEncoded()}, {QStringLiteral("value"), value}});
    if (!answer)
        return inWords(answer.failure(), missing);
    return answer;
}

Result<QVariantList> QueueServer::data(const QString& base, const QStringList& roles) const
{
    const CMPath path(m_queueId, base);
    const Result<QVariant> values = m_client.call(
        QStringLiteral("data"), {{QStringLiteral("path"), path.toEncoded()}, {QStringLiteral("roles"), roles}});
    if (!values)
        return values.failure();
    return values.value().toList();
}

Result<QVariantMap> QueueServer::player() const
{
    const Result<QVariantList> values = data(QStringLiteral("player"), {TavoRoles::Value()});
    if (!values)
        return values.failure();
    return values.value().value(0).toMap();
}

Result<Content::Page> QueueServer::rows(const QString& base, const QStringList& roles) const
{
    Content::RowsQuery query;
    query.path = CMPath(m_queueId, base);
    query.roles = roles;
    Content::Page all;
    const auto restart = [&all] { all = {}; };
    const auto take = [&all](const Content::Page& page) {
        all.count = page.count;
        all.version = page.version;
        all.rows += page.rows;
    };
    const RowsSource source{[this](const Content::RowsQuery& part) { return page(part); }, rowsPerPage};
    if (const Result<void> read = readRows(source, query, restart, take); !read)
        return read.failure();
    return all;
}

Result<Content::Page> QueueServer::page(const Content::RowsQuery& query) const
{
    const Result<QVariant> answer = m_client.call(
        QStringLiteral("rows"), {{QStringLiteral("path"), query.path.toEncoded()},
                                 {QStringLiteral("first"), query.first},
                                 {QStringLiteral("last"), query.last},
                                 {QStringLiteral("version"), query.version},
                                 {QStringLiteral("roles"), query.roles}});
    if (!answer)
        return answer.failure();
    return pageFrom(answer.value().toMap());
}
