#include "Lens.h"

#include "CoverageMap.h"
#include "Failure.h"
#include "KorvaneVision.h"
#include "LensViews.h"
#include "PictureFile.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryFile>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <system_error>

namespace Workbench
{

namespace
{

QString CoverageFile(const CommandLine& line)
{
    if (!line.strCoverage.isEmpty()) {
        return line.strCoverage;
    }
    const QFileInfo out(line.strOut);
    return out.dir().filePath(out.completeBaseName() + "_coverage.png");
}

constexpr const char* g_pParameters = "camera parameters";

Failure NotWritten(const QString& strWhat, const QString& strFile, const QString& strReason)
{
    return Failure(QString("The %1 cannot be written to %2: %3.").arg(strWhat, strFile, strReason));
}

/// Asked before the work, which takes its time.
void RequirePlaceFor(const QString& strWhat, const QString& strFile)
{
    const QFileInfo file(strFile);
    if (file.exists() && !file.isFile()) {
        throw NotWritten(strWhat, strFile, file.isDir() ? "it is a folder" : "it is no file");
    }
    const QFileInfo folder(file.absolutePath());
    if (!folder.isDir() || !folder.isWritable()) {
        throw NotWritten(strWhat, strFile,
                         folder.isDir() ? "its folder may not be written by this user"
                                        : "there is no folder " + folder.filePath());
    }
}

/// The same file, however its folder is written.
bool SamePlace(const QString& strFile, const QString& strOther)
{
    const QFileInfo file(strFile);
    const QFileInfo other(strOther);
    return file.fileName() == other.fileName() &&
           QDir(file.absolutePath()).canonicalPath() == QDir(other.absolutePath()).canonicalPath();
}

/// The camera's file beside its place, until it is put there; gone where it never is.
class NewLensFile
{
public:
    NewLensFile(const QString& strOut, const LensReport& report) : m_strOut(strOut), m_beside(strOut + ".XXXXXX")
    {
        if (!m_beside.open()) {
            throw NotWritten(g_pParameters, m_strOut, m_beside.errorString());
        }
        if (!Korvane::CameraCalibration::SaveCameraParameters(m_beside.fileName().toLocal8Bit().toStdString(),
                                                              report.cameraMatrix, report.distCoeffs, report.dRmsPx)) {
            throw NotWritten(g_pParameters, m_strOut, "the log says more");
        }
    }

    void PutInPlace() const
    {
        std::error_code error;
        std::filesystem::rename(m_beside.fileName().toLocal8Bit().toStdString(), m_strOut.toLocal8Bit().toStdString(),
                                error);
        if (error) {
            throw NotWritten(g_pParameters, m_strOut, QString::fromStdString(error.message()));
        }
    }

private:
    QString m_strOut;
    QTemporaryFile m_beside;
};

void PrintViews(const LensReport& report, const CommandLine& line)
{
    std::printf("%zu pictures in %s, chart of %d x %d discs\n", report.views.size(), qPrintable(line.strImages),
                report.chart.width, report.chart.height);
    int nWidth = 0;
    for (const LensView& view : report.views) {
        nWidth = std::max(nWidth, static_cast<int>(view.strName.size()));
    }
    for (const LensView& view : report.views) {
        std::printf("  %-*s  ", nWidth, qPrintable(view.strName));
        if (!view.IsUsed()) {
            std::printf("left out: %s\n", qPrintable(view.strLeftOut));
        } else if (!report.strProblem.empty()) {
            std::printf("chart found\n");
        } else {
            std::printf("used: %.2f px rms, tilt %.0f deg", view.dRmsPx, view.dTiltDeg);
            if (line.dSpacingMm > 0.0) {
                std::printf(", %.0f mm away", view.dDistance * line.dSpacingMm);
            }
            std::printf("\n");
        }
    }
}

void PrintLens(const LensReport& report)
{
    const cv::Mat& camera = report.cameraMatrix;
    std::printf("%zu of %zu pictures used, residual %.3f px rms\n", report.Used(), report.views.size(), report.dRmsPx);
    std::printf("focal length %.2f x %.2f px, principal point %.2f %.2f px, "
                "pictures of %d x %d px\n",
                camera.at<double>(0, 0), camera.at<double>(1, 1), camera.at<double>(0, 2), camera.at<double>(1, 2),
                report.pictureSize.width, report.pictureSize.height);
    std::printf("distortion");
    for (std::size_t i = 0; i < report.distCoeffs.total(); ++i) {
        std::printf(" %.6f", report.distCoeffs.at<double>(static_cast<int>(i)));
    }
    const LensCoverage coverage = CoverageOf(report);
    std::printf("\nthe charts cover %.0f %% of the picture", 100.0 * coverage.dShare);
    const char* pBefore = ", little or nothing at its ";
    for (const std::string& strNinth : coverage.missing) {
        std::printf("%s%s", pBefore, strNinth.c_str());
        pBefore = ", ";
    }
    std::printf("\n");
}

} // namespace

int RunLens(const CommandLine& line)
{
    const QString strCoverage = CoverageFile(line);
    RequirePictureSuffix(strCoverage);
    RequirePlaceFor(g_pParameters, line.strOut);
    RequirePlaceFor("picture", strCoverage);
    if (SamePlace(strCoverage, line.strOut)) {
        throw Failure("--out and --coverage name the same file. See --help.", {}, WrongUse);
    }
    const LensReport report = CalibrateLens(line.strImages, line.chartDiscs, strCoverage);
    PrintViews(report, line);
    std::fflush(stdout);
    if (!report.strProblem.empty()) {
        throw Failure("The pictures in %1 tell no lens: %2.",
                      {line.strImages, QString::fromStdString(report.strProblem)});
    }
    const NewLensFile lens(line.strOut, report);
    WritePicture(strCoverage, DrawCoverage(report));
    lens.PutInPlace();
    PrintLens(report);
    std::printf("%s: camera parameters\n%s: what the charts covered\n", qPrintable(line.strOut),
                qPrintable(strCoverage));
    return Success;
}

} // namespace Workbench
