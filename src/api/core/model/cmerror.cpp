#include "model/cmerror.h"

#include "tavo/keyaccessor_p.h"

TAVO_KEY(CMError::Name, "name")
TAVO_KEY(CMError::Message, "message")
TAVO_KEY(CMError::Title, "title")
TAVO_KEY(CMError::DefaultName, "error")

CMError::CMError(const QString& name, const TrString& message)
{
    static const QVariant title = DefaultTitle();
    reserve(3);
    insert(Name(), name);
    insert(Message(), message);
    insert(Title(), title);
}

TrString CMError::DefaultTitle()
{
    return {TrCharData{"CMError", QT_TRANSLATE_NOOP("CMError", "Error")}, QList<TrArg>()};
}
