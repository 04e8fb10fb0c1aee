// The run-time road on the real modules, with every file that it reads damaged in every way, pictures of every kind,
// and for a long time.

#include "CalibratedMachine.h"
#include "CalibrateTwoCameraIns.h"
#include "DataRoot.h"
#include "FileStore.h"
#include "LogControl.h"

#include <gtest/gtest.h>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <QDir>
#include <QFile>

#include <unistd.h>

#include <fstream>
#include <limits>
#include <map>
#include <memory>

namespace
{

constexpr int g_nStitchedWidth = 600;
constexpr int g_nStitchedHeight = 420;

/// One calibrated machine for all tests; each begins with its files as they were.
class BadInput : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        s_pData = std::make_unique<DataRoot>();
        Simulator::Machine machine(Simulator::Machine::Kind::Automatic, 1);
        Simulator::CalibrationReport report;
        ASSERT_TRUE(Simulator::WriteCalibrationFiles(machine, s_pData->Root().toStdString(), {}, report))
            << report.strProblem;
        s_left = machine.Snap(Simulator::Side::Left);
        s_right = machine.Snap(Simulator::Side::Right);
        // A corner of the bed does, and takes less time.
        const QString strStitch = s_pData->CameraTwo("Result/AutoDualCalibrate_stitch.xml");
        WriteIniInt("CAMERA_PARAM", "AUTO_CALIBRATION_OUTPUT_WIDTH", g_nStitchedWidth, strStitch);
        WriteIniInt("CAMERA_PARAM", "AUTO_CALIBRATION_OUTPUT_HEIGHT", g_nStitchedHeight, strStitch);
        const QDir result(s_pData->CameraTwo("Result/"));
        for (const QString& strName : result.entryList(QDir::Files)) {
            QFile file(result.filePath(strName));
            ASSERT_TRUE(file.open(QIODevice::ReadOnly));
            s_files[strName] = file.readAll();
        }
    }
    static void TearDownTestSuite() { s_pData.reset(); }

    void SetUp() override
    {
        Restore();
        ILog_SetFile(LogFile().toStdString());
    }
    void TearDown() override { ILog_SetFile(""); }

    static QString ResultFile(const QString& strName) { return s_pData->CameraTwo("Result/" + strName); }
    static QString LogFile() { return s_pData->Folder() + "/test.log"; }

    static void Restore()
    {
        for (const auto& [strName, content] : s_files) {
            s_pData->WriteFile(ResultFile(strName), content);
        }
    }

    /// What was logged since the last call.
    static QByteArray NewLog()
    {
        QFile file(LogFile());
        const QByteArray text = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
        file.close();
        ILog_SetFile(LogFile().toStdString());
        QFile::remove(LogFile());
        return text;
    }

    static int Fuse(const cv::Mat& left, const cv::Mat& right, cv::Mat& dst)
    {
        CalibrateTwoCameraIns instance;
        return instance.CalibAndFusionImage(left, right, dst, false);
    }

    /// Ways to be damaged, by what they are called.
    static std::map<std::string, QByteArray> DamagedVariants(const QByteArray& good)
    {
        QByteArray binary(5000, '\0');
        for (int i = 0; i < binary.size(); ++i) {
            binary[i] = static_cast<char>(i * 131 + i / 7);
        }
        return {{"empty", ""},
                {"cut in half", good.left(good.size() / 2)},
                {"binary", binary},
                {"binary after its beginning", good.left(20) + binary},
                {"huge", good + QByteArray(20 * 1024 * 1024, ' ')},
                {"one endless line", QByteArray(3 * 1024 * 1024, '7')}};
    }

    static std::unique_ptr<DataRoot> s_pData;
    static std::map<QString, QByteArray> s_files;
    static cv::Mat s_left, s_right;
};

std::unique_ptr<DataRoot> BadInput::s_pData;
std::map<QString, QByteArray> BadInput::s_files;
cv::Mat BadInput::s_left, BadInput::s_right;

} // namespace

TEST_F(BadInput, TheGoodFilesWorkSoThatTheseTestsMeanSomething)
{
    cv::Mat dst;
    ASSERT_EQ(Fuse(s_left, s_right, dst), 0);
    EXPECT_EQ(dst.size(), cv::Size(g_nStitchedWidth, g_nStitchedHeight));
    EXPECT_GT(cv::mean(dst)[1], 20.0);
}

TEST_F(BadInput, ADamagedCameraRecordFailsAndIsNamed)
{
    for (const char* pName : {"L_AutoDualCalibrate.xml", "R_AutoDualCalibrate.xml"}) {
        auto variants = DamagedVariants(s_files[pName]);
        QByteArray nan = s_files[pName];
        nan.replace(nan.indexOf("<fx_px>") + 7, 3, ".Nan");
        variants["holding a NaN"] = nan;
        variants["missing"] = {};
        for (const auto& [strKind, content] : variants) {
            s_pData->WriteFile(ResultFile(pName), content);
            if (strKind == "missing") {
                QFile::remove(ResultFile(pName));
            }
            cv::Mat dst;
            EXPECT_EQ(Fuse(s_left, s_right, dst), -1) << pName << " " << strKind;
            EXPECT_TRUE(dst.empty());
            EXPECT_TRUE(NewLog().contains(pName)) << pName << " " << strKind;
        }
        Restore();
    }
}

TEST_F(BadInput, ARecordOfAnotherCameraSizeFailsAndTheSizesAreTold)
{
    cv::Mat small;
    cv::resize(s_left, small, cv::Size(1296, 972));
    cv::Mat dst;
    EXPECT_EQ(Fuse(small, small, dst), -1);
    EXPECT_TRUE(NewLog().contains("the left camera's record is for pictures of 2592 x 1944, not of 1296 x 972"));
    EXPECT_EQ(Fuse(s_left, small, dst), -1);
    EXPECT_TRUE(NewLog().contains("the right camera's record is for pictures of 2592 x 1944, not of 1296 x 972"));
}

TEST_F(BadInput, ADamagedPointFileIsToldBySideAndUnequalListsFail)
{
    for (const auto& [strKind, content] : DamagedVariants(s_files["RightCalPts.txt"])) {
        s_pData->WriteFile(ResultFile("RightCalPts.txt"), content);
        cv::Mat dst;
        EXPECT_EQ(Fuse(s_left, s_right, dst), -1) << strKind;
        const QByteArray log = NewLog();
        EXPECT_TRUE(strKind == "empty" || log.contains("right file")) << strKind;
        EXPECT_TRUE(log.contains("Failed to complete the stitching of the fisheye lens!")) << strKind;
    }
    Restore();
    for (const auto& [strKind, content] : DamagedVariants(s_files["LeftCalPts.txt"])) {
        s_pData->WriteFile(ResultFile("LeftCalPts.txt"), content);
        cv::Mat dst;
        // The right file is not read after a failed left one, so that a fresh instance has two empty lists, which are
        // stitched. This is meant; the marks do not enter the picture.
        const bool bUnequal = strKind == "empty" || strKind == "cut in half";
        EXPECT_EQ(Fuse(s_left, s_right, dst), bUnequal ? -1 : 0) << strKind;
        EXPECT_TRUE(strKind == "empty" || NewLog().contains("left file")) << strKind;
    }
}

TEST_F(BadInput, NumbersThatAreNoneInThePointFilesDoNoHarm)
{
    for (const char* pWord : {"nan", "inf", "-inf", "1e30"}) {
        QByteArray line = "1 0 0 W W 0 W W 0 0 0 0\n";
        line.replace("W", pWord);
        s_pData->WriteFile(ResultFile("LeftCalPts.txt"), line);
        s_pData->WriteFile(ResultFile("RightCalPts.txt"), line);
        cv::Mat dst;
        const int nAnswer = Fuse(s_left, s_right, dst);
        EXPECT_TRUE(nAnswer == 0 || nAnswer == -1) << pWord;
    }
}

TEST_F(BadInput, DamagedSettingsOfTheFlowMeanTheManualFlowWhichHasNoFiles)
{
    for (const char* pName : {"LeftCameraParam.ini", "AutoDualCalibrate_stitch.xml"}) {
        for (const auto& [strKind, content] : DamagedVariants(s_files[pName])) {
            if (strKind == "cut in half") {
                continue; // may still hold the flag
            }
            s_pData->WriteFile(ResultFile(pName), content);
            cv::Mat dst;
            EXPECT_EQ(Fuse(s_left, s_right, dst), -1) << pName << " " << strKind;
        }
        Restore();
    }
}

TEST_F(BadInput, ADamagedRecordOfThePairGivesTheOriginAndIsNamed)
{
    const char* pName = "DualCamerasCalibrationParam.ini";
    auto variants = DamagedVariants(s_files[pName]);
    variants["missing"] = {};
    CalibrateTwoCameraIns instance;
    for (const auto& [strKind, content] : variants) {
        s_pData->WriteFile(ResultFile(pName), content);
        if (strKind == "missing") {
            QFile::remove(ResultFile(pName));
        }
        double dX = 7.0, dY = 8.0;
        EXPECT_EQ(instance.PixelToWorld(600, 60, &dX, &dY, false), 0);
        EXPECT_EQ(dX, 0.0) << strKind;
        EXPECT_EQ(dY, 0.0) << strKind;
        EXPECT_TRUE(NewLog().contains(pName)) << strKind;
        dX = 7.0;
        EXPECT_EQ(instance.WorldToPixel(100, 10, &dX, &dY, false), 0);
        EXPECT_EQ(dX, 0.0) << strKind;
    }
    cv::Mat dst;
    EXPECT_EQ(instance.WarpImage(s_left, 100, 50, dst), -1);
    Restore();
    double dX = 0.0, dY = 0.0;
    EXPECT_EQ(instance.PixelToWorld(600, 60, &dX, &dY, false), 0);
    EXPECT_EQ(dX, 100.0);
    EXPECT_EQ(dY, 10.0);
    EXPECT_EQ(instance.WarpImage(s_left, 100, 50, dst), 0);
    EXPECT_EQ(dst.size(), cv::Size(600, 300));
}

TEST_F(BadInput, PointsThatAreNoneOrBeyondFloatAreBorne)
{
    CalibrateTwoCameraIns instance;
    for (const double dBad : {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
        double dX = 7.0, dY = 8.0;
        EXPECT_EQ(instance.PixelToWorld(dBad, 1.0, &dX, &dY, false), 0);
        EXPECT_EQ(dX, 0.0);
        EXPECT_EQ(instance.WorldToPixel(1.0, dBad, &dX, &dY, false), 0);
        EXPECT_EQ(dY, 0.0);
    }
}

TEST_F(BadInput, PicturesOfEveryKindGetAnAnswer)
{
    const auto turnedInto = [](const cv::Mat& picture, int nType) {
        cv::Mat turned;
        if (CV_MAT_CN(nType) == 1) {
            cv::cvtColor(picture, turned, cv::COLOR_BGR2GRAY);
        } else if (CV_MAT_CN(nType) == 4) {
            cv::cvtColor(picture, turned, cv::COLOR_BGR2BGRA);
        } else {
            turned = picture.clone();
        }
        turned.convertTo(turned, CV_MAT_DEPTH(nType), CV_MAT_DEPTH(nType) == CV_16U ? 256.0 : 1.0);
        return turned;
    };
    for (const int nType : {CV_8UC1, CV_8UC3, CV_8UC4}) {
        cv::Mat dst;
        EXPECT_EQ(Fuse(turnedInto(s_left, nType), turnedInto(s_right, nType), dst), 0) << nType;
        EXPECT_EQ(dst.type(), CV_8UC3) << nType;
        EXPECT_EQ(dst.size(), cv::Size(g_nStitchedWidth, g_nStitchedHeight)) << nType;
    }
    for (const int nType : {CV_16UC1, CV_16UC3, CV_16UC4, CV_32FC3}) {
        cv::Mat dst;
        const int nAnswer = Fuse(turnedInto(s_left, nType), turnedInto(s_right, nType), dst);
        EXPECT_TRUE(nAnswer == -1 || (nAnswer == 0 && dst.type() == CV_8UC3)) << nType;
    }
    for (const int nType : {CV_8UC1, CV_8UC3, CV_8UC4, CV_16UC1, CV_8UC2}) {
        for (const cv::Size& size : {cv::Size(0, 0), cv::Size(1, 1), cv::Size(1, 1944), cv::Size(2592, 1)}) {
            NewLog();
            const cv::Mat picture(size, nType, cv::Scalar::all(50));
            cv::Mat dst;
            EXPECT_EQ(Fuse(picture, picture, dst), -1) << nType << " " << size;
            EXPECT_FALSE(NewLog().isEmpty());
        }
    }
    cv::Mat dst;
    EXPECT_EQ(Fuse(turnedInto(s_left, CV_8UC1), s_right, dst), -1);
    EXPECT_EQ(Fuse(cv::Mat(), s_right, dst), -1);
    EXPECT_EQ(Fuse(s_left, cv::Mat(), dst), -1);
}

TEST_F(BadInput, PicturesThatFailedDoNotSpoilTheNextOnes)
{
    CalibrateTwoCameraIns instance;
    cv::Mat good;
    ASSERT_EQ(instance.CalibAndFusionImage(s_left, s_right, good, false), 0);
    cv::Mat dst;
    EXPECT_EQ(instance.CalibAndFusionImage(cv::Mat(1, 1, CV_8UC3, cv::Scalar::all(1)),
                                           cv::Mat(1, 1, CV_8UC3, cv::Scalar::all(1)), dst, false),
              -1);
    EXPECT_EQ(instance.CalibAndFusionImage(cv::Mat(), cv::Mat(), dst, false), -1);
    ASSERT_EQ(instance.CalibAndFusionImage(s_left, s_right, dst, false), 0);
    EXPECT_EQ(cv::norm(dst, good, cv::NORM_INF), 0.0);
}

TEST_F(BadInput, ALongRunDoesNotGrow)
{
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizer keeps what is freed";
#endif
    const auto residentMiB = [] {
        std::ifstream file("/proc/self/statm");
        long nAll = 0, nResident = 0;
        file >> nAll >> nResident;
        return static_cast<double>(nResident) * static_cast<double>(sysconf(_SC_PAGESIZE)) / (1024.0 * 1024.0);
    };
    CalibrateTwoCameraIns kept;
    const auto once = [&] {
        cv::Mat dst;
        double dX = 0.0, dY = 0.0;
        EXPECT_EQ(kept.CalibAndFusionImage(s_left, s_right, dst, false), 0);
        EXPECT_EQ(kept.PixelToWorld(6, 6, &dX, &dY, false), 0);
        // As a host does that makes a fresh instance for every picture.
        EXPECT_EQ(Fuse(s_left, s_right, dst), 0);
    };
    for (int i = 0; i < 5; ++i) {
        once();
    }
    const double dBefore = residentMiB();
    constexpr int nTimes = 20;
    for (int i = 0; i < nTimes; ++i) {
        once();
    }
    // One raw picture has 14.4 MiB: losing one at each call would be hundreds.
    EXPECT_LT(residentMiB() - dBefore, 60.0);
}
