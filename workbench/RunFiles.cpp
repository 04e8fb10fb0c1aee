#include "RunFiles.h"

#include "DataFolder.h"
#include "Failure.h"
#include "FolderRoom.h"
#include "InstallResources.h"
#include "Log.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QSettings>

namespace Workbench
{

namespace
{

constexpr const char* g_pCameraType = "PROGRESS/CAMERA_TYPE";
constexpr const char* g_pStep = "PROGRESS/PROGRESS";
/// Of the manual flow; the steps behind it are about the crosses of the pattern that was sent.
constexpr int g_nFusionStep = 3;
constexpr int g_nCrosses = 18;
constexpr const char* g_pHomography = "/mapImgR2L.xml";

/// The page of the marks takes a place that is missing for 0.
bool HasLostCrosses(const QSettings& progress)
{
    for (int i = 0; i < g_nCrosses; ++i) {
        for (const char* pKey : {"PROGRESS/X%1", "PROGRESS/Y%1"}) {
            bool bNumber = false;
            progress.value(QString(pKey).arg(i)).toDouble(&bNumber);
            if (!bNumber) {
                return true;
            }
        }
    }
    return false;
}

/// Removes a file that is there and damaged.
void RemoveNoRecord(const QString& strFile)
{
    if (QFileInfo::exists(strFile) && !IsRecord(strFile)) {
        QFile::remove(strFile);
    }
}

/// Copies a folder beside its final name first, so that a copy under that name is a whole one.
void CopyFolderWhole(const QString& strFrom, const QString& strTo)
{
    const QString strPart = strTo + ".part";
    QDir(strPart).removeRecursively();
    bool bOk = QDir().mkpath(strPart);
    QDirIterator it(strFrom, QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden, QDirIterator::Subdirectories);
    while (bOk && it.hasNext()) {
        it.next();
        const QString strTarget = strPart + "/" + QDir(strFrom).relativeFilePath(it.filePath());
        // A pipe would hold the copying for good.
        bOk = it.fileInfo().isDir() ? QDir().mkpath(strTarget)
                                    : !it.fileInfo().isFile() || QFile::copy(it.filePath(), strTarget);
    }
    if (!bOk || !QDir().rename(strPart, strTo)) {
        QDir(strPart).removeRecursively();
        throw Failure("The calibration in %1 cannot be copied to %2, so the wizard is not opened.", {strFrom, strTo});
    }
}

bool HasAll(const QString& strFolder, std::initializer_list<const char*> names)
{
    for (const char* pName : names) {
        if (!QFileInfo(strFolder + "/" + pName).isFile()) {
            return false;
        }
    }
    return true;
}

void MoveAside(const QString& strFrom, const QString& strTo)
{
    if (!QFileInfo::exists(strFrom)) {
        return;
    }
    if (QFileInfo(strTo).isDir()) {
        QDir(strTo).removeRecursively();
    } else {
        QFile::remove(strTo);
    }
    if (!QDir().rename(strFrom, strTo)) {
        throw Failure("%1 is left of another run and cannot be put aside to %2.", {strFrom, strTo});
    }
    ILog_WriteLogF(1, "Put aside what was left of another run: %s", qPrintable(strTo));
}

} // namespace

RunFiles::RunFiles(Simulator::Machine::Kind flow)
    : m_bManual(flow == Simulator::Machine::Kind::Manual), m_strFolder(DataRoot() + "/Vision/calib/Camera_Two"),
      m_strResult(m_strFolder + "/Result"), m_strBackup(m_strFolder + "/ResultBeforeRun"),
      m_strAside(m_strFolder + "/OtherFlow")
{
}

QString RunFiles::ReasonAgainst(Opening opening) const
{
    if (opening == Opening::Calibration) {
        return {};
    }
    if (!m_bManual) {
        if (opening == Opening::Fusion) {
            return "This machine is calibrated automatically: there is no fusion step of its own.";
        }
        // Page 3 of this flow stitches again, from the two cameras' records and the pictures of the last run.
        const bool bThere = HasAll(m_strResult, {"L_AutoDualCalibrate.xml", "R_AutoDualCalibrate.xml", "LeftCalPts.txt",
                                                 "RightCalPts.txt"}) &&
                            HasAll(m_strFolder + "/Temp",
                                   {"DualCamBeforeCalibrate_LeftTemp.bmp", "DualCamBeforeCalibrate_RightTemp.bmp"});
        return bThere ? QString() : "The cameras are not calibrated yet: run the whole calibration first.";
    }
    // The lens files come with the machine, so that a fusion can always be done.
    if (opening == Opening::Coordinate && !HasAll(m_strResult, {"mapImgR2L.xml"})) {
        return "The pictures are not fused yet: run the whole calibration first.";
    }
    return {};
}

void RunFiles::Prepare(Opening opening, const std::function<bool(const QString&)>& writeLensFiles)
{
    if (!QDir().mkpath(m_strFolder)) {
        throw Failure("The folder %1 cannot be made.", {m_strFolder});
    }
    const QString strProgress = m_strFolder + "/Progress.ini";
    if (const QFileInfo progress(strProgress); progress.exists()) {
        if (!progress.isFile()) {
            throw Failure("%1 is no file.", {strProgress});
        }
        // One that cannot be read would count as none, and the run that it is of be begun anew.
        if (!progress.isReadable() || !progress.isWritable()) {
            throw Failure(progress.isReadable() ? "%1 cannot be written." : "%1 cannot be read.", {strProgress});
        }
    }
    // The wizard passes over what it cannot write.
    for (const char* pName : {"", "/Result", "/Output", "/Output/L_images", "/Output/R_images", "/Temp"}) {
        if (QFileInfo(m_strFolder + pName).isDir()) {
            RequireRoom(m_strFolder + pName);
        }
    }
    Recover();
    PutOtherFlowAside();
    BackUp();
    RemoveFlagsOfOtherFlow();
    if (m_bManual) {
        PrepareManual(opening, writeLensFiles);
    }
}

void RunFiles::Recover()
{
    if (QFile::exists(m_strFolder + "/Progress.ini")) {
        return;
    }
    if (QFileInfo(m_strBackup).isDir()) {
        ILog_WriteLog(1, "A run of the wizard ended with its process before its first step or after its last one; the "
                         "calibration of before it is taken");
        Conclude(false);
    } else if (QFile::exists(m_strAside + "/Progress.ini")) {
        BringRunBack();
    }
}

void RunFiles::BackUp()
{
    if (QFileInfo(m_strBackup).isDir()) {
        // A run died with its process. What it left in Result is not what the operator had.
        ILog_WriteLogF(1, "The backup of an unfinished run is kept: %s", qPrintable(m_strBackup));
        return;
    }
    if (QFileInfo(m_strResult).isDir()) {
        CopyFolderWhole(m_strResult, m_strBackup);
    } else if (!QDir().mkpath(m_strBackup)) {
        // An empty backup says that there was no calibration.
        throw Failure("The folder %1 cannot be made.", {m_strBackup});
    }
}

void RunFiles::PutOtherFlowAside()
{
    const QString strProgress = m_strFolder + "/Progress.ini";
    // Without the key the wizard takes the automatic flow; nobody but the host writes it.
    const bool bManualProgress =
        QFile::exists(strProgress) && QSettings(strProgress, QSettings::IniFormat).value(g_pCameraType, 1).toInt() == 0;
    if (QFile::exists(strProgress) && bManualProgress != m_bManual) {
        PutRunAside();
    }
}

// What the other run needs to be resumed goes together, `Progress.ini` last: while it is here, this is begun again.
void RunFiles::PutRunAside()
{
    if (QFile::exists(m_strAside + "/Progress.ini")) {
        // One of long before; the newer one takes its place.
        QDir(m_strAside).removeRecursively();
    }
    if (!QDir().mkpath(m_strAside)) {
        throw Failure("The folder %1 cannot be made.", {m_strAside});
    }
    MoveAside(m_strFolder + "/Output", m_strAside + "/Output");
    if (QFileInfo(m_strBackup).isDir()) {
        // Half of that run's results, and the calibration of before it.
        if (!QFileInfo(m_strAside + "/Result").isDir()) {
            MoveAside(m_strResult, m_strAside + "/Result");
            QDir().mkpath(m_strAside + "/Result");
        }
        QDir(m_strResult).removeRecursively();
        if (!QDir(m_strBackup).isEmpty()) {
            CopyFolderWhole(m_strBackup, m_strResult);
        }
        MoveAside(m_strBackup, m_strAside + "/ResultBeforeRun");
    }
    MoveAside(m_strFolder + "/Progress.ini", m_strAside + "/Progress.ini");
}

// `Progress.ini` last again: with it the run can be resumed.
void RunFiles::BringRunBack()
{
    const QString strProgress = m_strAside + "/Progress.ini";
    const bool bResult = QFileInfo(m_strAside + "/Result").isDir();
    const bool bBackup = QFileInfo(m_strAside + "/ResultBeforeRun").isDir();
    if (QFile::exists(strProgress) && bResult == bBackup) {
        bool bOk = true;
        const auto bringBack = [this, &bOk](const char* pName) {
            if (bOk && QFileInfo::exists(m_strAside + "/" + pName)) {
                QDir(m_strFolder + "/" + pName).removeRecursively();
                bOk = QDir().rename(m_strAside + "/" + pName, m_strFolder + "/" + pName);
            }
        };
        QDir(m_strFolder + "/Output").removeRecursively();
        bringBack("ResultBeforeRun");
        bringBack("Result");
        bringBack("Output");
        // What a wizard that was never opened has left.
        QFile::remove(m_strFolder + "/Progress.ini");
        bOk = bOk && QDir().rename(strProgress, m_strFolder + "/Progress.ini");
        if (!bOk) {
            ILog_WriteLogF(3, "The unfinished run in %s cannot be brought back whole", qPrintable(m_strAside));
            return;
        }
        ILog_WriteLog(1, "The unfinished run of the other flow is brought back");
    } else if (QFile::exists(strProgress)) {
        ILog_WriteLogF(2, "The unfinished run in %s is not whole and is given up", qPrintable(m_strAside));
    }
    QDir(m_strAside).removeRecursively();
}

// The pipeline asks these for the flow, also while a manual run is under way. The backup has them.
void RunFiles::RemoveFlagsOfOtherFlow()
{
    if (m_bManual) {
        for (const char* pName : {"AutoDualCalibrate_stitch.xml", "LeftCameraParam.ini", "RightCameraParam.ini"}) {
            const QString strFile = m_strResult + "/" + pName;
            if (QFileInfo(strFile).isFile() &&
                QSettings(strFile, QSettings::IniFormat).value("CAMERA_PARAM/AUTO_CALIBRATION", 0).toInt() != 0 &&
                !QFile::remove(strFile)) {
                throw Failure("The folder %1 cannot be written.", {m_strResult});
            }
        }
    }
    QDir().mkpath(m_strResult); // the pages write into it
}

// The wizard would come to what is damaged in its files page by page, and break off.
void RunFiles::PrepareManual(Opening opening, const std::function<bool(const QString&)>& writeLensFiles)
{
    const QString strOutput = m_strFolder + "/Output";
    const QString strHomography = strOutput + g_pHomography;
    QSettings progress(m_strFolder + "/Progress.ini", QSettings::IniFormat);
    progress.setValue(g_pCameraType, 0);
    if (progress.value(g_pStep, 0).toInt() > g_nFusionStep && (HasLostCrosses(progress) || !IsRecord(strHomography))) {
        ILog_WriteLogF(2,
                       "%s or the homography beside it is damaged; the run is resumed at the fusion, before the "
                       "crosses are sent",
                       qPrintable(progress.fileName()));
        progress.setValue(g_pStep, g_nFusionStep);
    }
    progress.sync();
    if (progress.status() != QSettings::NoError || !QDir().mkpath(strOutput)) {
        throw Failure("The folder %1 cannot be written.", {m_strFolder});
    }
    // Without them the wizard itself says that it cannot send one.
    CopyFusionPatterns(m_strFolder + "/FusionCalibImages");
    for (const char* pName : {"/cameraL_calibrateMap.xml", "/cameraR_calibrateMap.xml"}) {
        RemoveNoRecord(strOutput + pName);
    }
    if (writeLensFiles && !HasAll(strOutput, {"cameraL_calibrateMap.xml", "cameraR_calibrateMap.xml"}) &&
        !writeLensFiles(strOutput)) {
        throw Failure("The machine's lens files cannot be written to %1.", {strOutput});
    }
    if (opening == Opening::Coordinate) {
        RemoveNoRecord(strHomography);
        if (!QFile::exists(strHomography) &&
            !(IsRecord(m_strResult + g_pHomography) && QFile::copy(m_strResult + g_pHomography, strHomography))) {
            throw Failure("The homography of the pair cannot be copied to %1.", {strOutput});
        }
    }
}

bool RunFiles::IsWhole()
{
    try {
        RequireCalibration(CalibrationUse::Pictures);
    } catch (const Failure& failure) {
        m_problem = failure;
        ILog_WriteLogF(1, "The run left no whole calibration: %s", failure.what());
    }
    return !m_problem;
}

bool RunFiles::Conclude(bool bFinished)
{
    m_problem.reset();
    if (!QFileInfo(m_strBackup).isDir()) {
        return bFinished;
    }
    if (bFinished && IsWhole()) {
        // What the other flow had begun is out of date now.
        QDir(m_strAside).removeRecursively();
        QDir(m_strBackup).removeRecursively();
        return true;
    }
    // Renamed whole; a process that dies between leaves the backup, which the next run keeps.
    QDir(m_strResult).removeRecursively();
    if (QDir(m_strBackup).isEmpty()) {
        QDir().rmdir(m_strBackup);
    } else if (!QDir().rename(m_strBackup, m_strResult)) {
        ILog_WriteLogF(3, "The calibration of before the run stays in %s: it cannot be moved back",
                       qPrintable(m_strBackup));
        return false;
    }
    if (QFileInfo(m_strAside).isDir()) {
        BringRunBack();
    }
    return false;
}

} // namespace Workbench
