#include "FusionFixture.h"

namespace
{

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

class FusionFit : public FusionFixture
{
protected:
    void Arm()
    {
        OpenAndShoot();
        Click("setRoiRect");
    }
    void ExpectSplicingFailedBox()
    {
        ASSERT_EQ(m_answers.Notices().size(), 1u);
        const ModalAnswers::Notice& notice = m_answers.Notices()[0];
        EXPECT_EQ(notice.strTitle, "Splicing failed");
        EXPECT_EQ(notice.strText, SPLICING_FAILED);
        EXPECT_EQ(notice.icon, QMessageBox::Information);
        EXPECT_EQ(notice.buttons, QStringList{"OK"});
        EXPECT_EQ(notice.pParent, nullptr);
        EXPECT_TRUE(notice.flags & Qt::MSWindowsFixedSizeDialogHint);
    }
    /// Refused for this reason, and armed for the next drawing.
    void ExpectRefused(const char* pProblem)
    {
        ExpectSplicingFailedBox();
        EXPECT_TRUE(Logged(3, pProblem));
        EXPECT_THAT(Doubles::The().matchings, IsEmpty());
        EXPECT_FALSE(IsEnabled("setRoiRect"));
        EXPECT_FALSE(IsEnabled("confirm"));
        DrawRect(150, 60, 250, 160);
        EXPECT_EQ(Doubles::The().matchings.size(), 1u) << "drawn again at once, without a button";
    }
    static void ExpectMatched(const cv::Rect& left, const cv::Rect& right)
    {
        ASSERT_EQ(Doubles::The().matchings.size(), 1u);
        EXPECT_EQ(Doubles::The().matchings[0].leftRoi, left);
        EXPECT_EQ(Doubles::The().matchings[0].rightRoi, right);
    }
};

} // namespace

TEST_F(FusionFit, DrawingBeginsWithTheButton)
{
    OpenAndShoot();
    Draw({50, 60}, {349, 159});
    EXPECT_THAT(Doubles::The().matchings, IsEmpty());
    Click("setRoiRect");
    EXPECT_TRUE(Logged(0, "pushButton_setRoiRect was clicked."));
    EXPECT_FALSE(IsEnabled("setRoiRect"));
    Draw({50, 60}, {349, 159});
    EXPECT_EQ(Doubles::The().matchings.size(), 1u);
}

TEST_F(FusionFit, PassesBothPicturesAndHalvesOfTheRectangleToTheModule)
{
    Arm();
    Doubles::The().journal.clear();
    DrawRect(50, 60, 350, 160);
    ExpectMatched(cv::Rect(50, 60, 150, 100), cv::Rect(0, 60, 150, 100));
    const Doubles::Matching& matching = Doubles::The().matchings[0];
    EXPECT_EQ(cv::norm(matching.left, m_leftPicture, cv::NORM_INF), 0.0) << "not turned";
    EXPECT_EQ(cv::norm(matching.right, m_rightPicture, cv::NORM_INF), 0.0);
    EXPECT_EQ(matching.dA, 0.800000011920929);
    EXPECT_EQ(matching.dB, 0.800000011920929);
    EXPECT_EQ(matching.dRatio, 0.699999988079071);
    EXPECT_EQ(matching.nPoints, 0u);
    EXPECT_THAT(Doubles::The().journal, ElementsAre("ImageDirFlags(0,0,0)", "CalibrationMatchPointsForDualCam()",
                                                    "CreateMatchesImage(4,4)", "CreateHomography()"));
    ASSERT_EQ(Doubles::The().fits.size(), 1u);
    const Doubles::Fit& fit = Doubles::The().fits[0];
    EXPECT_EQ(fit.source, Doubles::The().matchedFirst);
    EXPECT_EQ(fit.target, Doubles::The().matchedSecond);
    EXPECT_EQ(fit.dError, -1.0);
    EXPECT_EQ(fit.dThreshold, 3.0);
    EXPECT_EQ(fit.nIterations, 2000);
    EXPECT_EQ(fit.dConfidence, 0.995);
}

TEST_F(FusionFit, AFitShowsItsMatchesAndOpensTheWayOn)
{
    Arm();
    DrawRect(50, 60, 350, 160);
    EXPECT_EQ(Shown().pixelColor(200, 150), QColor(255, 0, 0));
    EXPECT_EQ(Label().GetImageSize(), QSize(400, 300));
    EXPECT_TRUE(IsEnabled("confirm"));
    EXPECT_TRUE(IsEnabled("setRoiRect"));
    EXPECT_EQ(Progress("FUSIONSUCCESS"), "1");
    EXPECT_EQ(Progress("PROGRESS"), "2");
    EXPECT_EQ(Child<QLabel>(*m_pPage, "label_fusionHint").text(), "Complete splicing");
    EXPECT_TRUE(Child<QLabel>(*m_pPage, "label_fusionHint").isHidden()) << "nothing shows it";
    EXPECT_THAT(m_answers.Notices(), IsEmpty());
    EXPECT_FALSE(IsEnabled("snap")) << "it still counts";
}

TEST_F(FusionFit, AnswersOfTheModuleAreNotLookedAtButTheHomographyIs)
{
    for (const char* const pOperation : {"CalibrationMatchPointsForDualCam", "CreateMatchesImage"}) {
        Doubles::The().answers[pOperation] = false;
    }
    Arm();
    DrawRect(50, 60, 350, 160);
    EXPECT_TRUE(IsEnabled("confirm"));
}

TEST_F(FusionFit, OnlyTheHomographyTellsASuccess)
{
    Doubles::The().bFitAnswersContrary = true;
    Arm();
    DrawRect(50, 60, 350, 160);
    EXPECT_TRUE(IsEnabled("confirm")) << "there is one, though the module answered false";
    Click("setRoiRect");
    Doubles::The().answers["CreateHomography"] = false;
    DrawRect(50, 60, 350, 160);
    ExpectSplicingFailedBox();
}

TEST_F(FusionFit, WithoutAPictureOfTheMatchesTheOneBeforeStays)
{
    Doubles::The().matchesPicture = cv::Mat();
    Arm();
    const QImage before = Shown();
    DrawRect(50, 60, 350, 160);
    EXPECT_EQ(Shown(), before);
    EXPECT_TRUE(IsEnabled("confirm"));
}

TEST_F(FusionFit, AFailedFitChangesNothingOfASuccessBeforeIt)
{
    OpenAndFit();
    Click("setRoiRect");
    Doubles::The().answers["CreateHomography"] = false;
    DrawRect(50, 60, 350, 160);
    ExpectSplicingFailedBox();
    EXPECT_TRUE(IsEnabled("confirm"));
    EXPECT_FALSE(IsEnabled("setRoiRect"));
    EXPECT_EQ(Progress("FUSIONSUCCESS"), "1");
}

TEST_F(FusionFit, WhatItSaysIsWorded)
{
    Doubles::The().wordings = {{"Splicing failed", "Misslungen"},
                               {SPLICING_FAILED, "Zu wenig"},
                               {"OK", "Gut"},
                               {"Complete splicing", "Fertig"}};
    Arm();
    DrawRect(50, 60, SEAM, 160);
    ASSERT_EQ(m_answers.Notices().size(), 1u);
    EXPECT_EQ(m_answers.Notices()[0].strTitle, "Misslungen");
    EXPECT_EQ(m_answers.Notices()[0].strText, "Zu wenig");
    EXPECT_EQ(m_answers.Notices()[0].buttons, QStringList{"Gut"});
    DrawRect(50, 60, 350, 160);
    EXPECT_EQ(Child<QLabel>(*m_pPage, "label_fusionHint").text(), "Fertig");
}

TEST_F(FusionFit, ARefusalIsLoggedAndArmedBeforeItsBoxStands)
{
    Arm();
    bool bLogged = false;
    bool bArmed = false;
    m_answers.OnBox([&](QMessageBox&) {
        bLogged = Logged(3, "[Fusion]The left roi is empty!");
        Painted::Press(Label(), {70, 80});
        bArmed = Label().GetRoiRect().topLeft() == QPoint(70, 80);
    });
    DrawRect(50, 60, SEAM, 160);
    EXPECT_TRUE(bLogged);
    EXPECT_TRUE(bArmed);
}

TEST_F(FusionFit, TheRegionMayBeDrawnAgainAfterAFit)
{
    OpenAndFit();
    Click("setRoiRect");
    DrawRect(100, 20, 300, 280);
    ASSERT_EQ(Doubles::The().matchings.size(), 2u);
    EXPECT_EQ(Doubles::The().matchings[1].leftRoi, cv::Rect(100, 20, 100, 260));
    EXPECT_TRUE(IsEnabled("confirm"));
}

TEST_F(FusionFit, TooFewMatchesAreToldAndTheRegionWaitsForTheNextPhoto)
{
    Arm();
    Doubles::The().answers["CreateHomography"] = false;
    const QImage before = Shown();
    Doubles::The().logLines.clear();
    DrawRect(50, 60, 350, 160);
    ExpectSplicingFailedBox();
    EXPECT_THAT(Doubles::The().logLines, IsEmpty());
    EXPECT_EQ(Shown(), before);
    EXPECT_FALSE(IsEnabled("setRoiRect"));
    EXPECT_FALSE(IsEnabled("confirm"));
    EXPECT_EQ(Progress("FUSIONSUCCESS"), "0");
    Draw({50, 60}, {349, 159});
    EXPECT_EQ(Doubles::The().matchings.size(), 1u) << "not armed";
    EndCountdown(*m_pPage);
    Click("snap");
    EXPECT_TRUE(IsEnabled("setRoiRect"));
}

TEST_F(FusionFit, ANewPhotoKeepsTheSuccessOfTheOneBefore)
{
    OpenAndFit();
    EndCountdown(*m_pPage);
    Click("snap");
    EXPECT_TRUE(IsEnabled("confirm"));
    EXPECT_EQ(Progress("FUSIONSUCCESS"), "1");
    Click("confirm");
    EXPECT_THAT(Doubles::The().journal, Contains("SaveHomography(Output/mapImgR2L.xml 1)"));
}

TEST_F(FusionFit, AModuleThatThrowsCountsAsTooFewMatches)
{
    OpenAndFit();
    Click("setRoiRect");
    Doubles::The().throwFrom["CalibrationMatchPointsForDualCam"] = "no memory";
    DrawRect(50, 60, 350, 160);
    ExpectSplicingFailedBox();
    EXPECT_THAT(Doubles::The().logLines,
                Contains(testing::Pair(3, testing::HasSubstr("FusionWdg::DrawRoiEndingSlot"))));
    Click("confirm");
    EXPECT_EQ(m_answers.Notices().size(), 2u) << "the homography of the fit before is gone";
}

TEST_F(FusionFit, AFitEnablesThePageItself)
{
    Arm();
    DrawRect(50, 60, 350, 160);
    m_pPage->setEnabled(false);
    QMetaObject::invokeMethod(m_pPage.get(), "DrawRoiEndingSlot", Qt::DirectConnection);
    EXPECT_TRUE(m_pPage->isEnabled());
}

TEST_F(FusionFit, ThePicturesAreThePagesOwn)
{
    Arm();
    const cv::Mat left = m_leftPicture.clone();
    // A camera may fill the same memory again.
    m_leftPicture.setTo(cv::Scalar::all(255));
    m_rightPicture.setTo(cv::Scalar::all(255));
    DrawRect(50, 60, 350, 160);
    EXPECT_EQ(cv::norm(Doubles::The().matchings[0].left, left, cv::NORM_INF), 0.0);
    EXPECT_NE(cv::norm(Doubles::The().matchings[0].right, m_rightPicture, cv::NORM_INF), 0.0);
}

// ---- Rectangles that are no region ----

TEST_F(FusionFit, ARightEdgeOnTheSeamIsRefused)
{
    Arm();
    DrawRect(50, 60, SEAM, 160);
    ExpectRefused("[Fusion]The left roi is empty!");
}

TEST_F(FusionFit, ALeftEdgeOnTheSeamIsRefused)
{
    Arm();
    DrawRect(SEAM, 60, 350, 160);
    ExpectRefused("[Fusion]The right roi is empty!");
}

TEST_F(FusionFit, OnePixelOverTheSeamIsEnough)
{
    Arm();
    DrawRect(SEAM - 1, 60, SEAM + 1, 160);
    ExpectMatched(cv::Rect(SEAM - 1, 60, 1, 100), cv::Rect(0, 60, 1, 100));
}

TEST_F(FusionFit, AClickWithoutADragIsRefused)
{
    Arm();
    Painted::Press(Label(), {100, 100}, Qt::RightButton);
    Painted::Release(Label(), {100, 100}, Qt::RightButton);
    ExpectRefused("[Fusion]The left roi is empty!");
}

TEST_F(FusionFit, OneThatWasDrawnToTheLeftIsRefused)
{
    Arm();
    Draw({349, 60}, {50, 159});
    ExpectRefused("[Fusion]The left roi is empty!");
}

TEST_F(FusionFit, OneThatEndsBelowThePictureIsCutInBothHalves)
{
    Arm();
    DrawRect(50, 60, 350, 500);
    ExpectMatched(cv::Rect(50, 60, 150, 240), cv::Rect(0, 60, 150, 240));
}

TEST_F(FusionFit, OneThatEndsRightOfThePictureIsNotCut)
{
    Arm();
    DrawRect(50, 60, 700, 160);
    ExpectMatched(cv::Rect(50, 60, 150, 100), cv::Rect(0, 60, 500, 100));
}

TEST_F(FusionFit, ARefusalShutsTheStartButtonSinceDrawingHasStarted)
{
    OpenAndShoot();
    ASSERT_TRUE(IsEnabled("setRoiRect"));
    QMetaObject::invokeMethod(m_pPage.get(), "DrawRoiEndingSlot", Qt::DirectConnection);
    ExpectRefused("[Fusion]The left roi is empty!");
}

TEST_F(FusionFit, WithoutPicturesTheRegionIsRefused)
{
    Open();
    QMetaObject::invokeMethod(m_pPage.get(), "DrawRoiEndingSlot", Qt::DirectConnection);
    ExpectSplicingFailedBox();
    EXPECT_TRUE(Logged(3, "[Fusion]The left or right image is empty!"));
    EXPECT_FALSE(IsEnabled("setRoiRect"));
    Draw({50, 60}, {349, 159});
    EXPECT_EQ(m_answers.Notices().size(), 2u) << "armed";
}

TEST_F(FusionFit, ThePageMayGoWhileTheBoxStands)
{
    Arm();
    Doubles::The().answers["CreateHomography"] = false;
    m_answers.OnBox([this](QMessageBox&) { m_pPage.release()->deleteLater(); });
    DrawRect(50, 60, 350, 160);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(m_answers.Notices().size(), 1u);
}
