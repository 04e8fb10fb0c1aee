#include "Translator.h"

#include "Log.h"
#include "TranslatorControl.h"

#include <QCoreApplication>
#include <QDir>
#include <QEvent>
#include <QFile>
#include <QHash>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>
#include <QMutex>
#include <QMutexLocker>

// The tables are compiled in, so that a language never depends on where the library lies.
static void InitTables()
{
    Q_INIT_RESOURCE(wording);
}

namespace
{

using WordingTable = QHash<QString, QString>;

struct Wording {
    QMutex mutex;
    QString strLanguage = "en";
    WordingTable table;
};

bool LoadTable(const QString& strLanguage, WordingTable& table)
{
    InitTables();
    QFile file(":/wording/" + strLanguage + ".json");
    if (!file.open(QIODevice::ReadOnly)) {
        ILog_WriteLogF(2, "Translator: the wording table for the language %s cannot be read",
                       strLanguage.toUtf8().constData());
        return false;
    }
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &error);
    if (!document.isObject()) {
        ILog_WriteLogF(2, "Translator: the wording table for the language %s is damaged: %s",
                       strLanguage.toUtf8().constData(), error.errorString().toUtf8().constData());
        return false;
    }
    const QJsonObject object = document.object();
    for (auto it = object.begin(); it != object.end(); ++it) {
        table.insert(it.key(), it.value().toString());
    }
    return true;
}

/// What the operator's desktop asks for, or what the host has made its default locale, before anybody chooses.
Wording* FirstWording()
{
    auto* pWording = new Wording;
    const QString strLanguage = Translator_LanguageFor(QLocale().uiLanguages());
    if (strLanguage != pWording->strLanguage && LoadTable(strLanguage, pWording->table)) {
        pWording->strLanguage = strLanguage;
    }
    return pWording;
}

Wording& Current()
{
    // Never destroyed: windows may ask for a wording while the process ends.
    static Wording* const pWording = FirstWording();
    return *pWording;
}

} // namespace

CTranslator* CTranslator::GetInstance()
{
    static CTranslator translator;
    return &translator;
}

QString CTranslator::GetWording(const QString& strKey)
{
    Wording& wording = Current();
    const QMutexLocker lock(&wording.mutex);
    const QString strText = wording.table.value(strKey);
    return strText.isEmpty() ? strKey : strText;
}

QStringList Translator_AvailableLanguages()
{
    InitTables();
    QStringList listLanguages{"en"};
    const QStringList listFiles = QDir(":/wording").entryList({"*.json"});
    for (const QString& strFile : listFiles) {
        listLanguages.append(strFile.chopped(5));
    }
    listLanguages.sort();
    return listLanguages;
}

QString Translator_LanguageFor(const QStringList& listPreferred)
{
    const QStringList listAvailable = Translator_AvailableLanguages();
    for (const QString& strPreferred : listPreferred) {
        // "de-DE" and "de_DE" are German too.
        QString strLanguage = strPreferred.section('-', 0, 0).section('_', 0, 0).toLower();
        if (listAvailable.contains(strLanguage)) {
            return strLanguage;
        }
    }
    return "en";
}

QString Translator_CurrentLanguage()
{
    Wording& wording = Current();
    const QMutexLocker lock(&wording.mutex);
    return wording.strLanguage;
}

bool Translator_SetLanguage(const QString& strLanguage)
{
    WordingTable table;
    // The list, not the folder, says what a language is: a name with a path in it is none.
    if (!Translator_AvailableLanguages().contains(strLanguage)) {
        ILog_WriteLogF(2, "Translator: there is no wording table for the language %s",
                       strLanguage.toUtf8().constData());
        return false;
    }
    if (strLanguage != "en" && !LoadTable(strLanguage, table)) {
        return false;
    }
    {
        Wording& wording = Current();
        const QMutexLocker lock(&wording.mutex);
        wording.strLanguage = strLanguage;
        wording.table = table;
    }
    // The application object hands a language change on to its windows.
    if (QCoreApplication* pApplication = QCoreApplication::instance()) {
        QEvent event(QEvent::LanguageChange);
        QCoreApplication::sendEvent(pApplication, &event);
    }
    return true;
}
