#include "terminal/pagetext.h"

#include "language/translatable.h"
#include "terminal/roletext.h"

#include <tavo/tavoroles.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

namespace {

/// A role that people rarely ask for has its name.
QString heading(const QString& role)
{
    const std::array<std::pair<QString, const char*>, 5> known = {
        {{TavoRoles::Timestamp(), QT_TRANSLATE_NOOP("Host", "MODIFIED")},
         {TavoRoles::Type(), QT_TRANSLATE_NOOP("Host", "TYPE")},
         {TavoRoles::Title(), QT_TRANSLATE_NOOP("Host", "TITLE")},
         {TavoRoles::Path(), QT_TRANSLATE_NOOP("Host", "PATH")},
         {TavoRoles::Value(), QT_TRANSLATE_NOOP("Host", "VALUE")}}};
    for (const auto& [name, text] : known) {
        if (role == name)
            return translated(text);
    }
    return role.toUpper();
}

QStringList headings(const QStringList& roles)
{
    QStringList texts;
    std::transform(roles.cbegin(), roles.cend(), std::back_inserter(texts), heading);
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
