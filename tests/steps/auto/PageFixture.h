#pragma once

// What tests of the automatic flow's pages share: a data root, the module doubles, a camera, and fingers for a page.

#include "CalibGlobalParam.h"
#include "DataRoot.h"
#include "DualGraphicsView.h"
#include "FileStore.h"
#include "LibraryLoader.h"
#include "ModalAnswers.h"
#include "ModuleDoubles.h"
#include "PageParts.h"
#include "RecordingCamera.h"
#include "StepWidgets.h"

#include <gmock/gmock.h>
#include <opencv2/core.hpp>

#include <QLabel>
#include <QLayout>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <string>
#include <utility>
#include <vector>

using LogLines = std::vector<std::pair<int, std::string>>;

class PageFixture : public testing::Test
{
protected:
    void SetUp() override
    {
        Doubles::Reset();
        g_calibGlobalParam = CalibGlobalParam();
        g_calibGlobalParam.strLeftCameraName = "[0] Camera-Left";
        g_calibGlobalParam.strRightCameraName = "[1] Camera-Right";
        m_module.Prepare([this](Doubles::RecordingCamera& camera) {
            camera.SetList({"[0] Camera-Left", "[1] Camera-Right"});
            camera.SetPicture(m_picture);
        });
    }

    void TearDown() override
    {
        EXPECT_EQ(m_module.GivenBack(), m_module.HandedOut());
        EXPECT_THAT(g_listLoadedModules, testing::IsEmpty());
        g_calibGlobalParam = CalibGlobalParam();
    }

    /// The object names, which themes know, of what stands in each widget.
    static void ExpectTree(const QWidget& page, const std::vector<std::pair<const char*, QStringList>>& rows,
                           const QStringList& layouts)
    {
        for (const auto& [pParent, expected] : rows) {
            const QWidget& parent = page.objectName() == pParent ? page : Child<QWidget>(page, pParent);
            QStringList children;
            for (const QWidget* const pChild : parent.findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly)) {
                children << pChild->objectName();
            }
            EXPECT_EQ(children, expected) << pParent;
        }
        for (const QString& strLayout : layouts) {
            EXPECT_TRUE(page.findChild<QLayout*>(strLayout)) << strLayout.toStdString();
        }
    }
    /// The widgets that stand in a layout itself, in their order.
    static QStringList InLayout(const QWidget& page, const char* pLayout)
    {
        QStringList names;
        const auto* const pFound = page.findChild<QLayout*>(pLayout);
        for (int i = 0; pFound && i < pFound->count(); ++i) {
            if (const QWidget* const pWidget = pFound->itemAt(i)->widget()) {
                names << pWidget->objectName();
            }
        }
        return names;
    }
    inline static const QStringList BOTTOM_ROW{"toolButton_Step1", "label_Step1",        "toolButton_Step2",
                                               "label_Step2",      "toolButton_Step3",   "label_Step3",
                                               "toolButton_Step4", "label_Step4",        "toolButton_Step5",
                                               "pushButton_back",  "pushButton_confirm", "pushButton_cancel"};

    static QString Enable(QWidget& page, const char* pName)
    {
        const QVariant value = Child<QWidget>(page, pName).property("Enable");
        return value.isValid() ? value.toString() : QString("(none)");
    }

    /// Seconds of a countdown, without waiting for them.
    static void Tick(QWidget& page, int nTimes = 1)
    {
        for (int i = 0; i < nTimes; ++i) {
            QMetaObject::invokeMethod(&page, "TimeOutSlot", Qt::DirectConnection);
        }
    }
    static bool IsCounting(QWidget& page) { return page.findChild<QTimer*>()->isActive(); }
    /// The counter outlives its page, so a test that began to count counts to the end.
    static void EndCountdown(QWidget& page)
    {
        while (IsCounting(page)) {
            Tick(page);
        }
    }

    QString Progress(const QString& strKey) const
    {
        return ReadIniString("PROGRESS", strKey, "(none)", ProgressFile());
    }
    static QString Param(const QString& strFile, const QString& strKey)
    {
        return ReadIniString("CAMERA_PARAM", strKey, "(none)", strFile);
    }
    QString Result(const QString& strFile) const { return m_root.CameraTwo("Result/" + strFile); }
    QString Temp(const QString& strFile) const { return m_root.CameraTwo("Temp/" + strFile); }

    DataRoot m_root;
    ModalAnswers m_answers;
    Doubles::CameraModule m_module;
    cv::Mat m_picture;
};
