#pragma once

// A data root of its own with a settings file, files to make pictures from, and the log that the doubles keep.

#include "CameraDevice.h"
#include "CameraSettings.h"
#include "DataRoot.h"
#include "ModuleDoubles.h"
#include "SimulatedCameras.h"

#include <gmock/gmock.h>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/videoio.hpp>

#include <QDir>
#include <QFile>

#include <atomic>

/// Delivers plain pictures; counts and may fail.
class FakeCameras : public ISimulatedCameras
{
public:
    virtual ~FakeCameras() { SetSimulatedCameras(nullptr); }

    int Snap(const char* szSide, cv::Mat& picture) override
    {
        strLastSide = szSide;
        ++nSnaps;
        if (nInside++ != 0) {
            bTwoAtOnce = true;
        }
        if (onSnap) {
            onSnap();
        }
        const int nGrey = std::string(szSide) == "left" ? 50 : 200;
        matKept.create(60, 80, nType);
        matKept.setTo(cv::Scalar::all(nGrey + nSnaps % 10));
        picture = matKept;
        --nInside;
        return nAnswer;
    }

    std::function<void()> onSnap;
    std::string strLastSide;
    cv::Mat matKept; ///< painted over for every frame
    int nType = CV_8UC3;
    int nAnswer = 0;
    std::atomic<int> nSnaps = 0;
    std::atomic<int> nInside = 0;
    std::atomic<bool> bTwoAtOnce = false;
};

class CameraFixture : public testing::Test
{
protected:
    void SetUp() override { Doubles::Reset(); }
    void TearDown() override { SetSimulatedCameras(nullptr); }

    QString IniFile() const { return m_data.Root() + "/Data/CameraSetting.ini"; }
    QString Path(const QString& strName) const { return m_data.Folder() + "/" + strName; }

    /// Writes the section with these lines.
    void Name(const QString& strLines) const { m_data.WriteFile(IniFile(), "[CameraSetting]\n" + strLines.toUtf8()); }

    /// A plain picture file of 40 x 30 in one grey value; the folder is made.
    void WritePicture(const QString& strFile, int nGrey, int nType = CV_8UC3) const
    {
        std::vector<unsigned char> bytes;
        cv::imencode("." + strFile.section('.', -1).toStdString(), cv::Mat(30, 40, nType, cv::Scalar::all(nGrey)),
                     bytes);
        m_data.WriteFile(strFile, QByteArray(reinterpret_cast<const char*>(bytes.data()), qsizetype(bytes.size())));
    }

    /// The grey value of the next picture, -1 for a failing snap that left the picture empty.
    static int Grey(ICameraDevice& device, const char* pName = nullptr)
    {
        cv::Mat picture(2, 2, CV_8UC1, cv::Scalar(9));
        if (device.SnapPicture(picture, pName) != 0) {
            EXPECT_TRUE(picture.empty());
            return -1;
        }
        EXPECT_TRUE(picture.type() == CV_8UC1 || picture.type() == CV_8UC3);
        return picture.empty() ? -2 : picture.ptr()[0];
    }

    /// How many log lines hold the text.
    static int Logged(const std::string& strPart)
    {
        const auto& lines = Doubles::The().logLines;
        return static_cast<int>(std::count_if(lines.begin(), lines.end(), [&](const auto& line) {
            return line.second.find(strPart) != std::string::npos;
        }));
    }

    DataRoot m_data;
    Camera::CameraDevice m_device;
};
