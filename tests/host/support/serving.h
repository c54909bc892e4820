#pragma once

#include "support/tavo.h"
#include "support/temporarytree.h"

/// "tavo serve" with a root/ and a state directory of its own, at a free port of this machine.
class Serving
{
public:
    /// root/ is empty.
    Serving();

    /// `options`: of the command. Waits until the program serves.
    void start(const QStringList& options = {});

    [[nodiscard]] Tavo& program() { return m_program; }
    [[nodiscard]] quint16 port() const { return m_port; }
    /// The program's first line.
    [[nodiscard]] const QByteArray& firstLine() const { return m_firstLine; }

    /// What start() passes.
    [[nodiscard]] QStringList arguments(const QStringList& options = {}) const;
    /// A path below root/.
    [[nodiscard]] QString served(const QString& path) const { return QStringLiteral("root/") + path; }

    TemporaryTree tree;

private:
    Tavo m_program;
    quint16 m_port = 0;
    QByteArray m_firstLine;
};

/// The port of the last address in the program's first line; 0 if there is none.
[[nodiscard]] quint16 portIn(const QByteArray& firstLine);
