#include "LogPane.h"

#include "Log.h"
#include "Texts.h"

#include <gmock/gmock.h>

#include <QComboBox>
#include <QTest>

#include <thread>

namespace
{

using namespace Workbench;

class Pane : public testing::Test
{
protected:
    QStringList WaitForLines(const LogPane& pane, int nAtLeast)
    {
        EXPECT_TRUE(QTest::qWaitFor([&] { return Lines(pane).size() >= nAtLeast; }, 20'000));
        return Lines(pane);
    }
    static QStringList Lines(const LogPane& pane) { return pane.Text().split('\n', Qt::SkipEmptyParts); }
};

TEST_F(Pane, ShowsTheLinesOfTheLogFromAnyThread)
{
    LogPane pane;
    ILog_WriteLog(1, "from the window");
    std::thread([] { ILog_WriteLog(2, "from a worker"); }).join();
    const QStringList listLines = WaitForLines(pane, 2);
    EXPECT_TRUE(listLines[0].endsWith("from the window"));
    EXPECT_TRUE(listLines[1].endsWith("from a worker"));
}

TEST_F(Pane, AnotherChoiceShowsEarlierLinesToo)
{
    LogPane pane;
    ILog_WriteLog(0, "pressed");
    ILog_WriteLog(1, "done");
    ILog_WriteLog(3, "failed");
    EXPECT_EQ(WaitForLines(pane, 2).size(), 2) << "button presses are left out at first";
    auto* const pLevel = pane.findChild<QComboBox*>("comboBox_logLevel");
    pLevel->setCurrentIndex(0);
    EXPECT_EQ(Lines(pane).size(), 3);
    pLevel->setCurrentIndex(2);
    ASSERT_EQ(Lines(pane).size(), 1);
    EXPECT_TRUE(Lines(pane)[0].endsWith("failed"));
}

TEST_F(Pane, AFloodOfLinesIsBounded)
{
    LogPane pane;
    for (int i = 0; i < 5000; ++i) {
        pane.Take(1, QString::number(i));
    }
    const QStringList listLines = WaitForLines(pane, 2000);
    EXPECT_EQ(listLines.size(), 2000);
    EXPECT_EQ(listLines.last(), "4999");
}

TEST_F(Pane, ALogThatIsWrittenAfterThePaneHasGoneIsNobodys)
{
    {
        const LogPane pane;
    }
    ILog_WriteLog(1, "nobody listens");
    LogPane pane;
    EXPECT_TRUE(pane.Text().isEmpty());
}

TEST_F(Pane, SpeaksTheOperatorsLanguage)
{
    const LogPane pane;
    const auto* const pLevel = pane.findChild<QComboBox*>("comboBox_logLevel");
    const QString strEnglish = pLevel->itemText(2);
    ASSERT_TRUE(SwitchLanguage("de"));
    QCoreApplication::processEvents(); // windows are told by a posted event
    EXPECT_NE(pLevel->itemText(2), strEnglish);
    ASSERT_TRUE(SwitchLanguage("en"));
    QCoreApplication::processEvents();
    EXPECT_EQ(pLevel->itemText(2), strEnglish);
}

} // namespace
