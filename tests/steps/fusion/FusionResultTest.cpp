#include "FusionFixture.h"

#include <QDir>
#include <QFile>

namespace
{

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;

class FusionResult : public FusionFixture
{
protected:
    static QByteArray Content(const QString& strFile)
    {
        QFile file(strFile);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(none)");
    }
    void WriteMaps(const char* pFolder, const char* pContent)
    {
        for (const char* const pFile : {"cameraL_calibrateMap.xml", "cameraR_calibrateMap.xml"}) {
            m_root.WriteFile(m_root.CameraTwo(QString(pFolder) + "/" + pFile), pContent);
        }
    }
    /// The signals in the order that they come in.
    void Record()
    {
        QObject::connect(m_pPage.get(), &FusionWdg::nextWdgSignal, [this] { m_signals << "next"; });
        QObject::connect(m_pPage.get(), &FusionWdg::ExitWindowSignal, [this] { m_signals << "exit"; });
    }

    QStringList m_signals;
};

} // namespace

TEST_F(FusionResult, ConfirmingWithoutAHomographyIsRefused)
{
    OpenAndFit();
    Click("setRoiRect");
    Doubles::The().answers["CreateHomography"] = false;
    DrawRect(50, 60, 350, 160);
    Record();
    Click("confirm");
    EXPECT_TRUE(Logged(0, "pushButton_confirm was clicked."));
    ASSERT_EQ(m_answers.Notices().size(), 2u);
    const ModalAnswers::Notice& notice = m_answers.Notices()[1];
    EXPECT_EQ(notice.strTitle, "Splicing failed");
    EXPECT_EQ(notice.strText, SPLICING_FAILED);
    EXPECT_EQ(notice.icon, QMessageBox::Warning);
    EXPECT_EQ(notice.pParent, m_pPage.get());
    EXPECT_EQ(notice.buttons, QStringList{"OK"});
    EXPECT_THAT(m_signals, IsEmpty());
    EXPECT_EQ(Doubles::The().Count("SaveHomography"), 0);
    EXPECT_FALSE(Logged(1, "FusionWdg SaveFiles!"));
}

TEST_F(FusionResult, TheHomographyIsSavedToTheRunsFolder)
{
    OpenAndFit();
    Record();
    Click("confirm");
    EXPECT_TRUE(Logged(1, "FusionWdg SaveFiles!"));
    EXPECT_EQ(Content(Output("mapImgR2L.xml")), "1");
    EXPECT_EQ(m_signals, QStringList{"next"});
    EXPECT_FALSE(QFile::exists(Result("mapImgR2L.xml")));
    EXPECT_THAT(m_answers.Notices(), IsEmpty());
}

TEST_F(FusionResult, AFolderNameInLocalTextIsFound)
{
    // Restored with the data root.
    qputenv("XDG_CONFIG_HOME", (m_root.Folder() + "/Brücke").toLocal8Bit());
    OpenAndFit();
    Click("confirm");
    EXPECT_EQ(Content(m_root.Folder() + "/Brücke/Quillboost/Resources/Vision/calib/Camera_Two/Output/mapImgR2L.xml"),
              "1");
}

TEST_F(FusionResult, TheRunsFolderIsMadeWhereItIsMissing)
{
    OpenAndFit();
    QDir(m_root.CameraTwo("Output")).removeRecursively();
    Click("confirm");
    EXPECT_TRUE(QFile::exists(m_root.Root() + "/Vision/calib/Camera_Two/Output/mapImgR2L.xml"));
}

TEST_F(FusionResult, AFileThatCannotBeWrittenIsToldToTheLogAndThePageGoesOn)
{
    for (const bool bThrows : {false, true}) {
        OpenAndFit();
        m_signals.clear();
        Record();
        Doubles::The().answers["SaveHomography"] = false;
        if (bThrows) {
            Doubles::The().throwFrom["SaveHomography"] = "disk";
        }
        m_root.WriteFile(Output("mapImgR2L.xml"), "of a run that broke off");
        Click("confirm");
        EXPECT_THAT(Doubles::The().logLines, Contains(Pair(3, HasSubstr("Output/mapImgR2L.xml cannot be written"))));
        EXPECT_FALSE(QFile::exists(Output("mapImgR2L.xml"))) << "it would pass for this one's";
        EXPECT_EQ(m_signals, QStringList{"next"});
        EndCountdown(*m_pPage);
    }
}

// ---- The fusion alone ----

TEST_F(FusionResult, TheFusionAlonePublishesItsFilesAndEndsTheWizard)
{
    WriteMaps("Output", "new");
    WriteMaps("Result", "old");
    m_root.WriteFile(Result("mapImgR2L.xml"), "old");
    m_root.WriteFile(Result("DualCamera_pix2mm.xml"), "stays");
    m_root.WriteFile(m_root.CameraTwo("Output/L_images/1.png"), "a picture");
    m_root.WriteFile(Result("CameraParam.ini"), "[CAMERA_PARAM]\nCAMERA_TYPE=1\nOTHER=5\n");
    OpenAndFit().SetFusionOnly(true);
    m_pPage->SetCameraType(2);
    Record();
    QStringList before;
    QObject::connect(m_pPage.get(), &FusionWdg::ExitWindowSignal,
                     [&] { before = QDir(m_root.Root() + "/Vision/calib/Camera_Two").entryList({"Output"}); });
    Click("confirm");
    EXPECT_EQ(m_signals, (QStringList{"exit", "next"})) << "in this order";
    EXPECT_EQ(Content(Result("cameraL_calibrateMap.xml")), "new");
    EXPECT_EQ(Content(Result("cameraR_calibrateMap.xml")), "new");
    EXPECT_EQ(Content(Result("mapImgR2L.xml")), "1");
    EXPECT_EQ(Content(Result("DualCamera_pix2mm.xml")), "stays");
    EXPECT_EQ(Param(Result("CameraParam.ini"), "CAMERA_TYPE"), "2");
    EXPECT_EQ(Param(Result("CameraParam.ini"), "OTHER"), "5");
    EXPECT_FALSE(QDir(m_root.Root() + "/Vision/calib/Camera_Two/Output").exists());
    EXPECT_THAT(before, IsEmpty()) << "gone before the window closes";
    EXPECT_THAT(m_answers.Notices(), IsEmpty());
}

TEST_F(FusionResult, LensFilesThatThisRunDoesNotHaveAreToldToTheLog)
{
    WriteMaps("Result", "old");
    OpenAndFit().SetFusionOnly(true);
    Record();
    Click("confirm");
    // Removed first, whatever follows.
    EXPECT_FALSE(QFile::exists(Result("cameraL_calibrateMap.xml")));
    EXPECT_THAT(Doubles::The().logLines,
                Contains(Pair(3, HasSubstr("Result/cameraL_calibrateMap.xml cannot be written"))));
    EXPECT_EQ(m_signals, (QStringList{"exit", "next"}));
}

TEST_F(FusionResult, APageThatTheHostDeletesAtTheEndSaysNoMore)
{
    OpenAndFit().SetFusionOnly(true);
    // A press on a deleted button would be the test's own fault.
    QObject::connect(m_pPage.get(), &FusionWdg::ExitWindowSignal, [this] { m_pPage.reset(); });
    Record();
    FusionWdg* const pPage = m_pPage.get();
    QMetaObject::invokeMethod(pPage, "on_pushButton_confirm_clicked", Qt::DirectConnection);
    EXPECT_FALSE(m_pPage);
    EXPECT_FALSE(m_signals.contains("next"));
}
