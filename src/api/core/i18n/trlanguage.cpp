#include "i18n/trlanguage.h"

#include "i18n/trstring.h"

#include <QDir>
#include <QTranslator>

#include <algorithm>
#include <mutex>
#include <utility>

namespace {

const QLatin1String english("en");

thread_local const TrLanguage* currentLanguage = nullptr;

/// The tag in the name of a catalogue, "de-at" in "tavo_de_AT.qm". Empty if it has none.
QString tagIn(const QString& fileName)
{
    return fileName.section(u'.', 0, 0).section(u'_', 1).replace(u'_', u'-').toLower();
}

} // namespace

class TrLanguage::Registry
{
public:
    static Registry& instance()
    {
        static Registry registry;
        return registry;
    }

    void setDirectory(const QString& directory)
    {
        const std::lock_guard lock(m_mutex);
        m_directory = directory;
    }

    const TrLanguage* find(const QString& tag)
    {
        const std::lock_guard lock(m_mutex);
        // English needs no catalogue, so that most programs look for none.
        if (!m_isLoaded && tag != english)
            load();
        return withTag(tag);
    }

private:
    Registry() { m_languages.emplace_back(new TrLanguage(english)); }

    void load()
    {
        m_isLoaded = true;
        if (m_directory.isEmpty())
            return;
        const QDir folder(m_directory);
        for (const QString& file : folder.entryList({QStringLiteral("*_*.qm")}, QDir::Files)) {
            const QString tag = tagIn(file);
            auto catalogue = std::make_unique<QTranslator>();
            if (tag != english && catalogue->load(folder.filePath(file)))
                languageOf(tag).m_catalogues.push_back(std::move(catalogue));
        }
    }

    [[nodiscard]] TrLanguage* withTag(const QString& tag) const
    {
        const auto hasTag = [&tag](const auto& language) { return language->tag() == tag; };
        const auto found = std::find_if(m_languages.cbegin(), m_languages.cend(), hasTag);
        return found == m_languages.cend() ? nullptr : found->get();
    }

    TrLanguage& languageOf(const QString& tag)
    {
        if (TrLanguage* const known = withTag(tag))
            return *known;
        m_languages.emplace_back(new TrLanguage(tag));
        return *m_languages.back();
    }

    std::mutex m_mutex;
    QString m_directory;
    bool m_isLoaded = false;
    std::vector<std::unique_ptr<TrLanguage>> m_languages;
};

TrLanguage::TrLanguage(QString tag) : m_tag(std::move(tag)) {}

TrLanguage::~TrLanguage() = default;

void TrLanguage::setCatalogues(const QString& directory)
{
    Registry::instance().setDirectory(directory);
}

const TrLanguage* TrLanguage::find(const QString& tag)
{
    for (QString wanted = tag.toLower(); !wanted.isEmpty(); wanted.truncate(wanted.lastIndexOf(u'-'))) {
        if (const TrLanguage* const language = Registry::instance().find(wanted))
            return language;
    }
    return nullptr;
}

const TrLanguage* TrLanguage::current() noexcept
{
    return currentLanguage;
}

QString TrLanguage::translate(const TrCharData& text) const
{
    QString shown;
    for (const auto& catalogue : m_catalogues) {
        if (shown.isNull())
            shown = catalogue->translate(text.context, text.sourceText, text.comment, text.n);
    }
    if (shown.isNull())
        shown = QString::fromUtf8(text.sourceText);
    return text.n < 0 ? shown : shown.replace(QLatin1String("%n"), QString::number(text.n));
}

TrLanguage::Scope::Scope(const TrLanguage* language) noexcept : m_outer(std::exchange(currentLanguage, language)) {}

TrLanguage::Scope::~Scope()
{
    currentLanguage = m_outer;
}
