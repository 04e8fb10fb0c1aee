#include "CMsgBoxQss.h"

#include "ModalAnswers.h"
#include "ModuleDoubles.h"
#include "RecordingStyle.h"

#include <gmock/gmock.h>

#include <QApplication>
#include <QPushButton>

namespace
{

using testing::ElementsAre;

constexpr int QUESTION = 4;

QMessageBox::StandardButtons AllNamed()
{
    return QMessageBox::No | QMessageBox::Cancel | QMessageBox::Ok | QMessageBox::Yes | QMessageBox::Retry;
}

} // namespace

TEST(MessageBox, NamesItsButtonsAndWordsThem)
{
    const CMsgBoxQss box(QUESTION, "Tips", "Sure?", AllNamed(), nullptr);
    const struct {
        QMessageBox::StandardButton value;
        const char* pText;
        const char* pName;
    } rows[] = {
        {QMessageBox::No, "No", "messageBox_noButton"},
        {QMessageBox::Cancel, "Cancel", "messageBox_cancelButton"},
        {QMessageBox::Ok, "OK", "messageBox_okButton"},
        {QMessageBox::Yes, "Yes", "messageBox_yesButton"},
        {QMessageBox::Retry, "Retry", "messageBox_retryButton"},
    };
    for (const auto& row : rows) {
        const QAbstractButton* const pButton = box.button(row.value);
        ASSERT_TRUE(pButton) << row.pName;
        EXPECT_EQ(pButton->text(), row.pText);
        EXPECT_EQ(pButton->objectName(), row.pName);
    }
}

TEST(MessageBox, WordsComeFromTheTranslator)
{
    Doubles::Reset();
    Doubles::The().wordings = {
        {"No", "~No"}, {"Cancel", "~Cancel"}, {"OK", "~OK"}, {"Yes", "~Yes"}, {"Retry", "~Retry"}};
    const CMsgBoxQss box(QUESTION, "Tips", "Sure?", AllNamed(), nullptr);
    const std::pair<QMessageBox::StandardButton, const char*> texts[] = {{QMessageBox::No, "~No"},
                                                                         {QMessageBox::Cancel, "~Cancel"},
                                                                         {QMessageBox::Ok, "~OK"},
                                                                         {QMessageBox::Yes, "~Yes"},
                                                                         {QMessageBox::Retry, "~Retry"}};
    for (const auto& [button, pText] : texts) {
        EXPECT_EQ(box.button(button)->text(), pText);
    }
    Doubles::Reset();
}

TEST(MessageBox, BearsItsOwnNameTitleTextIconFlagsAndParent)
{
    QWidget parent;
    const CMsgBoxQss box(QUESTION, "Tips", "Sure?", QMessageBox::Yes | QMessageBox::Cancel, &parent);
    EXPECT_EQ(box.objectName(), "CMsgBoxQss");
    EXPECT_EQ(box.windowTitle(), "Tips");
    EXPECT_EQ(box.text(), "Sure?");
    EXPECT_EQ(box.icon(), QMessageBox::Question);
    EXPECT_EQ(box.parentWidget(), &parent);
    EXPECT_TRUE(box.windowFlags().testFlag(Qt::MSWindowsFixedSizeDialogHint));
    EXPECT_EQ(box.windowType(), Qt::Dialog);
    EXPECT_EQ(box.buttons().size(), 2);
}

TEST(MessageBox, TakesEachIconByItsNumberAndNoneForOthers)
{
    for (int nIcon = 0; nIcon <= 4; ++nIcon) {
        EXPECT_EQ(CMsgBoxQss(nIcon, "", "", QMessageBox::Ok, nullptr).icon(), nIcon);
    }
    for (const int nIcon : {-1, 5, 8, 1000000}) {
        EXPECT_EQ(CMsgBoxQss(nIcon, "", "", QMessageBox::Ok, nullptr).icon(), QMessageBox::NoIcon) << nIcon;
    }
}

TEST(MessageBox, ButtonsOutsideItsTableKeepTheToolkitsTextAndHaveNoName)
{
    const CMsgBoxQss box(QUESTION, "Tips", "Sure?", QMessageBox::Abort | QMessageBox::Yes, nullptr);
    const QMessageBox plain(QMessageBox::Question, "Tips", "Sure?", QMessageBox::Abort);
    EXPECT_EQ(box.button(QMessageBox::Abort)->text(), plain.button(QMessageBox::Abort)->text());
    EXPECT_EQ(box.button(QMessageBox::Abort)->objectName(), "");
    EXPECT_EQ(box.button(QMessageBox::Yes)->objectName(), "messageBox_yesButton");
}

TEST(MessageBox, ButtonsThatWereNotAskedForDoNotAppear)
{
    const CMsgBoxQss box(QUESTION, "Tips", "Sure?", QMessageBox::Yes | QMessageBox::Cancel, nullptr);
    EXPECT_FALSE(box.button(QMessageBox::No));
    EXPECT_FALSE(box.button(QMessageBox::Ok));
    EXPECT_FALSE(box.button(QMessageBox::Retry));
    // Without any the toolkit adds its own, which stays as it made it.
    CMsgBoxQss none(QUESTION, "Tips", "Sure?", QMessageBox::NoButton, nullptr);
    none.ensurePolished();
    for (const QAbstractButton* const pButton : none.buttons()) {
        EXPECT_EQ(pButton->objectName(), "");
    }
}

TEST(MessageBox, ARuleOnAButtonsNameAppliesBeforeTheBoxIsShown)
{
    qApp->setStyleSheet("QPushButton#messageBox_yesButton { min-width: 217px; }");
    {
        const CMsgBoxQss box(QUESTION, "Tips", "Sure?", QMessageBox::Yes | QMessageBox::Cancel, nullptr);
        EXPECT_GE(box.button(QMessageBox::Yes)->minimumWidth(), 217);
        EXPECT_LT(box.button(QMessageBox::Cancel)->minimumWidth(), 217);
        EXPECT_FALSE(box.isVisible());
    }
    qApp->setStyleSheet("");
}

TEST(MessageBox, EachButtonIsPolishedAfreshOnceItHasItsName)
{
    const RecordingStyle::Installed installed;
    const CMsgBoxQss box(QUESTION, "Tips", "Sure?", QMessageBox::No | QMessageBox::Retry, nullptr);
    EXPECT_THAT(installed->NamedSteps("messageBox_"),
                ElementsAre("unpolish messageBox_noButton", "polish messageBox_noButton",
                            "unpolish messageBox_retryButton", "polish messageBox_retryButton"));
}

TEST(MessageBox, AnswersTheValueOfThePressedButton)
{
    ModalAnswers answers;
    for (const auto& [strButton, nValue] :
         {std::pair<QString, int>{"Yes", 16384}, {"Cancel", 4194304}, {"No", 65536}, {"OK", 1024}, {"Retry", 524288}}) {
        answers.Press(strButton);
        CMsgBoxQss box(QUESTION, "Tips", "Sure?", AllNamed(), nullptr);
        EXPECT_EQ(box.exec(), nValue);
    }
    ASSERT_EQ(answers.Notices().size(), 5u);
    EXPECT_EQ(answers.Notices()[0].icon, QMessageBox::Question);
}
