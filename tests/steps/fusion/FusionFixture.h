#pragma once

// The fusion page before two cameras that record, with a label on which one pixel is one pixel of the pictures.

#include "DrawRoiWidget.h"
#include "FusionWdg.h"
#include "PageFixture.h"
#include "Painted.h"

#include <QCoreApplication>
#include <QSignalSpy>

#include <memory>

class FusionFixture : public PageFixture
{
protected:
    // Raw pictures of 300 x 200; upright they are 200 x 300, and both together 400 x 300 with the seam at 200.
    static constexpr int SEAM = 200;

    void SetUp() override
    {
        PageFixture::SetUp();
        m_module.Prepare([this](Doubles::RecordingCamera& camera) {
            camera.SetList({"[0] Camera-Left", "[1] Camera-Right"});
            camera.OnCall("OpenCamera", [this, &camera] {
                const bool bLeft = camera.Calls().back() == "OpenCamera([0] Camera-Left)";
                camera.SetPicture(bLeft ? m_leftPicture : m_rightPicture);
            });
        });
        Doubles::The().matchedFirst = {{1, 2}, {3, 4}, {5, 6}, {7, 8}};
        Doubles::The().matchedSecond = {{201, 2}, {203, 4}, {205, 6}, {207, 8}};
        Doubles::The().matchesPicture = cv::Mat(300, 400, CV_8UC3, cv::Scalar(0, 0, 255));
    }
    void TearDown() override
    {
        if (m_pPage) {
            EndCountdown(*m_pPage);
        }
        m_pPage.reset();
        EXPECT_EQ(m_module.GivenBack(), 0) << "its camera lives until the process ends";
        ReleaseAllModules();
        PageFixture::TearDown();
    }

    /// With pictures that need no rectification, unless told otherwise.
    FusionWdg& Open(int nType = 0)
    {
        m_pPage = std::make_unique<FusionWdg>();
        m_pPage->SetCameraType(nType);
        Label().setFixedSize(400, 300);
        m_pPage->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(m_pPage.get()));
        return *m_pPage;
    }
    FusionWdg& OpenAndShoot(int nType = 0)
    {
        Open(nType);
        Click("snap");
        return *m_pPage;
    }
    /// A page that has its homography.
    FusionWdg& OpenAndFit()
    {
        OpenAndShoot();
        Click("setRoiRect");
        Draw({50, 60}, {349, 159});
        EXPECT_TRUE(IsEnabled("confirm"));
        return *m_pPage;
    }

    DrawRoiWidget& Label() { return Child<DrawRoiWidget>(*m_pPage, "label_cameraPic"); }
    bool IsEnabled(const char* pName) { return Button(*m_pPage, pName).isEnabled(); }
    QString Text(const char* pName) { return Button(*m_pPage, pName).text(); }
    void Click(const char* pName)
    {
        EXPECT_TRUE(IsEnabled(pName)) << pName << " cannot be pressed";
        Press(*m_pPage, pName);
    }

    /// Drags with the left button and ends with the right one. Points in label pixels.
    void Draw(QPoint from, QPoint to)
    {
        Painted::Press(Label(), from);
        Painted::Drag(Label(), to);
        Painted::Release(Label(), to);
        Painted::Press(Label(), to, Qt::RightButton);
        Painted::Release(Label(), to, Qt::RightButton);
    }
    /// A rectangle of the full picture from one pixel up to, and without, another.
    void DrawRect(int nLeft, int nTop, int nRight, int nBottom) { Draw({nLeft, nTop}, {nRight - 1, nBottom - 1}); }
    QImage Shown() { return Label().pixmap().toImage(); }

    bool Logged(int nLevel, const char* pText) { return Doubles::The().Logged(nLevel, pText); }
    QString Output(const QString& strFile) const { return m_root.CameraTwo("Output/" + strFile); }

    inline static const QString SPLICING_FAILED =
        "The stitching process failed due to insufficient matching points in the overlapping area of the left and "
        "right cameras' fields of view. Please follow these steps:\n1.Minimize ambient light interference.\n2.Add more "
        "identifiable patterns in the overlapping field of view to increase matching points. After completing these "
        "steps, please retry the stitching process.";

    cv::Mat m_leftPicture{200, 300, CV_8UC3, cv::Scalar(10, 20, 30)};
    cv::Mat m_rightPicture{200, 300, CV_8UC3, cv::Scalar(40, 50, 60)};
    std::unique_ptr<FusionWdg> m_pPage;
};
