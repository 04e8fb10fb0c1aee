#pragma once

// How a host chooses the language, beside the one look-up that everybody calls.

#include "ModuleExport.h"

#include <QString>
#include <QStringList>

/// "en" and every language that has a wording table, sorted.
MODULE_EXPORT QStringList Translator_AvailableLanguages();
/// "en" where no table is in use.
MODULE_EXPORT QString Translator_CurrentLanguage();
/// Switches to "en", "zh", "de" or "es" and tells the application's windows by QEvent::LanguageChange. GUI thread only.
/// False, and nothing changes, for a language without a table or one whose table is damaged (one log line).
MODULE_EXPORT bool Translator_SetLanguage(const QString& strLanguage);
