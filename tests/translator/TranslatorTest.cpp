#include "Translator.h"
#include "TranslatorControl.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QEvent>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>
#include <QRegularExpression>
#include <QSet>
#include <QWidget>

#include <atomic>
#include <cstdlib>
#include <memory>
#include <thread>

namespace
{

QJsonObject Table(const QString& strLanguage)
{
    QFile file(QString(WORDING_FOLDER "/%1.json").arg(strLanguage));
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    return QJsonDocument::fromJson(file.readAll()).object();
}

QStringList Placeholders(const QString& strText)
{
    QStringList listFound;
    auto it = QRegularExpression("%[0-9]+").globalMatch(strText);
    while (it.hasNext()) {
        listFound.append(it.next().captured());
    }
    listFound.sort();
    return listFound;
}

class CountingWindow : public QWidget
{
public:
    int nChanges = 0;

protected:
    void changeEvent(QEvent* pEvent) override
    {
        nChanges += pEvent->type() == QEvent::LanguageChange ? 1 : 0;
        QWidget::changeEvent(pEvent);
    }
};

class TranslatorTest : public testing::Test
{
protected:
    void SetUp() override
    {
        static int argc = 1;
        static char szName[] = "translator_test";
        static char* argv[] = {szName, nullptr};
        if (!QCoreApplication::instance()) {
            m_pApplication = std::make_unique<QApplication>(argc, argv);
        }
        ASSERT_TRUE(Translator_SetLanguage("en"));
    }

    std::unique_ptr<QApplication> m_pApplication;
};

QString Wording(const QString& strKey)
{
    return CTranslator::GetInstance()->GetWording(strKey);
}

} // namespace

TEST_F(TranslatorTest, AllLanguagesAreThere)
{
    EXPECT_EQ(Translator_AvailableLanguages(), (QStringList{"de", "en", "es", "zh"}));
    EXPECT_EQ(Translator_CurrentLanguage(), "en");
}

TEST_F(TranslatorTest, TheFirstPreferredLanguageWithATableIsTaken)
{
    EXPECT_EQ(Translator_LanguageFor({"de-DE", "de", "en-US"}), "de");
    EXPECT_EQ(Translator_LanguageFor({"fr-FR", "fr", "es_MX"}), "es");
    EXPECT_EQ(Translator_LanguageFor({"fr-FR", "en-GB", "de"}), "en");
    EXPECT_EQ(Translator_LanguageFor({"zh-Hans-CN"}), "zh");
    EXPECT_EQ(Translator_LanguageFor({"C"}), "en");
    EXPECT_EQ(Translator_LanguageFor({"", "-", "../de", "deutsch"}), "en");
    EXPECT_EQ(Translator_LanguageFor({}), "en");
}

// Each in a process of its own, as the first look-up settles it.
TEST(TranslatorStart, AHostThatDoesNotChooseGetsItsLocalesLanguage)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto firstWordingIs = [](const QLocale& locale, const QString& strLanguage) {
        QLocale::setDefault(locale);
        const QString strExpected = strLanguage == "en" ? "Cancel" : Table(strLanguage).value("Cancel").toString();
        std::exit(Wording("Cancel") == strExpected && Translator_CurrentLanguage() == strLanguage ? 0 : 1);
    };
    EXPECT_EXIT(firstWordingIs(QLocale(QLocale::German, QLocale::Austria), "de"), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(firstWordingIs(QLocale(QLocale::Chinese, QLocale::China), "zh"), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(firstWordingIs(QLocale(QLocale::French, QLocale::France), "en"), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(firstWordingIs(QLocale::c(), "en"), testing::ExitedWithCode(0), "");
}

TEST_F(TranslatorTest, InEnglishEveryKeyIsItsOwnWording)
{
    EXPECT_EQ(Wording("Previous step"), "Previous step");
}

TEST_F(TranslatorTest, AnUnknownKeyReturnsItself)
{
    ASSERT_TRUE(Translator_SetLanguage("de"));
    EXPECT_EQ(Wording("/no/such/key.svg"), "/no/such/key.svg");
    EXPECT_EQ(Wording(""), "");
}

TEST_F(TranslatorTest, TheTablesHaveTheSameKeysWithoutGaps)
{
    const QStringList listKeys = Table("de").keys();
    ASSERT_FALSE(listKeys.isEmpty());
    for (const QString& strLanguage : {QString("zh"), QString("de"), QString("es")}) {
        const QJsonObject table = Table(strLanguage);
        EXPECT_EQ(table.keys(), listKeys) << qPrintable(strLanguage);
        for (const QString& strKey : listKeys) {
            const QString strText = table.value(strKey).toString();
            EXPECT_FALSE(strText.isEmpty()) << qPrintable(strKey);
            EXPECT_EQ(Placeholders(strText), Placeholders(strKey)) << qPrintable(strKey);
        }
    }
}

TEST_F(TranslatorTest, TextsCallAButtonWhatItBears)
{
    // The English text of this page calls two of its buttons by other names; the tables need not.
    const QString strMarks = "Please click the <Take a picture> button to get the photo.";
    const auto bears = [&](const QString& strText, const QString& strNamed) {
        const bool bMarks = strText.startsWith(strMarks);
        return bMarks && strNamed == "Take a picture" ? QString("Photo")
               : bMarks && strNamed == "Confirm"      ? QString("Ok")
                                                      : strNamed;
    };
    int nNamed = 0;
    for (const QString& strLanguage : {QString("zh"), QString("de"), QString("es")}) {
        const QJsonObject table = Table(strLanguage);
        for (const QString& strKey : table.keys()) {
            auto it = QRegularExpression("[<\\[]([^>\\]]+)[>\\]]").globalMatch(strKey);
            while (it.hasNext()) {
                const QString strButton = table.value(bears(strKey, it.next().captured(1))).toString();
                EXPECT_TRUE(table.value(strKey).toString().contains(strButton)) << qPrintable(strKey);
                nNamed += strButton.isEmpty() ? 0 : 1;
            }
        }
    }
    EXPECT_GT(nNamed, 0);
}

TEST_F(TranslatorTest, StatesAndPathsAreNotTranslated)
{
    for (const QString& strLanguage : {QString("zh"), QString("de"), QString("es")}) {
        ASSERT_TRUE(Translator_SetLanguage(strLanguage));
        for (const char* pKey : {"None", ".png", "L_images/", "R_images/", "/Vision/calib/Camera_Two/Output/",
                                 "cameraL_calibrateMap.xml", "DualCamera_Flow_Step4", "Default", "Custom"}) {
            EXPECT_EQ(Wording(pKey), pKey);
        }
        // Rows of coordinates are read back at their first colon.
        EXPECT_FALSE(Wording("Coordinate").contains(':'));
    }
}

TEST_F(TranslatorTest, LookUpsMeetASwitchFromOtherThreads)
{
    std::atomic<bool> bStop{false};
    const QSet<QString> wordings{"Cancel", Table("de").value("Cancel").toString(),
                                 Table("zh").value("Cancel").toString()};
    std::atomic<int> nStrange{0};
    std::thread reader([&] {
        while (!bStop) {
            nStrange += wordings.contains(Wording("Cancel")) ? 0 : 1;
        }
    });
    for (int i = 0; i < 50; ++i) {
        Translator_SetLanguage(i % 3 == 0 ? "en" : i % 3 == 1 ? "de" : "zh");
    }
    bStop = true;
    reader.join();
    EXPECT_EQ(nStrange, 0);
}

TEST_F(TranslatorTest, SwitchingReachesAnOpenWindow)
{
    CountingWindow window;
    window.show();
    ASSERT_TRUE(Translator_SetLanguage("de"));
    // The application posts the change to its windows.
    QCoreApplication::sendPostedEvents();
    EXPECT_EQ(window.nChanges, 1);
    EXPECT_EQ(Translator_CurrentLanguage(), "de");
    EXPECT_EQ(Wording("Cancel"), Table("de").value("Cancel").toString());
    EXPECT_NE(Wording("Cancel"), "Cancel");
    ASSERT_TRUE(Translator_SetLanguage("zh"));
    QCoreApplication::sendPostedEvents();
    EXPECT_EQ(window.nChanges, 2);
    EXPECT_EQ(Wording("Cancel"), Table("zh").value("Cancel").toString());
}

TEST_F(TranslatorTest, ALanguageWithoutATableChangesNothing)
{
    ASSERT_TRUE(Translator_SetLanguage("es"));
    EXPECT_FALSE(Translator_SetLanguage("xx"));
    EXPECT_FALSE(Translator_SetLanguage("../es"));
    EXPECT_FALSE(Translator_SetLanguage("../wording/de"));
    EXPECT_EQ(Translator_CurrentLanguage(), "es");
}
