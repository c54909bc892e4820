#include "model/cmerror.h"

CMError::CMError(const QString& name, const TrString& message)
{
    static const QVariant title = DefaultTitle();
    reserve(3);
    insert(Name(), name);
    insert(Message(), message);
    insert(Title(), title);
}

const QString& CMError::Name()
{
    static const QString key = QStringLiteral("name");
    return key;
}

const QString& CMError::Message()
{
    static const QString key = QStringLiteral("message");
    return key;
}

const QString& CMError::Title()
{
    static const QString key = QStringLiteral("title");
    return key;
}

const QString& CMError::DefaultName()
{
    static const QString name = QStringLiteral("error");
    return name;
}

TrString CMError::DefaultTitle()
{
    return {TrCharData{"CMError", "Error"}, QList<TrArg>()};
}
