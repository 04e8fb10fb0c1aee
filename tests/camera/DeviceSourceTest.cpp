#include "CameraFixture.h"

#include "DeviceSource.h"

#include <QTemporaryDir>

#include <chrono>
#include <thread>

namespace
{

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;

/// What a fake device has inside; it outlives the captures that are made on it.
struct DeviceState {
    std::map<int, double> controls{
        {cv::CAP_PROP_AUTO_EXPOSURE, 3.0}, {cv::CAP_PROP_EXPOSURE, 250.0}, {cv::CAP_PROP_BUFFERSIZE, 4.0}};
    std::vector<std::pair<int, double>> sets; ///< exposure controls in the order of the calls
    std::vector<double> menu{1.0, 3.0};       ///< entries of auto exposure
    double dMaxExposure = 5000.0;
    bool bDelivers = true;
    bool bOpens = true;
    bool bSaysYes = false; ///< to an entry of the menu that it does not have
    double dCompression = 0.0;
    int nOpened = 0;
    int nAlive = 0; ///< captures that hold the device
    int nGrabs = 0;
};

class FakeCapture : public cv::VideoCapture
{
public:
    explicit FakeCapture(DeviceState& state) : m_state(state) { ++m_state.nAlive; }
    ~FakeCapture() override { --m_state.nAlive; }

    bool grab() override
    {
        m_state.nGrabs += m_state.bDelivers ? 1 : 0;
        return m_state.bDelivers;
    }
    bool retrieve(cv::OutputArray image, int) override
    {
        cv::Mat(24, 32, CV_8UC3, cv::Scalar::all(m_state.nGrabs)).copyTo(image);
        return true;
    }
    bool set(int nId, double dValue) override
    {
        if (nId == cv::CAP_PROP_FRAME_WIDTH || nId == cv::CAP_PROP_FRAME_HEIGHT) {
            m_state.controls[nId] = nId == cv::CAP_PROP_FRAME_WIDTH ? 2592.0 : 1944.0;
            return true;
        }
        if (nId == cv::CAP_PROP_FOURCC) {
            m_state.dCompression = dValue;
        }
        if (nId != cv::CAP_PROP_AUTO_EXPOSURE && nId != cv::CAP_PROP_EXPOSURE) {
            return false;
        }
        m_state.sets.emplace_back(nId, dValue);
        const bool bManual = m_state.controls[cv::CAP_PROP_AUTO_EXPOSURE] == 1.0;
        const bool bInMenu = std::find(m_state.menu.begin(), m_state.menu.end(), dValue) != m_state.menu.end();
        if (nId == cv::CAP_PROP_EXPOSURE ? !bManual : !bInMenu) {
            return m_state.bSaysYes;
        }
        m_state.controls[nId] = nId == cv::CAP_PROP_EXPOSURE ? std::min(dValue, m_state.dMaxExposure) : dValue;
        return true;
    }
    double get(int nId) const override
    {
        const auto it = m_state.controls.find(nId);
        return it == m_state.controls.end() ? 0.0 : it->second;
    }

private:
    DeviceState& m_state;
};

/// A source on a fake device; its device file is a file in a temporary folder.
class DeviceSource : public testing::Test
{
protected:
    void SetUp() override
    {
        Doubles::Reset();
        Plug();
    }
    QString File() const { return m_folder.filePath("video0"); }
    void Plug() const
    {
        QFile file(File());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }
    void Unplug()
    {
        m_state.bDelivers = false;
        m_state.controls = DeviceState().controls;
        QFile::remove(File());
    }
    int Snapped()
    {
        cv::Mat picture;
        return m_source.Snap(picture) ? picture.ptr()[0] : -1;
    }
    static std::string LastLine() { return Doubles::The().logLines.back().second; }

    QTemporaryDir m_folder;
    DeviceState m_state;
    Camera::DeviceSource m_source{"Camera-Left (fake)", File(), [this](const std::string&, std::string& strWhy) {
                                      ++m_state.nOpened;
                                      strWhy = "it is in use";
                                      return m_state.bOpens ? std::make_unique<FakeCapture>(m_state) : nullptr;
                                  }};
};

TEST_F(DeviceSource, AsksForTheLargestPictureAndTellsWhatCame)
{
    ASSERT_TRUE(m_source.Acquire());
    EXPECT_EQ(LastLine(), "Camera-Left (fake) delivers 2592 x 1944");
    EXPECT_EQ(m_state.dCompression, cv::VideoWriter::fourcc('M', 'J', 'P', 'G')) << "the large ones come compressed";
    EXPECT_GT(Snapped(), 0);
    m_source.Release();
    EXPECT_EQ(m_state.nAlive, 0);
}

TEST_F(DeviceSource, ADeviceThatDoesNotOpenIsToldWithItsReason)
{
    m_state.bOpens = false;
    EXPECT_FALSE(m_source.Acquire());
    EXPECT_EQ(LastLine(), "Camera-Left (fake) cannot be opened: it is in use");
}

TEST_F(DeviceSource, SettlingGrabsAtLeastOneFrame)
{
    m_source.Acquire();
    EXPECT_TRUE(m_source.Settle(0));
    EXPECT_EQ(m_state.nGrabs, 1);
    EXPECT_TRUE(m_source.Settle(5));
    EXPECT_GE(m_state.nGrabs, 2);
    m_state.bDelivers = false;
    EXPECT_FALSE(m_source.Settle(500));
    EXPECT_THAT(LastLine(), HasSubstr("does not settle: the device delivers no frame"));
}

TEST_F(DeviceSource, PropertiesReachTheDeviceAndAreReadBack)
{
    m_source.Acquire();
    EXPECT_TRUE(m_source.SetProperty(Camera::Property::AutoExposure, 0));
    EXPECT_EQ(LastLine(), "Camera-Left (fake) takes autoExposure = 0 as 1");
    EXPECT_TRUE(m_source.SetProperty(Camera::Property::Exposure, 9000));
    EXPECT_EQ(LastLine(), "Camera-Left (fake) takes exposure = 9000 as 5000");
    EXPECT_EQ(m_state.controls[cv::CAP_PROP_EXPOSURE], 5000.0);
}

TEST_F(DeviceSource, AutomaticExposureIsWhicheverEntryTheDeviceHas)
{
    m_state.menu = {0.0, 2.0};
    m_source.Acquire();
    EXPECT_TRUE(m_source.SetProperty(Camera::Property::AutoExposure, 1));
    EXPECT_EQ(m_state.controls[cv::CAP_PROP_AUTO_EXPOSURE], 0.0);
    EXPECT_TRUE(m_source.SetProperty(Camera::Property::AutoExposure, 0));
    EXPECT_EQ(m_state.controls[cv::CAP_PROP_AUTO_EXPOSURE], 2.0);
}

TEST_F(DeviceSource, AnEntryThatTheDeviceSaysYesToAndDoesNotHaveIsNotTaken)
{
    m_state.menu = {0.0, 1.0};
    m_state.controls[cv::CAP_PROP_AUTO_EXPOSURE] = 1.0;
    m_state.bSaysYes = true;
    m_source.Acquire();
    EXPECT_TRUE(m_source.SetProperty(Camera::Property::AutoExposure, 1));
    EXPECT_EQ(m_state.controls[cv::CAP_PROP_AUTO_EXPOSURE], 0.0) << "the next one that means the same";
}

TEST_F(DeviceSource, ARefusedPropertyIsAFailureThatTellsWhatTheDeviceHas)
{
    m_source.Acquire();
    EXPECT_FALSE(m_source.SetProperty(Camera::Property::Exposure, 100)) << "it chooses its exposure itself";
    EXPECT_EQ(LastLine(), "Camera-Left (fake) refuses exposure = 100; it has 250");
    EXPECT_FALSE(m_source.SetProperty(Camera::Property::Gain, 3));
}

TEST_F(DeviceSource, FramesThatWaitedInTheBuffersAreDroppedFirst)
{
    m_source.Acquire();
    // At least as long as makes a frame old.
    std::this_thread::sleep_for(std::chrono::milliseconds(110));
    EXPECT_EQ(Snapped(), 5) << "behind the four of the buffers";
}

TEST_F(DeviceSource, WithoutAHolderNothingReachesTheDevice)
{
    EXPECT_FALSE(m_source.SetProperty(Camera::Property::Exposure, 100));
    EXPECT_FALSE(m_source.Settle(0));
    EXPECT_EQ(Snapped(), -1);
    EXPECT_FALSE(m_source.IsAlive());
    EXPECT_EQ(m_state.nOpened, 0);
}

TEST_F(DeviceSource, SurvivesUnplugAndReplugWithItsProperties)
{
    m_source.Acquire();
    m_source.SetProperty(Camera::Property::AutoExposure, 0);
    m_source.SetProperty(Camera::Property::Exposure, 120);
    EXPECT_GT(Snapped(), 0);

    Unplug();
    EXPECT_FALSE(m_source.IsAlive());
    EXPECT_EQ(Snapped(), -1);
    EXPECT_EQ(m_state.nAlive, 0) << "a device that is kept open cannot come back under its name";
    EXPECT_EQ(Snapped(), -1);

    m_state.sets.clear();
    m_state.bDelivers = true;
    Plug();
    EXPECT_TRUE(m_source.IsAlive());
    EXPECT_GT(Snapped(), 0);
    EXPECT_THAT(m_state.sets,
                ElementsAre(Pair(int(cv::CAP_PROP_AUTO_EXPOSURE), 1.0), Pair(int(cv::CAP_PROP_EXPOSURE), 120.0)));
}

TEST_F(DeviceSource, AnExposureIsForgottenWhenTheDeviceChoosesItsOwn)
{
    m_source.Acquire();
    m_source.SetProperty(Camera::Property::AutoExposure, 0);
    m_source.SetProperty(Camera::Property::Exposure, 120);
    m_source.SetProperty(Camera::Property::AutoExposure, 1);
    m_source.Release();
    m_state.sets.clear();
    m_source.Acquire();
    EXPECT_THAT(m_state.sets, ElementsAre(Pair(int(cv::CAP_PROP_AUTO_EXPOSURE), 3.0)));
}

TEST_F(DeviceSource, ADeviceThatIsThereAndDeliversNothingIsNotAliveUntilItDelivers)
{
    m_source.Acquire();
    m_state.bDelivers = false;
    EXPECT_EQ(Snapped(), -1);
    EXPECT_FALSE(m_source.IsAlive());
    m_state.bDelivers = true;
    EXPECT_FALSE(m_source.IsAlive());
    EXPECT_GT(Snapped(), 0);
    EXPECT_TRUE(m_source.IsAlive());
    EXPECT_EQ(m_state.nOpened, 2);
}

TEST_F(DeviceSource, OpenedAfreshItCountsAsAliveAndItsFailureIsToldAgain)
{
    const auto failures = [] {
        const auto& lines = Doubles::The().logLines;
        return std::count_if(lines.begin(), lines.end(), [](const auto& line) {
            return line.second.find("gives no picture") != std::string::npos;
        });
    };
    m_state.bDelivers = false;
    for (int i = 1; i <= 2; ++i) {
        m_source.Acquire();
        EXPECT_TRUE(m_source.IsAlive());
        EXPECT_EQ(Snapped(), -1);
        EXPECT_EQ(Snapped(), -1);
        EXPECT_FALSE(m_source.IsAlive());
        EXPECT_EQ(failures(), i);
        m_source.Release();
    }
}

TEST_F(DeviceSource, TheLastOfTwoHoldersClosesIt)
{
    m_source.Acquire();
    m_source.Acquire();
    EXPECT_EQ(m_state.nOpened, 1);
    m_source.Release();
    EXPECT_GT(Snapped(), 0);
    m_source.Release();
    EXPECT_EQ(m_state.nAlive, 0);
}

TEST(V4l2Device, ThatIsAbsentOrNoCameraIsNotOpened)
{
    std::string strWhy;
    EXPECT_EQ(Camera::OpenV4l2("/dev/no-such-camera", strWhy), nullptr);
    EXPECT_EQ(strWhy, "it is no device");
    const QTemporaryDir folder;
    strWhy.clear();
    EXPECT_EQ(Camera::OpenV4l2(folder.path().toStdString(), strWhy), nullptr);
    EXPECT_EQ(strWhy, "it is no device");
    EXPECT_EQ(Camera::OpenV4l2("/dev/null", strWhy), nullptr);
    EXPECT_THAT(strWhy, HasSubstr("it is no camera"));
}

class ByIdName : public testing::Test
{
protected:
    void SetUp() override
    {
        for (const char* pName : {"video0", "video1"}) {
            QFile file(m_folder.filePath(pName));
            ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        }
        QDir(m_folder.path()).mkdir("by-id");
        ASSERT_TRUE(QFile::link(m_folder.filePath("gone"), ById("usb-a-gone")));
        ASSERT_TRUE(QFile::link(m_folder.filePath("video1"), ById("usb-right")));
    }
    QString ById(const char* pName) const { return m_folder.filePath("by-id/") + pName; }

    QTemporaryDir m_folder;
};

TEST_F(ByIdName, IsTheLinkThatLeadsToTheSameDevice)
{
    EXPECT_EQ(Camera::ByIdName(m_folder.filePath("video1"), m_folder.filePath("by-id")), ById("usb-right"));
}

TEST_F(ByIdName, IsEmptyWhereThereIsNoneOrItWasGiven)
{
    const QString strFolder = m_folder.filePath("by-id");
    EXPECT_EQ(Camera::ByIdName(m_folder.filePath("video0"), strFolder), "");
    EXPECT_EQ(Camera::ByIdName(ById("usb-right"), strFolder), "");
    EXPECT_EQ(Camera::ByIdName(m_folder.filePath("gone"), strFolder), "");
    EXPECT_EQ(Camera::ByIdName(m_folder.filePath("video1"), m_folder.filePath("nothing")), "");
}

} // namespace
