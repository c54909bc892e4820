#include "prepare/itemsink.h"

#include "language/translatable.h"
#include "terminal/itemtext.h"

#include <tavo/tavojson.h>
#include <tavo/tavoroles.h>

namespace {

class JsonSink : public ItemSink
{
public:
    explicit JsonSink(int output) : m_output(output) {}

    Result<Written> add(const QVariantList& items) override
    {
        QByteArray text;
        for (const QVariant& item : items) {
            text += m_isEmpty ? "[" : ",\n ";
            m_isEmpty = false;
            if (!TavoJson::append(text, item))
                return Failure{
                    Failure::Kind::TooLarge,
                    translatable(QT_TRANSLATE_NOOP("Host", "the items are longer than 2 GiB"))};
        }
        return writeOutput(m_output, text);
    }

    Result<Written> finish() override { return writeOutput(m_output, m_isEmpty ? "[]\n" : "]\n"); }
    Result<Written> breakOff() override { return finish(); }

private:
    int m_output;
    bool m_isEmpty = true;
};

class TableSink : public ItemSink
{
public:
    explicit TableSink(int output) : m_output(output), m_table(itemHeadings()) {}

    Result<Written> add(const QVariantList& items) override
    {
        for (const QVariant& item : items) {
            const QVariantHash roles = item.toHash();
            m_table.addRow(itemCells(roles.value(TavoRoles::Title()), roles.value(TavoRoles::MediaData())));
        }
        return Written::All;
    }

    Result<Written> finish() override { return writeOutput(m_output, m_table.toText(Terminal::at(m_output))); }
    Result<Written> breakOff() override { return Written::All; }

private:
    int m_output;
    Table m_table;
};

} // namespace

std::unique_ptr<ItemSink> ItemSink::json(int output)
{
    return std::make_unique<JsonSink>(output);
}

std::unique_ptr<ItemSink> ItemSink::table(int output)
{
    return std::make_unique<TableSink>(output);
}
