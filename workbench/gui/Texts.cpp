#include "Texts.h"

#include "Failure.h"
#include "Translator.h"

#include <QLocale>

// Weak: another translator need not offer them.
__attribute__((weak)) QStringList Translator_AvailableLanguages();
__attribute__((weak)) QString Translator_CurrentLanguage();
__attribute__((weak)) bool Translator_SetLanguage(const QString& strLanguage);

namespace Workbench
{

QString Wording(const char* pKey)
{
    return CTranslator::GetInstance()->GetWording(QString::fromUtf8(pKey));
}

QString Wording(const Failure& failure)
{
    return WithArguments(CTranslator::GetInstance()->GetWording(failure.Key()), failure.Arguments());
}

QStringList Languages()
{
    return Translator_AvailableLanguages ? Translator_AvailableLanguages() : QStringList{"en"};
}

QString CurrentLanguage()
{
    return Translator_CurrentLanguage ? Translator_CurrentLanguage() : QString("en");
}

QString LanguageName(const QString& strLanguage)
{
    // The locale's own names of these are those of a country.
    if (strLanguage == "en") {
        return "English";
    }
    if (strLanguage == "es") {
        return QString::fromUtf8("Español");
    }
    QString strName = QLocale(strLanguage).nativeLanguageName();
    if (strName.isEmpty()) {
        return strLanguage;
    }
    strName[0] = strName[0].toUpper();
    return strName;
}

bool SwitchLanguage(const QString& strLanguage)
{
    return Translator_SetLanguage && Translator_SetLanguage(strLanguage);
}

} // namespace Workbench
