// What the pattern page keeps in the progress file, and how it resumes.

#include "PatternStepFixture.h"

#include <QKeyEvent>
#include <QSettings>

namespace
{

class PatternProgress : public PatternStepFixture
{
protected:
    void Stored(const QByteArray& content) { m_data.WriteFile(ProgressFile(), "[PROGRESS]\n" + content); }
    void Upload()
    {
        ChooseSmall();
        Press(*m_pPage, "upload");
        ASSERT_TRUE(CanGoOn());
    }
};

TEST_F(PatternProgress, EveryShowWritesTheStepAlsoWithoutAnUpload)
{
    MakeShown();
    EXPECT_EQ(Progress("PROGRESS"), 3);
    EXPECT_EQ(Progress("UPLOADSUCCESS"), 0);
    EXPECT_EQ(Progress("WIDTH"), 0);
    EXPECT_EQ(Progress("HEIGHT"), 0);
    EXPECT_EQ(Progress("STEPINDEX"), -77);
    EXPECT_EQ(Progress("Row"), -77);
    m_pPage->hide();
    WriteIniInt("PROGRESS", "PROGRESS", 1, ProgressFile());
    m_pPage->show();
    EXPECT_EQ(Progress("PROGRESS"), 3);
}

TEST_F(PatternProgress, EditingASizeSavesAtOnce)
{
    MakeShown();
    ChooseMaterial(0, 0);
    for (const char* pName : {"width", "height"}) {
        auto& spinBox = The<QSpinBox>(qPrintable(QString("spinBox_") + pName));
        spinBox.setFocus();
        spinBox.selectAll();
        QTest::keyClicks(&spinBox, "250");
        QTest::keyClick(&spinBox, Qt::Key_Return);
        EXPECT_EQ(Progress(qPrintable(QString(pName).toUpper())), 250);
        EXPECT_TRUE(Doubles::The().Logged(0, std::string("spinBox_") + pName + " was editing finished."));
    }
    EXPECT_EQ(Progress("UPLOADSUCCESS"), 0);
    EXPECT_EQ(Progress("PROGRESS"), 3);
}

TEST_F(PatternProgress, AGoodUploadStoresTheWholeGrid)
{
    MakeShown().SetCameraType(1);
    Upload();
    EXPECT_EQ(Progress("UPLOADSUCCESS"), 1);
    EXPECT_EQ(ProgressNumber("sizeW"), 40.0);
    EXPECT_EQ(ProgressNumber("sizeH"), 40.0);
    EXPECT_EQ(Progress("STEPINDEX"), 3);
    EXPECT_EQ(Progress("Row"), 2);
    EXPECT_EQ(Progress("Col"), 3);
    EXPECT_EQ(Progress("RowForSingleCamera"), 2);
    EXPECT_EQ(Progress("ColForSingleCamera"), 2);
    EXPECT_EQ(ProgressNumber("X0"), 12.0);
    EXPECT_EQ(ProgressNumber("Y0"), 20.0);
    EXPECT_EQ(ProgressNumber("X5"), 92.0);
    EXPECT_EQ(ProgressNumber("Y5"), 50.0);
    EXPECT_EQ(ProgressNumber("X6"), -77.0);
}

TEST_F(PatternProgress, OutsideOfTheAutomaticFlowOneCameraSeesTheWholeGrid)
{
    MakeShown();
    Upload();
    EXPECT_EQ(Progress("RowForSingleCamera"), 2);
    EXPECT_EQ(Progress("ColForSingleCamera"), 3);
    EXPECT_EQ(ProgressNumber("sizeW"), 30.0);
}

TEST_F(PatternProgress, TheShareOfOneCameraHasRowsAndColumnsOfItsOwn)
{
    m_types.Write(R"({"Small": {"S1": {"Row": 3, "Col": 5, "RowForSingleCamera": 2, "ColForSingleCamera": 4}}})");
    MakeShown().SetCameraType(1);
    Upload();
    EXPECT_EQ(Progress("Row"), 3);
    EXPECT_EQ(Progress("Col"), 5);
    EXPECT_EQ(Progress("RowForSingleCamera"), 2);
    EXPECT_EQ(Progress("ColForSingleCamera"), 4);
}

TEST_F(PatternProgress, OnlyTypeOneStoresTheShareOfOneCamera)
{
    MakeShown().SetCameraType(2);
    Upload();
    EXPECT_EQ(Progress("RowForSingleCamera"), 2);
    EXPECT_EQ(Progress("ColForSingleCamera"), 3);
    EXPECT_EQ(ProgressNumber("sizeW"), 40.0);
}

TEST_F(PatternProgress, AMaterialsUploadStoresTheListsRowsAndColumns)
{
    MakeShown();
    ChooseSmall();
    ChooseMaterial(200, 100);
    Press(*m_pPage, "upload");
    EXPECT_EQ(Progress("Row"), 2);
    EXPECT_EQ(Progress("Col"), 3);
    EXPECT_EQ(Progress("WIDTH"), 200);
    EXPECT_EQ(Progress("HEIGHT"), 100);
    EXPECT_NE(ProgressNumber("X17"), -77.0);
    // So a resume reads fewer points back than were sent.
    m_pPage->hide();
    m_pPage->show();
    EXPECT_EQ(LastGrid().size(), 6);
}

TEST_F(PatternProgress, WithoutMachinesAMaterialsUploadStoresItsOwnRowsAndColumns)
{
    m_types.Write("");
    MakeShown();
    ChooseMaterial(200, 100);
    Press(*m_pPage, "upload");
    EXPECT_EQ(Progress("Row"), 3);
    EXPECT_EQ(Progress("Col"), 6);
    EXPECT_EQ(Progress("RowForSingleCamera"), 3);
    EXPECT_EQ(Progress("ColForSingleCamera"), 6);
    // A later run in the list's mode leaves them.
    MakeShown();
    EXPECT_EQ(LastGrid().size(), 18);
    EXPECT_EQ(Progress("Row"), 3);
    EXPECT_EQ(Progress("ColForSingleCamera"), 6);
    EXPECT_TRUE(CanGoOn());
}

TEST_F(PatternProgress, AResumeReadsBackWhatOneCameraSees)
{
    MakeShown().SetCameraType(1);
    Upload();
    m_grids.clear();
    m_sizes.clear();
    MakeShown();
    EXPECT_EQ(m_grids, QList<QList<QPointF>>{QList<QPointF>({{12, 20}, {52, 20}, {92, 20}, {12, 50}})});
    EXPECT_EQ(m_sizes.size(), 1);
    EXPECT_TRUE(CanGoOn());
    // All that were saved stay in the file.
    EXPECT_EQ(ProgressNumber("X5"), 92.0);
}

TEST_F(PatternProgress, AResumeRestoresTheSizesAndNotTheMode)
{
    MakeShown();
    ChooseSmall();
    ChooseMaterial(200, 100);
    Press(*m_pPage, "upload");
    MakeShown();
    EXPECT_EQ(The<QSpinBox>("spinBox_width").value(), 200);
    EXPECT_EQ(The<QSpinBox>("spinBox_height").value(), 100);
    EXPECT_TRUE(The<QRadioButton>("radioButton_workingFormat").isChecked());
    EXPECT_EQ(The<QComboBox>("comboBox_models").currentText(), "Big");
}

TEST_F(PatternProgress, WithoutAStoredStepNothingIsRestored)
{
    Stored("UPLOADSUCCESS=1\nWIDTH=200\n");
    MakeShown();
    EXPECT_FALSE(CanGoOn());
    EXPECT_TRUE(m_grids.isEmpty());
    EXPECT_EQ(The<QSpinBox>("spinBox_width").value(), 0);
}

TEST_F(PatternProgress, AnUploadOfAnEarlierRunWithoutNumbersGivesOnePoint)
{
    // -1 times -1.
    Stored("PROGRESS=3\nUPLOADSUCCESS=1\n");
    MakeShown();
    EXPECT_EQ(m_grids, QList<QList<QPointF>>{QList<QPointF>{QPointF(0, 0)}});
}

TEST_F(PatternProgress, ADamagedFileDoesNotTakeTheMemory)
{
    Stored("PROGRESS=3\nUPLOADSUCCESS=1\nRowForSingleCamera=2147483647\nColForSingleCamera=2147483647\n"
           "WIDTH=-5\nHEIGHT=99999999\n");
    MakeShown();
    EXPECT_EQ(m_grids, QList<QList<QPointF>>{QList<QPointF>{}});
    EXPECT_EQ(The<QSpinBox>("spinBox_width").value(), 0);
    EXPECT_EQ(The<QSpinBox>("spinBox_height").value(), 9999);
    const auto& lines = Doubles::The().logLines;
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(),
                            [](const auto& line) { return line.second.find("Progress.ini") != std::string::npos; }),
              1);
}

TEST_F(PatternProgress, NoBatchStaysOpen)
{
    const QString strOther = m_data.CameraTwo("Other.ini");
    const auto expectNoBatch = [&](int nValue) {
        WriteIniInt("A", "B", nValue, strOther);
        EXPECT_EQ(ReadIniInt("A", "B", -1, strOther), nValue);
    };
    MakeShown();
    expectNoBatch(1);
    Upload();
    expectNoBatch(2);
    m_pPage->hide();
    m_pPage->show();
    expectNoBatch(3);
}

TEST_F(PatternProgress, TheBackButtonFollowsTheLockAtEveryShow)
{
    MakeShown();
    EXPECT_TRUE(Button(*m_pPage, "back").isEnabled());
    m_pPage->SetBackLocked(true);
    m_pPage->hide();
    m_pPage->show();
    EXPECT_FALSE(Button(*m_pPage, "back").isEnabled());
    m_pPage->SetBackLocked(false);
    m_pPage->hide();
    m_pPage->show();
    EXPECT_TRUE(Button(*m_pPage, "back").isEnabled());
}

} // namespace
