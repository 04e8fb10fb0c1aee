#pragma once

// How a host chooses the language, beside the one look-up that everybody calls. A host that does not choose gets the
// first language of the operator's desktop (or of its own default locale) that has a table, English where none has.

#include "ModuleExport.h"

#include <QString>
#include <QStringList>

/// "en" and every language that has a wording table, sorted.
MODULE_EXPORT QStringList Translator_AvailableLanguages();
/// The first of these languages ("de", "de-DE", "de_DE") that has a wording table, "en" where none has.
MODULE_EXPORT QString Translator_LanguageFor(const QStringList& listPreferred);
/// "en" where no table is in use.
MODULE_EXPORT QString Translator_CurrentLanguage();
/// Switches to "en", "zh", "de" or "es" and tells the application's windows by QEvent::LanguageChange. GUI thread only.
/// False, and nothing changes, for a language without a table or one whose table is damaged (one log line).
MODULE_EXPORT bool Translator_SetLanguage(const QString& strLanguage);
