#include "Snapshot.h"

#include "LibraryLoader.h"
#include "ModalAnswers.h"
#include "ModuleDoubles.h"
#include "RecordingCamera.h"

#include <gmock/gmock.h>

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

using Lines = std::vector<std::pair<int, std::string>>;
using Calls = std::vector<std::string>;

class SnapshotBase
{
public:
    SnapshotBase()
    {
        Doubles::Reset();
        m_module.Prepare([](Doubles::RecordingCamera& camera) {
            camera.SetPicture(cv::Mat(4, 6, CV_8UC3, cv::Scalar(10, 20, 30)));
            camera.SetList({"[1] Camera-Right", "[0] Camera-Left"});
        });
        m_pDevice = LoadCamera();
        m_pCamera = &m_module.Camera();
    }
    ~SnapshotBase() { ReleaseAllModules(); }

    cv::Mat Snap(const QString& strName, const SnapshotRow& row) { return SnapOne(m_pDevice, strName, row, m_page); }
    /// What the fusion page must be asked for: it takes listed strings only.
    static QString LeftOf(const SnapshotRow& row)
    {
        return row.match == NameMatch::Whole ? "[0] Camera-Left" : "Camera-Left";
    }

    QObject m_page;
    ModalAnswers m_answers;
    Doubles::CameraModule m_module;
    ICameraDevice* m_pDevice = nullptr;
    Doubles::RecordingCamera* m_pCamera = nullptr;
};

class Snapshot : public testing::Test, protected SnapshotBase
{
};

struct Page {
    const char* pName;
    const SnapshotRow* pRow;
};

class SnapshotOfEachPage : public testing::TestWithParam<Page>, protected SnapshotBase
{
protected:
    const SnapshotRow& Row() const { return *GetParam().pRow; }
    bool Is(const char* pName) const { return std::string(GetParam().pName) == pName; }
    std::string Function() const { return std::string(GetParam().pName) + "::SnapOne"; }
    cv::Mat SnapLeft() { return Snap(LeftOf(Row()), Row()); }

    /// The log without what a page says when all is well, too.
    Lines Failures() const
    {
        Lines lines = Doubles::The().logLines;
        std::erase_if(lines, [](const auto& line) {
            return line.second.find("Find camera:compare") != std::string::npos ||
                   line.second.rfind("SnapOne, cameraName: ", 0) == 0;
        });
        return lines;
    }
    void ExpectReport(const std::string& strLine, const QString& strText)
    {
        EXPECT_EQ(Failures(), (Lines{{1, strLine}}));
        ASSERT_THAT(m_answers.Notices(), SizeIs(1));
        const ModalAnswers::Notice& notice = m_answers.Notices()[0];
        EXPECT_EQ(notice.strText, strText);
        EXPECT_EQ(notice.strTitle, "Tips");
        EXPECT_EQ(notice.icon, QMessageBox::Information);
        EXPECT_EQ(notice.buttons, QStringList{"OK"});
        EXPECT_EQ(notice.pParent, nullptr);
    }
    void ExpectSilence()
    {
        EXPECT_THAT(Failures(), IsEmpty());
        EXPECT_THAT(m_answers.Notices(), IsEmpty());
    }
};

INSTANTIATE_TEST_SUITE_P(Pages, SnapshotOfEachPage,
                         testing::Values(Page{"FusionWdg", &g_fusionSnapshot},
                                         Page{"HandEyeAdjustWdg", &g_handEyeSnapshot},
                                         Page{"StitchingWdg", &g_stitchingSnapshot},
                                         Page{"AutoDualCalibrateWdg", &g_autoDualSnapshot}),
                         [](const auto& one) { return one.param.pName; });

TEST_P(SnapshotOfEachPage, TakesAPictureAndLeavesTheCameraClosed)
{
    EXPECT_EQ(SnapLeft().size(), cv::Size(6, 4));

    Calls expected{"GetCameraList()", "OpenCamera([0] Camera-Left)", "ApplyCameraParameters([0] Camera-Left, 500)",
                   "SnapPicture([0] Camera-Left)", "CloseCamera([0] Camera-Left)"};
    if (Is("FusionWdg")) {
        expected = {"GetCameraList()",           "OpenCamera([0] Camera-Left)",
                    "SetProperty(autoExposure)", "ApplyCameraParameters([0] Camera-Left, 500)",
                    "SnapPicture(null)",         "CloseCamera(null)"};
        EXPECT_THAT(m_pCamera->Values(), ElementsAre(1));
    }
    EXPECT_EQ(m_pCamera->Calls(), expected);
    ExpectSilence();
}

TEST_P(SnapshotOfEachPage, NoneOrAnEmptyNameCallsNothingAndSaysNothing)
{
    EXPECT_TRUE(Snap("None", Row()).empty());
    EXPECT_TRUE(Snap("", Row()).empty());
    EXPECT_TRUE(Snap(QString(), Row()).empty());

    EXPECT_THAT(m_pCamera->Calls(), IsEmpty());
    EXPECT_THAT(Doubles::The().logLines, IsEmpty());
    EXPECT_THAT(m_answers.Notices(), IsEmpty());
}

TEST_P(SnapshotOfEachPage, WithoutADeviceThereIsNoPictureAndNoWord)
{
    EXPECT_TRUE(SnapOne(nullptr, "Camera-Left", Row(), m_page).empty());

    EXPECT_THAT(Doubles::The().logLines, IsEmpty());
    EXPECT_THAT(m_answers.Notices(), IsEmpty());
}

TEST_P(SnapshotOfEachPage, OnlyThePlainWordNoneStandsForNoCamera)
{
    Doubles::The().wordings = {{"None", "Keine"}};
    m_pCamera->SetList({"none", "Keine"});

    EXPECT_FALSE(Snap("none", Row()).empty());
    EXPECT_FALSE(Snap("Keine", Row()).empty());
    m_pCamera->ForgetCalls();
    EXPECT_TRUE(Snap("None", Row()).empty());

    EXPECT_THAT(m_pCamera->Calls(), IsEmpty());
}

TEST_P(SnapshotOfEachPage, ACameraThatIsNotListedIsReportedAndNothingIsOpenedOrClosed)
{
    m_answers.OnBox(
        [this](QMessageBox&) { EXPECT_THAT(Failures(), SizeIs(1)) << "the log line comes before the box"; });

    EXPECT_TRUE(Snap("Camera-Top", Row()).empty());

    EXPECT_THAT(m_pCamera->Calls(), ElementsAre("GetCameraList()"));
    if (Is("FusionWdg")) {
        ExpectSilence();
    } else {
        ExpectReport(Function() + ", Failed to acquire the target camera. Target:Camera-Top, Current:[1] Camera-Right, "
                                  "[0] Camera-Left, ",
                     "Failed to acquire the target camera.");
    }
}

TEST_P(SnapshotOfEachPage, AnEmptyListIsReportedWithAnEmptyText)
{
    m_pCamera->SetList({});

    EXPECT_TRUE(Snap("Camera-Left", Row()).empty());

    if (Is("FusionWdg")) {
        ExpectSilence();
    } else {
        ExpectReport(Function() + ", Failed to acquire the target camera. Target:Camera-Left, Current:",
                     "Failed to acquire the target camera.");
    }
}

TEST_P(SnapshotOfEachPage, APageThatIsDeletedDuringTheNoticeTookTheCameraAlongThatItGivesBack)
{
    if (Is("FusionWdg")) {
        GTEST_SKIP() << "shows no notice";
    }
    m_pCamera->Answer("OpenCamera", 1);
    auto pPage = std::make_unique<QObject>();
    m_answers.OnBox([&](QMessageBox&) { pPage.reset(); });

    EXPECT_TRUE(SnapOne(m_pDevice, LeftOf(Row()), Row(), *pPage).empty());

    EXPECT_THAT(m_answers.Notices(), SizeIs(1));
    EXPECT_EQ(m_pCamera->Count("CloseCamera"), Is("HandEyeAdjustWdg") ? 1 : 0) << "one that stays is left closed";
}

TEST_P(SnapshotOfEachPage, ACameraThatDoesNotOpenIsReportedAndClosedAsThePageDoes)
{
    m_pCamera->Answer("OpenCamera", 1);
    m_answers.OnBox([this](QMessageBox&) {
        EXPECT_EQ(m_pCamera->Count("CloseCamera"), 0) << "it is closed when the box is gone";
        EXPECT_THAT(Failures(), SizeIs(1)) << "the log line comes before the box";
    });

    EXPECT_TRUE(SnapLeft().empty());

    Calls expected{"OpenCamera([0] Camera-Left)"};
    if (Is("FusionWdg")) {
        ExpectSilence();
    } else {
        ExpectReport(Function() + ", Failed to open the target camera: [0] Camera-Left",
                     "Failed to open the target camera,Please try again.");
        expected.push_back(Is("AutoDualCalibrateWdg") ? "CloseCamera(null)" : "CloseCamera([0] Camera-Left)");
    }
    EXPECT_EQ(m_pCamera->Commands(), expected);
}

TEST_P(SnapshotOfEachPage, RefusedParametersAreReportedAndTheCameraIsClosedAsThePageDoes)
{
    m_pCamera->Answer("ApplyCameraParameters", 0);
    m_answers.OnBox([this](QMessageBox&) { EXPECT_EQ(m_pCamera->Count("CloseCamera"), 0); });

    EXPECT_TRUE(SnapLeft().empty());

    if (Is("FusionWdg") || Is("AutoDualCalibrateWdg")) {
        ExpectSilence();
        EXPECT_EQ(m_pCamera->Commands().back(), "CloseCamera(null)");
    } else {
        ExpectReport(Function() + ", Failed to set camera parameters: [0] Camera-Left",
                     "Failed to set camera parameters,Please try again.");
        EXPECT_EQ(m_pCamera->Commands().back(), "CloseCamera([0] Camera-Left)");
    }
    EXPECT_EQ(m_pCamera->Count("CloseCamera"), 1);
    EXPECT_EQ(m_pCamera->Count("SnapPicture"), 0);
}

TEST_P(SnapshotOfEachPage, ThreeBadSnapsAreReportedAndTheCameraIsClosed)
{
    m_pCamera->Answer("SnapPicture", -1);
    m_answers.OnBox([this](QMessageBox&) { EXPECT_EQ(m_pCamera->Count("CloseCamera"), 0); });

    EXPECT_TRUE(SnapLeft().empty());

    EXPECT_EQ(m_pCamera->Count("SnapPicture"), 3);
    EXPECT_EQ(m_pCamera->Count("CloseCamera"), 1);
    if (Is("FusionWdg")) {
        ExpectSilence();
        EXPECT_EQ(m_pCamera->Commands().back(), "CloseCamera(null)");
    } else {
        ExpectReport(Function() + ", Failed to get photo: [0] Camera-Left", "Failed to get photo,Please try again.");
        EXPECT_EQ(m_pCamera->Commands().back(), "CloseCamera([0] Camera-Left)");
    }
}

TEST_P(SnapshotOfEachPage, ACameraThatFailsTwiceAndThenDeliversGivesAPictureWithoutAReport)
{
    m_pCamera->AnswerNext("SnapPicture", {-1, 4, 0});

    EXPECT_EQ(SnapLeft().size(), cv::Size(6, 4));

    EXPECT_EQ(m_pCamera->Count("SnapPicture"), 3);
    ExpectSilence();
}

TEST_P(SnapshotOfEachPage, WhatAFailingDeviceLeavesIsHandedOn)
{
    m_pCamera->Answer("SnapPicture", -1);
    m_pCamera->SetFailingPicture(cv::Mat(2, 3, CV_8UC1, cv::Scalar(0)));

    EXPECT_EQ(SnapLeft().size(), cv::Size(3, 2));
}

TEST_P(SnapshotOfEachPage, AListOverItsLimitIsCutInTheLog)
{
    const std::string strLong(1000, 'x');
    m_pCamera->SetList({strLong, strLong, strLong, strLong, strLong});

    EXPECT_TRUE(Snap("Camera-Left", Row()).empty());

    if (Is("FusionWdg")) {
        ExpectSilence();
        return;
    }
    std::string strText;
    for (int i = 0; i < 5; ++i) {
        strText += strLong + ", ";
    }
    ExpectReport(Function() +
                     ", Failed to acquire the target camera. Target:Camera-Left, Current:" + strText.substr(0, 4095),
                 "Failed to acquire the target camera.");
}

TEST_P(SnapshotOfEachPage, ManyListedNamesDoNoHarm)
{
    m_pCamera->SetList(std::vector<std::string>(20000, "[0] Other"));

    EXPECT_TRUE(Snap("Camera-Left", Row()).empty());
}

TEST_P(SnapshotOfEachPage, AVeryLongNameReachesTheDeviceCutTo254Bytes)
{
    const std::string strName = "Camera-" + std::string(4000, 'x');
    m_pCamera->SetList({strName});

    EXPECT_FALSE(Snap(QString::fromStdString(strName), Row()).empty());

    EXPECT_EQ(m_pCamera->Commands()[0], "OpenCamera(" + strName.substr(0, 254) + ")");
}

TEST_P(SnapshotOfEachPage, NonAsciiNamesReachTheDeviceAsUtf8)
{
    const std::string strName = "K\xc3\xa4mera \xe5\xb7\xa6";
    m_pCamera->SetList({"Camera-Left", strName});

    EXPECT_FALSE(Snap(QString::fromStdString(strName), Row()).empty());

    EXPECT_EQ(m_pCamera->Commands()[0], "OpenCamera(" + strName + ")");
}

// ---- How names are matched ----

TEST_F(Snapshot, FusionTakesWholeListedStringsOnlyAndFailsInSilence)
{
    EXPECT_TRUE(Snap("Camera-Left", g_fusionSnapshot).empty());

    EXPECT_EQ(Doubles::The().logLines, (Lines{{1, "SnapOne, cameraName: Camera-Left"}}));
    EXPECT_THAT(m_answers.Notices(), IsEmpty());
    EXPECT_THAT(m_pCamera->Commands(), IsEmpty());
}

TEST_F(Snapshot, HandEyeAndStitchingTakeTheFirstStringThatHoldsTheName)
{
    for (const SnapshotRow* const pRow : {&g_handEyeSnapshot, &g_stitchingSnapshot}) {
        m_pCamera->ForgetCalls();
        m_pCamera->SetList({"[0] Camera-Left", "[1] Camera-Left2"});
        Snap("Camera-Left", *pRow);
        EXPECT_EQ(m_pCamera->Commands()[0], "OpenCamera([0] Camera-Left)");

        m_pCamera->ForgetCalls();
        m_pCamera->SetList({"[1] Camera-Left2", "[0] Camera-Left"});
        Snap("Camera-Left", *pRow);
        EXPECT_EQ(m_pCamera->Commands()[0], "OpenCamera([1] Camera-Left2)");
    }
}

TEST_F(Snapshot, HandEyeHeedsCase)
{
    m_pCamera->SetList({"[0] camera-left"});

    EXPECT_TRUE(Snap("Camera-Left", g_handEyeSnapshot).empty());

    EXPECT_THAT(m_pCamera->Commands(), IsEmpty());
}

TEST_F(Snapshot, AutoDualComparesPureNames)
{
    for (const auto& list : {std::vector<std::string>{"[0] Camera-Left", "[1] Camera-Left2"},
                             std::vector<std::string>{"[1] Camera-Left2", "[0] Camera-Left"}}) {
        for (const char* pWanted : {"Camera-Left", "[3] Camera-Left", "[12]Camera-Left  ", "x[3]   Camera-Left"}) {
            m_pCamera->ForgetCalls();
            m_pCamera->SetList(list);
            Snap(pWanted, g_autoDualSnapshot);
            EXPECT_EQ(m_pCamera->Commands()[0], "OpenCamera([0] Camera-Left)") << pWanted;
        }
    }
}

TEST_F(Snapshot, AutoDualTrimsOnlyWhatHadAnIndex)
{
    EXPECT_TRUE(Snap(" Camera-Left", g_autoDualSnapshot).empty());

    EXPECT_TRUE(Doubles::The().Logged(1, "AutoDualCalibrateWdg::SnapOne, Failed to acquire the target camera. Target: "
                                         "Camera-Left, Current:[1] Camera-Right, [0] Camera-Left, "));
}

TEST_F(Snapshot, AutoDualWritesDownEachComparison)
{
    Snap("[3] Camera-Left", g_autoDualSnapshot);

    EXPECT_EQ(Doubles::The().logLines,
              (Lines{{1, "[AutoDualCalibrateWdg::SnapOne] Find camera:compare [Camera-Right,Camera-Left]"},
                     {1, "[AutoDualCalibrateWdg::SnapOne] Find camera:compare [Camera-Left,Camera-Left]"}}));
}

TEST_F(Snapshot, EachPageHasAnInstanceOfItsOwn)
{
    ICameraDevice* const pSecond = LoadCamera();

    EXPECT_NE(pSecond, m_pDevice);
    EXPECT_EQ(m_module.HandedOut(), 2);
    EXPECT_EQ(pSecond, static_cast<ICameraDevice*>(&m_module.Camera(1)));
}

} // namespace
