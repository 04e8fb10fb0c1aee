#pragma once

// Texts of the window in the operator's language; the English text is the key.

#include <QString>
#include <QStringList>

namespace Workbench
{

class Failure;

QString Wording(const char* pKey);
/// What a failure says. May be called from any thread.
QString Wording(const Failure& failure);

/// What the translator may lack where it is another library than ours: then there is English only.
QStringList Languages();
QString CurrentLanguage();
/// A language's own name, "Deutsch" for "de".
QString LanguageName(const QString& strLanguage);
/// Open windows get a QEvent::LanguageChange. False, and nothing changes, for an unknown language.
bool SwitchLanguage(const QString& strLanguage);

} // namespace Workbench
