// The single calls, without a loop and without a camera.

#include "CameraWorkerFixture.h"

#include <opencv2/core.hpp>

#include <QElapsedTimer>
#include <QMetaMethod>

#include <array>
#include <cstring>

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

/// 255 bytes, as callers have them.
struct NameBuffer {
    explicit NameBuffer(const std::string& strName) { std::strncpy(szName.data(), strName.c_str(), 254); }
    std::array<char, 255> szName{};
};

// ---- Finding ----

TEST_F(CameraWorkerCalls, FindWritesTheDevicesOwnString)
{
    m_pCamera->SetList({"[0] Camera-Right", "[1] Camera-Left"});
    NameBuffer name("Camera-Left");

    EXPECT_TRUE(m_pWorker->FindCamera(name.szName.data()));

    EXPECT_STREQ(name.szName.data(), "[1] Camera-Left");
}

TEST_F(CameraWorkerCalls, FindIgnoresThePrefixOfTheWantedNameAsWell)
{
    m_pCamera->SetList({"[0] Camera-Left"});
    NameBuffer name("[7] Camera-Left");

    EXPECT_TRUE(m_pWorker->FindCamera(name.szName.data()));

    EXPECT_STREQ(name.szName.data(), "[0] Camera-Left");
}

TEST_F(CameraWorkerCalls, FindTakesTheFirstOfEqualNames)
{
    m_pCamera->SetList({"[4] Camera-Left", "Camera-Left"});
    NameBuffer name("Camera-Left");

    EXPECT_TRUE(m_pWorker->FindCamera(name.szName.data()));

    EXPECT_STREQ(name.szName.data(), "[4] Camera-Left");
}

TEST_F(CameraWorkerCalls, FindIsExactAndCaseSensitiveAndLeavesTheBufferAlone)
{
    m_pCamera->SetList({"[0] Camera-Left2", "[1] Camera-left", "[2] A Camera-Lef"});
    NameBuffer name("Camera-Left");

    EXPECT_FALSE(m_pWorker->FindCamera(name.szName.data()));

    EXPECT_STREQ(name.szName.data(), "Camera-Left");
}

TEST_F(CameraWorkerCalls, FindThrowsForAWantedNameWithoutAC)
{
    m_pCamera->SetList({"[0] Camera-Left"});
    for (const char* pName : {"", "None", "camera-left", "[0] "}) {
        NameBuffer name(pName);
        EXPECT_THROW(m_pWorker->FindCamera(name.szName.data()), std::out_of_range) << pName;
        EXPECT_STREQ(name.szName.data(), pName);
    }
    EXPECT_EQ(m_pCamera->Count("GetCameraList"), 0);
}

TEST_F(CameraWorkerCalls, FindPassesOverListedNamesWithoutAC)
{
    m_pCamera->SetList({"", "[0] webcam", "[1] Camera-Left"});
    NameBuffer name("Camera-Left");

    EXPECT_TRUE(m_pWorker->FindCamera(name.szName.data()));

    EXPECT_STREQ(name.szName.data(), "[1] Camera-Left");
}

TEST_F(CameraWorkerCalls, FindWritesNoMoreThan254Bytes)
{
    const std::string strWanted = "C" + std::string(252, 'x');
    const std::string strListed = "[0] " + strWanted;
    m_pCamera->SetList({strListed});
    NameBuffer name(strWanted);

    EXPECT_TRUE(m_pWorker->FindCamera(name.szName.data()));

    EXPECT_EQ(std::string(name.szName.data()), strListed.substr(0, 254));
}

TEST_F(CameraWorkerCalls, FindKnowsNonAsciiNames)
{
    m_pCamera->SetList({"[0] Camera-\xe5\x8f\xb3", "[1] Camera-\xe5\xb7\xa6"});
    NameBuffer name("Camera-\xe5\xb7\xa6");

    EXPECT_TRUE(m_pWorker->FindCamera(name.szName.data()));

    EXPECT_STREQ(name.szName.data(), "[1] Camera-\xe5\xb7\xa6");
}

TEST_F(CameraWorkerCalls, FindInAnEmptyListFindsNothing)
{
    NameBuffer name("Camera-Left");

    EXPECT_FALSE(m_pWorker->FindCamera(name.szName.data()));
}

// ---- Single pictures ----

TEST_F(CameraWorkerCalls, SnapImageOpensSnapsAndCloses)
{
    EXPECT_EQ(m_pWorker->SnapImage("Camera-Left").size(), QSize(6, 4));

    EXPECT_THAT(m_pCamera->Commands(),
                ElementsAre("OpenCamera(Camera-Left)", "SnapPicture(null)", "CloseCamera(null)"));
}

TEST_F(CameraWorkerCalls, SnapImageTriesAlsoWhereOpeningFailedAndClosesAfterAFailure)
{
    m_pCamera->Answer("OpenCamera", 5);
    m_pCamera->Answer("SnapPicture", -1);

    EXPECT_TRUE(m_pWorker->SnapImage("Camera-Left").isNull());

    EXPECT_THAT(m_pCamera->Commands(),
                ElementsAre("OpenCamera(Camera-Left)", "SnapPicture(null)", "CloseCamera(null)"));
}

TEST_F(CameraWorkerCalls, SnapImageFailsForMinusOneOnly)
{
    m_pCamera->SetFailingPicture(cv::Mat(2, 2, CV_8UC1, cv::Scalar(7)));
    m_pCamera->Answer("SnapPicture", 3);

    EXPECT_EQ(m_pWorker->SnapImage("Camera-Left").size(), QSize(2, 2));
}

TEST_F(CameraWorkerCalls, SnapPictureFailsForMinusOneOnly)
{
    cv::Mat picture;
    EXPECT_TRUE(m_pWorker->SnapPicture(picture));
    EXPECT_EQ(picture.size(), cv::Size(6, 4));
    m_pCamera->AnswerNext("SnapPicture", {1, -1});
    EXPECT_TRUE(m_pWorker->SnapPicture(picture));
    EXPECT_FALSE(m_pWorker->SnapPicture(picture));
    EXPECT_EQ(m_pCamera->Commands(), std::vector<std::string>(3, "SnapPicture(null)"));
}

TEST_F(CameraWorkerCalls, SnapOnePicOpensAClosedCameraAndLeavesItOpen)
{
    EXPECT_EQ(m_pWorker->SnapOnePic("Camera-Left", false, 120, 1000).size(), cv::Size(6, 4));

    EXPECT_THAT(m_pCamera->Calls(), ElementsAre("IsCameraOpen(Camera-Left)", "OpenCamera(Camera-Left)",
                                                "ApplyCameraParameters(Camera-Left, 120)", "SnapPicture(null)"));
}

TEST_F(CameraWorkerCalls, SnapOnePicUsesAnOpenCameraAsItIs)
{
    m_pCamera->SetName("Camera-Left");

    EXPECT_FALSE(m_pWorker->SnapOnePic("Camera-Left", false, 120, 1000).empty());

    EXPECT_THAT(m_pCamera->Calls(), ElementsAre("IsCameraOpen(Camera-Left)", "SnapPicture(null)"));
}

TEST_F(CameraWorkerCalls, SnapOnePicOpensAnOpenCameraAfreshWhereItIsToCloseIt)
{
    m_pCamera->SetName("Camera-Left");

    EXPECT_FALSE(m_pWorker->SnapOnePic("Camera-Left", true, 120, 1000).empty());

    EXPECT_THAT(m_pCamera->Calls(),
                ElementsAre("IsCameraOpen(Camera-Left)", "CloseCamera(null)", "OpenCamera(Camera-Left)",
                            "ApplyCameraParameters(Camera-Left, 120)", "SnapPicture(null)", "CloseCamera(null)"));
}

TEST_F(CameraWorkerCalls, SnapOnePicOpensAClosedCameraAndClosesIt)
{
    EXPECT_FALSE(m_pWorker->SnapOnePic("Camera-Left", true, 120, 1000).empty());

    EXPECT_THAT(m_pCamera->Commands(), ElementsAre("OpenCamera(Camera-Left)", "ApplyCameraParameters(Camera-Left, 120)",
                                                   "SnapPicture(null)", "CloseCamera(null)"));
}

TEST_F(CameraWorkerCalls, SnapOnePicTriesAgainWith500AfterARest)
{
    m_pCamera->SetName("Camera-Left");
    m_pCamera->AnswerNext("SnapPicture", {-1, 2, 0});
    QElapsedTimer timer;
    timer.start();

    EXPECT_FALSE(m_pWorker->SnapOnePic("Camera-Left", false, 120, 600000).empty());

    // At least: a busy computer can only make it longer.
    EXPECT_GE(timer.elapsed(), 200) << "a tenth of a second before each further try";

    const std::string strApply = "ApplyCameraParameters(Camera-Left, 500)";
    EXPECT_THAT(m_pCamera->Commands(), ElementsAre("SnapPicture(null)", "CloseCamera(null)", "OpenCamera(Camera-Left)",
                                                   strApply, "SnapPicture(null)", "CloseCamera(null)",
                                                   "OpenCamera(Camera-Left)", strApply, "SnapPicture(null)"));
}

TEST_F(CameraWorkerCalls, SnapOnePicGivesUpEmptyWhenItsTimeIsOver)
{
    m_pCamera->Answer("SnapPicture", -1);
    m_pCamera->SetFailingPicture(cv::Mat(2, 2, CV_8UC1, cv::Scalar(7)));

    EXPECT_TRUE(m_pWorker->SnapOnePic("Camera-Left", true, 120, -1).empty());

    EXPECT_THAT(m_pCamera->Commands(), ElementsAre("OpenCamera(Camera-Left)", "ApplyCameraParameters(Camera-Left, 120)",
                                                   "SnapPicture(null)", "CloseCamera(null)"));
}

// ---- What merely forwards ----

TEST_F(CameraWorkerCalls, OpenTellsWhetherTheDeviceAnsweredZero)
{
    m_pCamera->AnswerNext("OpenCamera", {0, 1, -1});
    EXPECT_TRUE(m_pWorker->OpenCamera("Camera-Left"));
    EXPECT_FALSE(m_pWorker->OpenCamera("Camera-Left"));
    EXPECT_FALSE(m_pWorker->OpenCamera("Camera-Left"));
    EXPECT_EQ(m_pCamera->Calls(), std::vector<std::string>(3, "OpenCamera(Camera-Left)"));
}

TEST_F(CameraWorkerCalls, CloseClosesTheOpenCameraAndIsAlwaysTrue)
{
    m_pCamera->Answer("CloseCamera", -1);
    EXPECT_TRUE(m_pWorker->CloseCamera());
    EXPECT_THAT(m_pCamera->Calls(), ElementsAre("CloseCamera(null)"));
}

TEST_F(CameraWorkerCalls, NamesAndStatesAreTheDevices)
{
    m_pCamera->SetName("Camera-\xe5\xb7\xa6");
    m_pCamera->SetList({"[0] Camera-Left"});
    m_pCamera->AnswerNext("GetCameraList", {17});
    m_pCamera->AnswerNext("IsCameraAlive", {0, 1});
    std::vector<std::string> names;

    EXPECT_EQ(m_pWorker->GetCameraName(), QString::fromUtf8("Camera-\xe5\xb7\xa6"));
    EXPECT_EQ(m_pWorker->GetCameraList(names), 17);
    EXPECT_THAT(names, ElementsAre("[0] Camera-Left"));
    EXPECT_FALSE(m_pWorker->IsCameraAlive());
    EXPECT_TRUE(m_pWorker->IsCameraAlive());
    EXPECT_FALSE(m_pWorker->IsCameraOpen("Camera-Left"));
    EXPECT_TRUE(m_pWorker->IsCameraOpen("Camera-\xe5\xb7\xa6"));
}

TEST_F(CameraWorkerCalls, ParametersAreForwardedWithTheirAnswer)
{
    m_pCamera->AnswerNext("ApplyCameraParameters", {1, 0});
    EXPECT_TRUE(m_pWorker->ApplyCameraParameters("Camera-Left", 500));
    EXPECT_FALSE(m_pWorker->ApplyCameraParameters("Camera-Left", 7));
    EXPECT_THAT(m_pCamera->Calls(),
                ElementsAre("ApplyCameraParameters(Camera-Left, 500)", "ApplyCameraParameters(Camera-Left, 7)"));
}

TEST_F(CameraWorkerCalls, AnIntegerPropertyIsTrueWhateverTheDeviceAnswers)
{
    m_pCamera->AnswerNext("SetIntProperty", {0, -1});
    EXPECT_TRUE(m_pWorker->SetIntProperty("gain", 4));
    EXPECT_TRUE(m_pWorker->SetIntProperty("gain", 5));
    EXPECT_EQ(m_pCamera->Calls(), std::vector<std::string>(2, "SetIntProperty(gain)"));
    EXPECT_THAT(m_pCamera->Values(), ElementsAre(4, 5));
}

TEST_F(CameraWorkerCalls, ExposureIsModeThenValueAndStopsAtMinusOne)
{
    const int nMode = 1;
    const int nExposure = 80;
    EXPECT_TRUE(m_pWorker->SetExposure("autoExposure", &nMode, &nExposure));
    EXPECT_THAT(m_pCamera->Calls(), ElementsAre("SetExposureMode(autoExposure)", "SetExposureValue(exposure)"));
    EXPECT_THAT(m_pCamera->Values(), ElementsAre(1, 80));

    m_pCamera->AnswerNext("SetExposureMode", {-1, 1, 1});
    m_pCamera->AnswerNext("SetExposureValue", {-1, 2});
    m_pCamera->ForgetCalls();
    EXPECT_FALSE(m_pWorker->SetExposure("autoExposure", &nMode, &nExposure));
    EXPECT_EQ(m_pCamera->Count("SetExposureValue"), 0);
    EXPECT_FALSE(m_pWorker->SetExposure("autoExposure", &nMode, &nExposure));
    EXPECT_TRUE(m_pWorker->SetExposure("autoExposure", &nMode, &nExposure));
}

std::vector<QString> g_debugLines;

void KeepDebugLine(QtMsgType type, const QMessageLogContext&, const QString& strLine)
{
    if (type == QtDebugMsg) {
        g_debugLines.push_back(strLine);
    }
}

TEST_F(CameraWorkerCalls, ACameraIsActivatedWhenItsNameIsExactlyTheDevices)
{
    m_pCamera->SetName("[0] Camera-Left");
    g_debugLines.clear();
    const QtMessageHandler pBefore = qInstallMessageHandler(KeepDebugLine);

    EXPECT_FALSE(m_pWorker->IsCameraActivated("Camera-Left"));
    EXPECT_FALSE(m_pWorker->IsCameraActivated(""));
    EXPECT_THAT(g_debugLines, IsEmpty());
    EXPECT_TRUE(m_pWorker->IsCameraActivated("[0] Camera-Left"));

    qInstallMessageHandler(pBefore);
    EXPECT_THAT(g_debugLines, ElementsAre("CameraWorker::IsCameraActivated : return true."));
}

TEST_F(CameraWorkerCalls, SignalsAndSlotsStandInTheirOrder)
{
    const QMetaObject& meta = CameraWorker::staticMetaObject;
    std::vector<std::string> methods;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        methods.push_back(meta.method(i).methodSignature().toStdString());
    }
    EXPECT_THAT(methods, ElementsAre("SavePicSuccessSignal(QString)", "SendQImgSignal(QImage)",
                                     "SendCameraImgSignal(QImage,int)", "SnapFailedSignal()", "SendMatSignal(cv::Mat)",
                                     "LoopSnapSlot()", "LoopSnapTwoCameraSlot()"));
}

// ---- Without a camera ----

class CameraWorkerWithoutCamera : public testing::Test
{
protected:
    CameraWorkerWithoutCamera()
    {
        Doubles::Reset();
        m_module.GiveNull();
        m_pWorker = std::make_unique<CameraWorker>();
    }
    ~CameraWorkerWithoutCamera() override
    {
        m_pWorker.reset();
        ReleaseAllModules();
    }

    Doubles::CameraModule m_module;
    std::unique_ptr<CameraWorker> m_pWorker;
};

TEST_F(CameraWorkerWithoutCamera, LoopsReturnWithoutAWord)
{
    m_pWorker->LoopSnapSlot();
    m_pWorker->SetLeftCameraName("Camera-Left");
    m_pWorker->LoopSnapTwoCameraSlot();

    EXPECT_TRUE(m_pWorker->IsStopped());
    EXPECT_THAT(Doubles::The().logLines, IsEmpty());
}

TEST_F(CameraWorkerWithoutCamera, WhatPreparesReportsTrueAndWhatShouldBringSomethingFails)
{
    const int nValue = 1;
    std::vector<std::string> names;
    cv::Mat picture;
    NameBuffer name("Camera-Left");

    EXPECT_TRUE(m_pWorker->OpenCamera("Camera-Left"));
    EXPECT_TRUE(m_pWorker->CloseCamera());
    EXPECT_TRUE(m_pWorker->SetIntProperty("gain", 1));
    EXPECT_TRUE(m_pWorker->SetExposure("autoExposure", &nValue, &nValue));
    EXPECT_EQ(m_pWorker->GetCameraList(names), -1);
    EXPECT_EQ(m_pWorker->GetCameraName(), "");
    EXPECT_FALSE(m_pWorker->IsCameraAlive());
    EXPECT_FALSE(m_pWorker->ApplyCameraParameters("Camera-Left", 500));
    EXPECT_FALSE(m_pWorker->IsCameraActivated(""));
    EXPECT_FALSE(m_pWorker->IsCameraOpen("Camera-Left"));
    EXPECT_FALSE(m_pWorker->SnapPicture(picture));
    EXPECT_TRUE(m_pWorker->SnapImage("Camera-Left").isNull());
    EXPECT_TRUE(m_pWorker->SnapOnePic("Camera-Left", true, 500, 1000).empty());
    EXPECT_FALSE(m_pWorker->FindCamera(name.szName.data()));
    EXPECT_STREQ(name.szName.data(), "Camera-Left");
}

} // namespace
