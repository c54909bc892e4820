#pragma once

#include "tavo/tavoexport.h"

#include <QString>

#include <memory>
#include <vector>

class QTranslator;
struct TrCharData;

/// A language that texts can be shown in: English, as they stand in the source, or one that has catalogues.
///
/// Languages live until the process ends. All functions may be called from any thread.
class TAVO_API_EXPORT TrLanguage
{
public:
    /// Names the directory of the catalogues, NAME_TAG.qm: "tavo_de.qm" is a German one. They are read when a language
    /// other than English is searched for the first time, and one that cannot be read is left out; call this before
    /// that.
    static void setCatalogues(const QString& directory);
    /// The language that a BCP 47 tag in any case asks for, a more general one if need be: "de" for "de-AT". Null if
    /// there is none.
    [[nodiscard]] static const TrLanguage* find(const QString& tag);
    /// The language in which the calling thread reads texts; null: the application's.
    [[nodiscard]] static const TrLanguage* current() noexcept;

    ~TrLanguage();

    /// In lower case.
    [[nodiscard]] const QString& tag() const { return m_tag; }
    /// The text without its arguments; the source text if no catalogue has it.
    [[nodiscard]] QString translate(const TrCharData& text) const;

    /// Has the calling thread read texts in a language for as long as the scope lives.
    ///
    /// Scopes nest: the end of an inner scope restores the outer one's language. A scope ends on the thread that made
    /// it.
    class TAVO_API_EXPORT Scope
    {
    public:
        /// Null: the application's language.
        explicit Scope(const TrLanguage* language) noexcept;
        ~Scope();

    private:
        Q_DISABLE_COPY_MOVE(Scope)

        const TrLanguage* m_outer;
    };

private:
    class Registry;

    explicit TrLanguage(QString tag);
    Q_DISABLE_COPY_MOVE(TrLanguage)

    QString m_tag;
    std::vector<std::unique_ptr<const QTranslator>> m_catalogues;
};
