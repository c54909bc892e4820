#pragma once

#include <QByteArray>
#include <QTranslator>

class TrLanguage;

/// The language that the environment asks for: LANGUAGE, LC_ALL, LC_MESSAGES and LANG, as gettext reads them. Null:
/// English. It needs no locale of that name on the machine.
[[nodiscard]] const TrLanguage* environmentLanguage();

/// English, which needs no catalogue. Never null.
[[nodiscard]] const TrLanguage* englishLanguage();

/// The tag of the language in which the calling thread reads texts.
[[nodiscard]] QByteArray shownLanguage();

/// Has QCoreApplication::translate() show texts in a language, Qt's own ones too.
class ProgramLanguage : public QTranslator
{
    Q_OBJECT

public:
    /// The language lives as long as this object.
    explicit ProgramLanguage(const TrLanguage& language) : m_language(language) {}

    [[nodiscard]] bool isEmpty() const override { return false; }
    [[nodiscard]] QString
    translate(const char* context, const char* sourceText, const char* disambiguation, int n) const override;

private:
    const TrLanguage& m_language;
};
