#pragma once

#include <QByteArray>
#include <QDebug>
#include <QString>
#include <QVariant>

#include <ostream>

// How failed expectations show values of Qt.

inline void PrintTo(const QString& text, std::ostream* out)
{
    *out << '"' << text.toStdString() << '"';
}

inline void PrintTo(const QByteArray& bytes, std::ostream* out)
{
    *out << '"' << bytes.toStdString() << '"';
}

inline void PrintTo(const QVariant& value, std::ostream* out)
{
    QString text;
    QDebug(&text) << value;
    *out << text.toStdString();
}
