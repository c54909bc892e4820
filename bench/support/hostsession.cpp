#include "support/hostsession.h"

#include "support/race.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

pid_t start(const std::vector<std::string>& command, int input, int output)
{
    std::vector<char*> arguments;
    for (const std::string& argument : command)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions = {};
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    pid_t child = 0;
    const int error = posix_spawn(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    require(error == 0, "cannot start the host");
    return child;
}

std::vector<std::string> commandFor(const QString& root, const QStringList& patterns)
{
    std::vector<std::string> command = {TAVO_HOST, "--root", root.toStdString()};
    for (const QString& pattern : patterns)
        command.insert(command.end(), {"--filter", pattern.toStdString()});
    command.emplace_back("session");
    return command;
}

} // namespace

QByteArray rowsRequest(const QString& directory, int first, int last, const QStringList& roles)
{
    const QJsonObject parameters = {
        {QStringLiteral("path"), QStringLiteral("/file/") + directory},
        {QStringLiteral("first"), first},
        {QStringLiteral("last"), last},
        {QStringLiteral("roles"), QJsonArray::fromStringList(roles)}};
    const QJsonObject request = {
        {QStringLiteral("jsonrpc"), QStringLiteral("2.0")},
        {QStringLiteral("id"), 1},
        {QStringLiteral("method"), QStringLiteral("rows")},
        {QStringLiteral("params"), parameters}};
    return QJsonDocument(request).toJson(QJsonDocument::Compact);
}

HostSession::HostSession(const QString& root, const QStringList& patterns)
{
    int input[2] = {};
    int output[2] = {};
    require(pipe2(input, O_CLOEXEC) == 0 && pipe2(output, O_CLOEXEC) == 0, "cannot make a pipe");
    m_process = start(commandFor(root, patterns), input[0], output[1]);
    close(input[0]);
    close(output[1]);
    m_input = input[1];
    m_output = output[0];
    m_answers = std::make_unique<Lines>(m_output);
}

HostSession::~HostSession()
{
    close(m_input);
    waitpid(m_process, nullptr, 0);
    close(m_output);
}

std::string_view HostSession::rows(const QString& directory, int first, int last, const QStringList& roles)
{
    ask(rowsRequest(directory, first, last, roles));
    return answer();
}

void HostSession::ask(const QByteArray& request) const
{
    const QByteArray line = request + '\n';
    require(write(m_input, line.constData(), static_cast<std::size_t>(line.size())) == line.size(), "the host hung up");
}

std::string_view HostSession::answer()
{
    const std::string_view answer = m_answers->next();
    require(answer.find("\"result\"") != std::string_view::npos, "the host refused a request");
    return answer;
}
