#pragma once

#include "i18n/trstring.h"
#include "tavo/tavoexport.h"

#include <QMetaType>
#include <QVariant>

/// The reason why a request was refused: a hash with three keys. Programs read its name, people message and title.
///
/// A value; default-constructed it has no keys and stands for no error.
class TAVO_API_EXPORT CMError : public QVariantHash
{
public:
    /// From the keys of another error.
    using QVariantHash::QVariantHash;
    /// No error.
    CMError() = default;
    /// An error with DefaultTitle(). `name` is one of those in tavokeys.h, DefaultName() or the worker's own.
    CMError(const QString& name, const TrString& message);

    /// Key of the name, a QString. The keys are thread-safe and live until the process ends.
    [[nodiscard]] static const QString& Name();
    /// Key of the message, a TrString: one sentence that says what failed.
    [[nodiscard]] static const QString& Message();
    /// Key of the title, a TrString: the heading over the message.
    [[nodiscard]] static const QString& Title();

    /// Name of an error that has no better one. Thread-safe; lives until the process ends.
    [[nodiscard]] static const QString& DefaultName();
    /// The title "Error". Thread-safe.
    [[nodiscard]] static TrString DefaultTitle();

    /// Empty if absent.
    [[nodiscard]] QString name() const { return value(Name()).toString(); }
    /// In the thread's language; empty if absent.
    [[nodiscard]] QString message() const { return value(Message()).toString(); }
    /// In the thread's language; empty if absent.
    [[nodiscard]] QString title() const { return value(Title()).toString(); }
};

Q_DECLARE_METATYPE(CMError)
