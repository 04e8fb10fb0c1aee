#pragma once

// The wizard with its real pages, a host, cameras and an error code module that record, and files of its own.

#include "CalibrateTwoCameraWnd.h"

#include "AutoDualCalibrateWdg.h"
#include "DataRoot.h"
#include "DeviceTypeFile.h"
#include "HandEyePicSetWdg.h"
#include "HostWindow.h"
#include "LibraryLoader.h"
#include "ModalAnswers.h"
#include "ModuleDoubles.h"
#include "RecordingCamera.h"
#include "RecordingErrCode.h"
#include "RecordingHost.h"
#include "StepWidgets.h"
#include "StitchingWdg.h"
#include "WaitDeviceWdg_DualCamera.h"

#include <QDir>
#include <QFileInfo>
#include <QLabel>
#include <QSignalSpy>

#include <memory>

class WindowFixture : public testing::Test
{
protected:
    void SetUp() override
    {
        Doubles::Reset();
        m_types.Write(R"({"M": {"A": {"X": 400, "Y": 300, "Row": 2, "Col": 3, "LineSpacing": 30, "ColumnSpacing": 40,
                              "RowForSingleCamera": 2, "ColForSingleCamera": 2}}})");
    }
    void TearDown() override { ReleaseAllModules(); }

    void Stored(const char* pKey, int nValue) { WriteIniInt("PROGRESS", pKey, nValue, ProgressFile()); }
    /// A file in Output, whose folder tells whether the run was cleaned up.
    void FillOutput() { m_data.WriteFile(m_data.CameraTwo("Output/L_images/1.bmp"), "x"); }
    bool OutputExists() { return QFileInfo::exists(m_data.Root() + "/Vision/calib/Camera_Two/Output"); }

    /// The class of the page on show; empty where there is none.
    static QString Page(const QMainWindow& window)
    {
        return window.centralWidget() ? window.centralWidget()->metaObject()->className() : "";
    }
    /// What a wait page waits for; a page is shown only when the event loop runs.
    static QString WaitsFor(const QMainWindow& window)
    {
        QCoreApplication::processEvents();
        return Child<QLabel>(window, "label_calibratePicTwo").property("state").toString();
    }

    DataRoot m_data;
    DeviceTypeFile m_types;
    ModalAnswers m_answers;
    Doubles::ErrCodeModule m_errCode;
    Doubles::CameraModule m_cameras;
    Doubles::RecordingHost m_device;
};

/// One window, begun in different ways.
class WizardWindow : public WindowFixture
{
protected:
    static constexpr const char* PATTERN = "HandEyePicSetWdg";
    static constexpr const char* WAIT = "WaitDeviceWdg_DualCamera";
    static constexpr const char* COORDINATES = "AutoDualCalibrateWdg";
    static constexpr const char* STITCHING = "StitchingWdg";

    CalibrateTwoCameraWnd& Make()
    {
        m_pWindow = std::make_unique<CalibrateTwoCameraWnd>(nullptr, &m_device);
        m_pWindow->show();
        return *m_pWindow;
    }
    CalibrateTwoCameraWnd& MakeStarted()
    {
        Make().ResumeFromProgress();
        m_pWindow->ApplyCameraType();
        QCoreApplication::processEvents();
        return *m_pWindow;
    }
    void TearDown() override
    {
        m_pWindow.reset();
        WindowFixture::TearDown();
    }
    void Send(const char* pSignal) { ASSERT_TRUE(QMetaObject::invokeMethod(m_pWindow->centralWidget(), pSignal)); }

    std::unique_ptr<CalibrateTwoCameraWnd> m_pWindow;
};
