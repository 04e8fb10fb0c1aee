#include "ProgressDialog.h"
#include "TranslatorControl.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QLabel>
#include <QScreen>

#include <limits>

TEST(ProgressDialog, ElapsedTimeHasMinutesAndSecondsAndFromAnHourOnHours)
{
    EXPECT_EQ(ElapsedText(0), "0:00");
    EXPECT_EQ(ElapsedText(999), "0:00");
    EXPECT_EQ(ElapsedText(1000), "0:01");
    EXPECT_EQ(ElapsedText(59'999), "0:59");
    EXPECT_EQ(ElapsedText(754'000), "12:34");
    EXPECT_EQ(ElapsedText(3'599'999), "59:59");
    EXPECT_EQ(ElapsedText(3'600'000), "1:00:00");
    EXPECT_EQ(ElapsedText(3'723'000), "1:02:03");
    EXPECT_EQ(ElapsedText(360'000'000), "100:00:00");
    EXPECT_EQ(ElapsedText(-5000), "0:00");
    EXPECT_EQ(ElapsedText(std::numeric_limits<qint64>::min()), "0:00");
}

TEST(ProgressDialog, AnOrdinaryTextStaysAsItIs)
{
    for (const QString& strText : {QString(), QString("Processing..."), QString("a\nb & <b>c</b>"),
                                   QString("word ").repeated(100), QString("l\n").repeated(11) + "l"}) {
        EXPECT_EQ(ShowableText(strText), strText);
    }
}

TEST(ProgressDialog, ALongTextIsCutAndSaysSo)
{
    const QString strLong = QString("word ").repeated(100) + "more";
    EXPECT_EQ(ShowableText(strLong), QString("word ").repeated(100) + QChar(0x2026));
    EXPECT_EQ(ShowableText(QString("l\n").repeated(12) + "l"), QString("l\n").repeated(11) + "l" + QChar(0x2026));
    EXPECT_EQ(ShowableText(QString("l\r\n").repeated(3)), QString("l\n").repeated(3));
    EXPECT_LT(ShowableText(QString(10'000'000, 'x')).size(), 600);
}

TEST(ProgressDialog, ACutOrABreakDividesNoCharacter)
{
    const QString strFace = QString::fromUtf8("😀");
    ASSERT_EQ(strFace.size(), 2);
    const QString strShown = ShowableText("x" + strFace.repeated(400));
    EXPECT_TRUE(strShown.isValidUtf16());
    EXPECT_TRUE(strShown.endsWith(QChar(0x2026)));
}

TEST(ProgressDialog, WordsThatNoLineHoldsMayBreak)
{
    EXPECT_EQ(ShowableText(QString(45, 'x')),
              QString(30, 'x') + QChar(0x200b) + QString(10, 'x') + QChar(0x200b) + QString(5, 'x'));
    EXPECT_EQ(ShowableText(QString(30, 'x') + " y"), QString(30, 'x') + " y");
}

TEST(ProgressDialog, FitsTheScreenWhateverTheText)
{
    for (const QString& strText :
         {QString(), QString(5000, 'W'), QString("W\n").repeated(2000), QString("WWW ").repeated(2000)}) {
        ProgressDialog dialog(strText);
        dialog.show();
        const QSize room = dialog.screen()->availableSize();
        EXPECT_LE(dialog.width(), room.width()) << qPrintable(strText.left(5));
        EXPECT_LE(dialog.height(), room.height()) << qPrintable(strText.left(5));
        EXPECT_GT(dialog.width(), 100);
        const auto* const pText = dialog.findChild<QLabel*>("label_text");
        ASSERT_TRUE(pText);
        EXPECT_GE(pText->height(), pText->heightForWidth(pText->width())) << "no line is hidden";
    }
}

TEST(ProgressDialog, InLargePrintLessOfALongTextIsShownButTheTimeStays)
{
    const QFont usual = QApplication::font();
    QFont large = usual;
    large.setPixelSize(40);
    QApplication::setFont(large);
    ProgressDialog dialog(QString("WWW ").repeated(200));
    dialog.show();
    const int nRoom = dialog.screen()->availableSize().height();
    EXPECT_LE(dialog.height(), nRoom);
    const auto* const pText = dialog.findChild<QLabel*>("label_text");
    EXPECT_LE(pText->height(), nRoom / 2);
    EXPECT_TRUE(pText->text().endsWith(QChar(0x2026)));
    EXPECT_GT(pText->text().size(), 20);
    QApplication::setFont(usual);
}

TEST(ProgressDialog, ShowsMarkupAsText)
{
    const ProgressDialog dialog("<b>x</b>");
    EXPECT_EQ(dialog.findChild<QLabel*>("label_text")->textFormat(), Qt::PlainText);
}

TEST(ProgressDialog, ALanguageSwitchReachesItWhileItIsOpen)
{
    ASSERT_TRUE(Translator_SetLanguage("en"));
    ProgressDialog dialog("Processing...");
    dialog.show();
    const auto* const pText = dialog.findChild<QLabel*>("label_text");
    const auto* const pElapsed = dialog.findChild<QLabel*>("label_elapsed");
    EXPECT_EQ(dialog.windowTitle(), "Please wait");
    EXPECT_EQ(pText->text(), "Processing...");
    EXPECT_TRUE(pElapsed->text().startsWith("Elapsed time: "));

    ASSERT_TRUE(Translator_SetLanguage("de"));
    QCoreApplication::sendPostedEvents();
    EXPECT_EQ(dialog.windowTitle(), "Bitte warten");
    EXPECT_EQ(pText->text(), QString::fromUtf8("Verarbeitung läuft..."));
    EXPECT_TRUE(pElapsed->text().startsWith("Verstrichene Zeit: "));
    ASSERT_TRUE(Translator_SetLanguage("en"));
}

TEST(ProgressDialog, ItsTextsAreWordedInEveryLanguage)
{
    for (const QString& strLanguage : Translator_AvailableLanguages()) {
        ASSERT_TRUE(Translator_SetLanguage(strLanguage));
        const ProgressDialog dialog("Processing...");
        const bool bEnglish = strLanguage == "en";
        EXPECT_EQ(dialog.windowTitle() == "Please wait", bEnglish);
        EXPECT_EQ(dialog.findChild<QLabel*>("label_text")->text() == "Processing...", bEnglish);
        const QString strElapsed = dialog.findChild<QLabel*>("label_elapsed")->text();
        EXPECT_EQ(strElapsed.startsWith("Elapsed time: "), bEnglish);
        EXPECT_TRUE(strElapsed.contains(":0") && !strElapsed.contains('%')) << qPrintable(strElapsed);
    }
    ASSERT_TRUE(Translator_SetLanguage("en"));
}

TEST(ProgressDialog, EndsOnlyByFinish)
{
    ProgressDialog dialog("Processing...");
    dialog.show();
    dialog.accept();
    dialog.reject();
    dialog.done(3);
    dialog.hide();
    EXPECT_FALSE(dialog.close());
    EXPECT_TRUE(dialog.isVisible());
    EXPECT_FALSE(dialog.IsFinished());
    dialog.Finish();
    QCoreApplication::processEvents();
    EXPECT_FALSE(dialog.isVisible());
    EXPECT_TRUE(dialog.IsFinished());
}
