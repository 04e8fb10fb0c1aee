#include "WizardRun.h"

#include "DataRoot.h"
#include "Failure.h"
#include "ModalAnswers.h"

#include <gmock/gmock.h>

#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

namespace
{

using namespace Workbench;

class Run : public testing::Test
{
protected:
    void SetUp() override
    {
        InstanceSetup setup;
        setup.cameras = {"[0] Camera-Left", "[1] Camera-Right"};
        setup.strResources = "somewhere";
        m_pRun = std::make_unique<WizardRun>(setup, nullptr, CTC_SMALL_PLUGIN);
    }
    void Press(const char* pName) const
    {
        QTest::mouseClick(m_pRun->Window()->findChild<QPushButton*>(pName), Qt::LeftButton);
    }

    ::DataRoot m_data;
    ModalAnswers m_answers;
    std::unique_ptr<WizardRun> m_pRun;
};

TEST_F(Run, OpensTheWizardOfItsName)
{
    ASSERT_TRUE(m_pRun->Open(Opening::Calibration));
    ASSERT_NE(m_pRun->Window(), nullptr);
    EXPECT_EQ(m_pRun->Window()->objectName(), "calibration");
    ASSERT_TRUE(m_pRun->Open(Opening::Coordinate));
    EXPECT_EQ(m_pRun->Window()->objectName(), "coordinate");
}

TEST_F(Run, APlugInThatShowsNothingIsNoticed)
{
    EXPECT_FALSE(m_pRun->Open(Opening::Fusion));
    EXPECT_EQ(m_pRun->Window(), nullptr);
}

TEST_F(Run, ARunToTheEndIsFinished)
{
    QSignalSpy ended(m_pRun.get(), &WizardRun::EndedSignal);
    m_pRun->Open(Opening::Calibration);
    Press("pushButton_confirm");
    EXPECT_EQ(ended.count(), 0) << "never inside of the wizard's own code";
    ASSERT_TRUE(ended.wait(20'000));
    EXPECT_TRUE(ended[0][0].toBool());
}

TEST_F(Run, ARunThatIsLeftAfterTheQuestionIsCancelled)
{
    QSignalSpy ended(m_pRun.get(), &WizardRun::EndedSignal);
    m_pRun->Open(Opening::Calibration);
    m_answers.Press("Yes");
    Press("pushButton_cancel");
    ASSERT_TRUE(ended.wait(20'000));
    EXPECT_FALSE(ended[0][0].toBool());
}

TEST_F(Run, WhoStaysAfterTheQuestionMayStillFinish)
{
    QSignalSpy ended(m_pRun.get(), &WizardRun::EndedSignal);
    m_pRun->Open(Opening::Calibration);
    m_answers.Press("Cancel");
    Press("pushButton_cancel");
    EXPECT_TRUE(m_pRun->Window()->isVisible());
    Press("pushButton_confirm");
    ASSERT_TRUE(ended.wait(20'000));
    EXPECT_TRUE(ended[0][0].toBool());
}

TEST_F(Run, TheWizardsWindowGoesWithTheRun)
{
    QSignalSpy ended(m_pRun.get(), &WizardRun::EndedSignal);
    m_pRun->Open(Opening::Calibration);
    const QPointer<QWidget> pWindow = m_pRun->Window();
    Press("pushButton_confirm");
    ASSERT_TRUE(ended.wait(20'000));
    EXPECT_FALSE(pWindow.isNull()) << "hidden, until the run is deleted";
    m_pRun.reset();
    EXPECT_TRUE(pWindow.isNull());
}

TEST_F(Run, ClosingIsToldOnce)
{
    QSignalSpy ended(m_pRun.get(), &WizardRun::EndedSignal);
    m_pRun->CloseWizardSlot();
    m_pRun->CloseWizardSlot();
    ASSERT_TRUE(ended.wait(20'000));
    QTest::qWait(10);
    EXPECT_EQ(ended.count(), 1);
}

TEST_F(Run, APlugInThatIsNotThereIsToldInOneSentence)
{
    EXPECT_THROW(WizardRun(InstanceSetup(), nullptr, "/nowhere/libNone.so"), Failure);
}

} // namespace
