#pragma once

#include <i18n/trstring.h>

/// A text of the host that people read. `sourceText` is English and marked with QT_TRANSLATE_NOOP("Host", …), so that
/// it comes into the catalogues; the first argument replaces %1.
[[nodiscard]] TrString translatable(const char* sourceText, const QList<TrArg>& arguments = {});

/// The same in the thread's language.
[[nodiscard]] QString translated(const char* sourceText, const QList<TrArg>& arguments = {});

/// For the log, which is in one language everywhere.
[[nodiscard]] QString inEnglish(const TrString& text);
