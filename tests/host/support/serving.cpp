#include "support/serving.h"

#include <QRegularExpression>

#include <gtest/gtest.h>

Serving::Serving()
{
    tree.addDirectory(QStringLiteral("root"));
    // A sanitizer keeps freed memory, which is not the server's.
    const QString options = qEnvironmentVariable("ASAN_OPTIONS");
    m_program.setVariable(QStringLiteral("ASAN_OPTIONS"), options + QStringLiteral(":quarantine_size_mb=1"));
}

QStringList Serving::arguments(const QStringList& options) const
{
    return QStringList{
               QStringLiteral("--root"),
               tree.absolute(QStringLiteral("root")),
               QStringLiteral("--sweep"),
               QStringLiteral("1"),
               QStringLiteral("serve"),
               QStringLiteral("--state"),
               tree.absolute(QStringLiteral("state"))} +
           options;
}

void Serving::start(const QStringList& options)
{
    const QStringList anyPort = {QStringLiteral("--listen"), QStringLiteral("127.0.0.1:0")};
    m_program.start(arguments(anyPort + options));
    m_firstLine = m_program.readLine();
    m_port = portIn(m_firstLine);
    ASSERT_NE(m_port, 0) << m_program.readErrorLine().toStdString();
}

quint16 portIn(const QByteArray& firstLine)
{
    static const QRegularExpression address(QStringLiteral(":(\\d+)/$"));
    return address.match(QString::fromUtf8(firstLine)).captured(1).toUShort();
}
