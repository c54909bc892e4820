#pragma once

#include "i18n/trstring.h"
#include "tavo/tavoexport.h"

#include <QMetaType>
#include <QVariant>

/// Why a request was refused: a hash with three keys. The name is for programs, message and title are for people.
class TAVO_API_EXPORT CMError : public QVariantHash
{
public:
    using QVariantHash::QVariantHash;
    CMError() = default;
    CMError(const QString& name, const TrString& message);

    /// QString.
    [[nodiscard]] static const QString& Name();
    /// TrString.
    [[nodiscard]] static const QString& Message();
    /// TrString.
    [[nodiscard]] static const QString& Title();

    [[nodiscard]] static const QString& DefaultName();
    [[nodiscard]] static TrString DefaultTitle();

    [[nodiscard]] QString name() const { return value(Name()).toString(); }
    [[nodiscard]] QString message() const { return value(Message()).toString(); }
    [[nodiscard]] QString title() const { return value(Title()).toString(); }
};

Q_DECLARE_METATYPE(CMError)
