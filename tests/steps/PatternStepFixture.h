#pragma once

// The pattern page with two models of machines, a host and an error code module that record, and files of its own.

#include "DataRoot.h"
#include "DeviceTypeFile.h"
#include "HandEyePicSetWdg.h"
#include "LibraryLoader.h"
#include "ModalAnswers.h"
#include "ModuleDoubles.h"
#include "RecordingErrCode.h"
#include "RecordingHost.h"
#include "StepWidgets.h"

#include <QComboBox>
#include <QPlainTextEdit>
#include <QRadioButton>
#include <QSignalSpy>
#include <QSpinBox>

#include <memory>

class PatternStepFixture : public testing::Test
{
protected:
    void SetUp() override
    {
        Doubles::Reset();
        // "Big" sorts before "Small"; 12.6 counts as 12.
        m_types.Write(R"({"Small": {"S1": {"X": 400, "Y": 300, "Row": 2, "Col": 3, "StartPointX": 12.6,
                              "StartPointY": 20, "LineSpacing": 30, "ColumnSpacing": 40,
                              "RowForSingleCamera": 2, "ColForSingleCamera": 2}},
                          "Big": {"B2": {"X": 800, "Y": 500, "Row": 1, "Col": 1}, "B1": {"X": 900, "Y": 600}}})");
    }
    void TearDown() override
    {
        m_pPage.reset();
        ReleaseAllModules();
    }

    HandEyePicSetWdg& Make(bool bWithHost = true)
    {
        m_pPage = std::make_unique<HandEyePicSetWdg>(nullptr, bWithHost ? &m_host : nullptr);
        QObject::connect(m_pPage.get(), &HandEyePicSetWdg::SendListPtSignal,
                         [this](const QList<QPointF>& listPt) { m_grids << listPt; });
        QObject::connect(m_pPage.get(), &HandEyePicSetWdg::SendFlagSizeSignal,
                         [this](QSizeF size) { m_sizes << size; });
        return *m_pPage;
    }
    HandEyePicSetWdg& MakeShown()
    {
        Make().show();
        return *m_pPage;
    }
    template <typename Widget> Widget& The(const char* pName) { return Child<Widget>(*m_pPage, pName); }
    bool CanGoOn() { return Button(*m_pPage, "confirm").isEnabled(); }

    void ChooseSmall() { The<QComboBox>("comboBox_models").setCurrentText("Small"); }
    /// Presses the radio button of the material's size and types a size.
    void ChooseMaterial(int nWidth, int nHeight)
    {
        QTest::mouseClick(&The<QRadioButton>("radioButton_meterialSize"), Qt::LeftButton, {}, QPoint(8, 8));
        ASSERT_TRUE(The<QRadioButton>("radioButton_meterialSize").isChecked());
        The<QSpinBox>("spinBox_width").setValue(nWidth);
        The<QSpinBox>("spinBox_height").setValue(nHeight);
    }
    void SetCanvas(const char* pWidth, const char* pHeight)
    {
        m_data.WriteFile(m_data.Root() + "/Data/CameraSetting.ini",
                         QByteArray("[CANVAS_SIZE]\nWIDTH=") + pWidth + "\nHEIGHT=" + pHeight + "\n");
    }
    QList<QPointF> LastGrid() const { return m_grids.isEmpty() ? QList<QPointF>() : m_grids.last(); }
    static int Progress(const char* pKey) { return ReadIniInt("PROGRESS", pKey, -77, ProgressFile()); }
    static double ProgressNumber(const char* pKey) { return ReadIniDouble("PROGRESS", pKey, -77.0, ProgressFile()); }

    DataRoot m_data;
    DeviceTypeFile m_types;
    ModalAnswers m_answers;
    Doubles::ErrCodeModule m_errCode;
    Doubles::RecordingHost m_host;
    QList<QList<QPointF>> m_grids;
    QList<QSizeF> m_sizes;
    std::unique_ptr<HandEyePicSetWdg> m_pPage;
};

class PatternStep : public PatternStepFixture
{
};
