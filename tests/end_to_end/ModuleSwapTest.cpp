// A module of the same name that stands first on the loader's path is used, without a rebuild.

#include "WorkbenchProcess.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

namespace
{

/// What the dynamic section of a library says.
QString DynamicSection(const QString& strFile)
{
    QProcess process;
    process.start("readelf", {"--dynamic", "--wide", strFile});
    EXPECT_TRUE(process.waitForFinished());
    EXPECT_EQ(process.exitCode(), 0) << qPrintable(strFile);
    return QString::fromUtf8(process.readAllStandardOutput());
}

} // namespace

TEST(ModuleSwap, TheReplacementIsUsedByHostAndPlugin)
{
    const QTemporaryDir folder;
    const QStringList listWords{"to-pixel", "10", "20", "--data", folder.path()};
    const QMap<QString, QString> swapped{{"LD_LIBRARY_PATH", CTC_REPLACEMENT_FOLDER}};

    const WorkbenchRun own = RunWorkbench(listWords, folder.path());
    EXPECT_TRUE(own.strError.contains("/Quillboost/Resources")) << qPrintable(own.strError);
    const WorkbenchRun other = RunWorkbench(listWords, folder.path(), swapped);
    EXPECT_TRUE(other.strError.contains("/Quillmark/Resources")) << qPrintable(other.strError);

    // A manual calibration by name is enough for the plug-in to convert; it makes its data folder by the theme.
    const QString strResult = folder.filePath("Quillmark/Resources/Vision/calib/Camera_Two/Result");
    ASSERT_TRUE(QDir().mkpath(strResult));
    QFile file(strResult + "/DualCamera_pix2mm.xml");
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.close();
    const WorkbenchRun converted = RunWorkbench(listWords, folder.path(), swapped);
    EXPECT_EQ(converted.nExitCode, 0) << qPrintable(converted.strError);
    EXPECT_EQ(converted.strOutput, "60.000 120.000\n");
    EXPECT_FALSE(QDir(folder.filePath("Quillboost")).exists());
}

TEST(ModuleSwap, AReplacementOfAModuleThatIsLoadedByNameIsUsedToo)
{
    const QTemporaryDir folder;
    const WorkbenchRun run = RunWorkbench({"demo", "--out", folder.filePath("out")}, folder.path(),
                                          {{"LD_LIBRARY_PATH", CTC_REPLACEMENT_CAMERA_FOLDER}});
    EXPECT_EQ(run.nExitCode, 1);
    EXPECT_TRUE(run.strError.contains("The camera module lists no left and right camera")) << qPrintable(run.strError);
}

TEST(ModuleSwap, TheLibrariesCarryARunpathThatTheLoadersPathOverrides)
{
    const QString strSection = DynamicSection(CTC_PLUGIN);
    EXPECT_TRUE(strSection.contains("(RUNPATH)"));
    EXPECT_FALSE(strSection.contains("(RPATH)"));
    const QString strHost = DynamicSection(WorkbenchFile());
    EXPECT_TRUE(strHost.contains("(RUNPATH)"));
    EXPECT_FALSE(strHost.contains("(RPATH)"));
    for (const QString& strName : QDir(CTC_MODULE_FOLDER).entryList({"lib*.so"}, QDir::Files)) {
        EXPECT_FALSE(DynamicSection(QString(CTC_MODULE_FOLDER "/") + strName).contains("(RPATH)"))
            << qPrintable(strName);
    }
}

TEST(ModuleSwap, ThePluginNamesEveryModuleThatItLinks)
{
    const QString strSection = DynamicSection(CTC_PLUGIN);
    for (const char* pName : {"libKorvaneVision.so", "libCrossPtsDetectDllR.so", "libFisheyeCalibrationDllR.so",
                              "libThreadDialog.so", "libLog.so", "libTranslator.so", "libUiPermissionsManager.so"}) {
        EXPECT_TRUE(strSection.contains(pName)) << pName;
    }
}
