// Whatever is parsed as JSON is what QJsonDocument reads as well, and comes back when it is written and parsed again.

#include "check.h"

#include "rpc/jsonparser.h"

#include <tavo/tavojson.h>

#include <QJsonArray>
#include <QJsonDocument>

#include <optional>

namespace {

std::optional<QVariant> valueIn(const QByteArray& text)
{
    const auto parsed = parseJson(text);
    if (const auto* value = std::get_if<QVariant>(&parsed))
        return *value;
    FUZZ_CHECK(!std::get<JsonProblem>(parsed).message.isEmpty());
    return std::nullopt;
}

void checkWriting(const QVariant& value)
{
    const std::optional<QByteArray> text = TavoJson::write(value);
    FUZZ_CHECK(text && !text->contains('\n'));
    const std::optional<QVariant> again = valueIn(*text);
    FUZZ_CHECK(again && *again == value);
    FUZZ_CHECK(TavoJson::write(*again) == text);
    FUZZ_CHECK(TavoJson::write(value, text->size()) == text);
    FUZZ_CHECK(!TavoJson::write(value, text->size() - 1));
}

/// Numbers that are out of range and byte order marks are not compared: QJsonDocument refuses the ones, and drops the
/// others at the start of a string.
void checkAgainstQt(const QByteArray& text, const QVariant& value)
{
    QJsonParseError problem{};
    const QJsonArray values = QJsonDocument::fromJson('[' + text + ']', &problem).array();
    if (problem.error == QJsonParseError::IllegalNumber || text.contains("\xEF\xBB\xBF"))
        return;
    FUZZ_CHECK(problem.error == QJsonParseError::NoError);
    FUZZ_CHECK(values.size() == 1 && values.first().toVariant() == value);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray text(reinterpret_cast<const char*>(data), static_cast<int>(size));
    if (const std::optional<QVariant> value = valueIn(text)) {
        checkWriting(*value);
        checkAgainstQt(text, *value);
    }
    return 0;
}
