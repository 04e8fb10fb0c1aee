#include "Notice.h"

#include "ModalAnswers.h"
#include "ModuleDoubles.h"

#include <gmock/gmock.h>

namespace
{

class Notice : public testing::Test
{
protected:
    void SetUp() override { Doubles::Reset(); }

    ModalAnswers m_answers;
};

TEST_F(Notice, IsAModalInformationWithOneOkButtonAndNoParent)
{
    bool bModal = false;
    m_answers.OnBox([&](QMessageBox& box) { bModal = box.isModal(); });

    EXPECT_EQ(ShowNotice("Picture taken."), QMessageBox::Ok);

    ASSERT_EQ(m_answers.Notices().size(), 1u);
    const ModalAnswers::Notice& notice = m_answers.Notices()[0];
    EXPECT_EQ(notice.strTitle, "Tips");
    EXPECT_EQ(notice.strText, "Picture taken.");
    EXPECT_EQ(notice.icon, QMessageBox::Information);
    EXPECT_EQ(notice.buttons, QStringList{"OK"});
    EXPECT_EQ(notice.pParent, nullptr);
    EXPECT_TRUE(bModal);
    EXPECT_EQ(notice.flags & Qt::WindowType_Mask, Qt::Dialog);
    EXPECT_TRUE(notice.flags & Qt::MSWindowsFixedSizeDialogHint);
}

TEST_F(Notice, TextTitleAndButtonAreWorded)
{
    Doubles::The().wordings = {{"Picture taken.", "Bild aufgenommen."}, {"Result", "Ergebnis"}, {"OK", "Gut"}};

    ShowNotice("Picture taken.", "Result");

    ASSERT_EQ(m_answers.Notices().size(), 1u);
    EXPECT_EQ(m_answers.Notices()[0].strTitle, "Ergebnis");
    EXPECT_EQ(m_answers.Notices()[0].strText, "Bild aufgenommen.");
    EXPECT_EQ(m_answers.Notices()[0].buttons, QStringList{"Gut"});
}

TEST_F(Notice, ATextThatIsWordedAlreadyIsNotWordedTwice)
{
    Doubles::The().wordings = {{"3 marks", "wrong"}};

    ShowNoticeText("3 marks", "Tips", QMessageBox::Critical);

    ASSERT_EQ(m_answers.Notices().size(), 1u);
    EXPECT_EQ(m_answers.Notices()[0].strText, "3 marks");
    EXPECT_EQ(m_answers.Notices()[0].icon, QMessageBox::Critical);
}

TEST_F(Notice, AWarningStandsOverItsPageWithQtsOwnButton)
{
    Doubles::The().wordings = {{"No picture.", "Kein Bild."}, {"Tips", "Hinweis"}, {"OK", "Gut"}};
    QWidget page;

    ShowWarning(&page, "No picture.");

    ASSERT_EQ(m_answers.Notices().size(), 1u);
    const ModalAnswers::Notice& notice = m_answers.Notices()[0];
    EXPECT_EQ(notice.strTitle, "Hinweis");
    EXPECT_EQ(notice.strText, "Kein Bild.");
    EXPECT_EQ(notice.icon, QMessageBox::Warning);
    EXPECT_EQ(notice.buttons, QStringList{"OK"});
    EXPECT_EQ(notice.pParent, &page);
}

TEST_F(Notice, APageMayBeDeletedUnderItsWarning)
{
    auto* const pPage = new QWidget;
    m_answers.OnBox([&](QMessageBox&) { delete pPage; });

    ShowWarning(pPage, "No picture.");

    EXPECT_EQ(m_answers.Notices().size(), 1u);
}

} // namespace
