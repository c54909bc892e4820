#include "http/listenaddress.h"

#include "language/translatable.h"

namespace {

std::optional<IpAddress> addressFrom(const QString& text)
{
    const bool hasBrackets = text.size() > 2 && text.startsWith(u'[') && text.endsWith(u']');
    const QByteArray name = (hasBrackets ? text.mid(1, text.size() - 2) : text).toUtf8();
    const std::optional<IpAddress> address = IpAddress::fromText({name.constData(), std::size_t(name.size())});
    const bool isPlainV6 = name.contains(':');
    return isPlainV6 == hasBrackets ? address : std::nullopt;
}

} // namespace

Result<ListenAddress> ListenAddress::fromText(const QString& text)
{
    const int colon = text.lastIndexOf(u':');
    const std::optional<IpAddress> address = addressFrom(text.left(colon));
    bool isNumber = false;
    const quint16 port = text.mid(colon + 1).toUShort(&isNumber);
    if (colon < 0 || !address || !isNumber)
        return Failure::wrongUse(translatable(
            QT_TRANSLATE_NOOP("Host", "'%1' is no ADDRESS:PORT, such as 127.0.0.1:8420 or [::1]:8420"), {text}));
    return ListenAddress{*address, port};
}

QByteArray ListenAddress::toText() const
{
    const QByteArray name = address.isV4() ? address.toText() : '[' + address.toText() + ']';
    return name + ':' + QByteArray::number(port);
}
