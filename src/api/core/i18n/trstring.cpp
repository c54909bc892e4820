#include "i18n/trstring.h"

#include "i18n/trlanguage.h"

#include <QCoreApplication>

#include <algorithm>

namespace {

const bool trStringConverts = [] {
    QMetaType::registerConverter<TrString, QString>(&TrString::toString);
    QMetaType::registerEqualsComparator<TrString>();
    return true;
}();

QString padded(const TrArg& argument)
{
    return argument.fieldWidth >= 0 ? argument.value.rightJustified(argument.fieldWidth, argument.fill)
                                    : argument.value.leftJustified(-argument.fieldWidth, argument.fill);
}

/// A place marker, "%1" to "%99"; number 0 stands for none.
struct Place
{
    int number = 0;
    int length = 0;
};

Place placeAt(const QString& text, int index)
{
    Place place;
    for (int i = index + 1; i < text.size() && i <= index + 2; ++i) {
        const int digit = text.at(i).unicode() - u'0';
        if (digit < 0 || digit > 9)
            break;
        place = {place.number * 10 + digit, i - index + 1};
    }
    return place;
}

QString translated(const TrCharData& text)
{
    if (text.context.isNull())
        return QString::fromUtf8(text.sourceText);
    if (const TrLanguage* const language = TrLanguage::current())
        return language->translate(text);
    return QCoreApplication::translate(text.context, text.sourceText, text.comment, text.n);
}

} // namespace

QString TrString::toString() const
{
    const QString text = translated(m_text);
    QString result;
    for (int i = 0; i < text.size();) {
        const Place place = text.at(i) == QLatin1Char('%') ? placeAt(text, i) : Place();
        if (place.number >= 1 && place.number <= m_arguments.size()) {
            result += padded(m_arguments.at(place.number - 1));
            i += place.length;
        } else {
            result += text.at(i++);
        }
    }
    return result;
}

QByteArray trExtractContext(const char* signature)
{
    const QByteArray text(signature);
    const QByteArray typeAndName = text.left(text.indexOf('('));
    const QByteArray name = typeAndName.mid(typeAndName.lastIndexOf(' ') + 1);
    return name.left(std::max(name.lastIndexOf("::"), 0));
}
