#include "terminal/pagetext.h"

#include "terminal/roletext.h"

#include <tavo/tavoroles.h>

namespace {

QStringList headings(const QStringList& roles)
{
    QStringList texts;
    for (const QString& role : roles)
        texts.append(role == TavoRoles::Timestamp() ? QStringLiteral("MODIFIED") : role.toUpper());
    return texts;
}

QStringList cells(const QVariantList& row, const QStringList& shown, bool isContainer)
{
    QStringList texts;
    for (int i = 0; i < shown.size(); ++i) {
        QString text = roleText(shown.at(i), row.value(i));
        if (isContainer && shown.at(i) == TavoRoles::Title())
            text += QLatin1Char('/');
        texts.append(text);
    }
    return texts;
}

} // namespace

const QStringList& usualColumns()
{
    static const QStringList roles = {TavoRoles::Type(), TavoRoles::Timestamp(), TavoRoles::Title()};
    return roles;
}

QStringList withType(const QStringList& shown)
{
    return shown + QStringList{TavoRoles::Type()};
}

Table pageTable(const QStringList& shown)
{
    return Table(headings(shown));
}

void addPage(Table& table, const Content::Page& page, const QStringList& shown)
{
    for (const QVariant& rowValue : page.rows) {
        const QVariantList row = rowValue.toList();
        const bool isContainer = row.value(shown.size()).toString() == TavoRolesType::Container();
        table.addRow(cells(row, shown, isContainer), isContainer ? Table::Style::Container : Table::Style::Plain);
    }
}
