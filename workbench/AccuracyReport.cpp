#include "AccuracyReport.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

#include <algorithm>
#include <cmath>

namespace Workbench
{

namespace
{

// What the automatic machine promises, millimetres.
constexpr double g_dHullRms = 0.06, g_dHullMax = 0.25, g_dAreaRms = 0.15, g_dSeamRms = 0.08;
// And the manual one, whose operator marks the crosses by hand and a pixel off.
constexpr double g_dManualAreaRms = 0.35, g_dManualAreaMax = 1.2;

double Rounded(double dValue)
{
    return std::round(dValue * 1.0e5) / 1.0e5;
}

QJsonObject ToJson(const ErrorFigures& figures)
{
    return {{"rms", Rounded(figures.rms)}, {"p95", Rounded(figures.p95)}, {"max", Rounded(figures.max)}};
}

QJsonArray ToJson(const cv::Size& size)
{
    return {size.width, size.height};
}

} // namespace

ErrorFigures FiguresOf(std::vector<double> errors)
{
    if (errors.empty()) {
        return {};
    }
    std::sort(errors.begin(), errors.end());
    double dSquares = 0.0;
    for (const double dError : errors) {
        dSquares += dError * dError;
    }
    const auto nP95 = static_cast<std::size_t>(std::ceil(0.95 * static_cast<double>(errors.size()))) - 1;
    return {std::sqrt(dSquares / static_cast<double>(errors.size())), errors[nP95], errors.back()};
}

ErrorFigures AccuracyReport::InsideCrosses() const
{
    std::vector<double> errors;
    for (const MeasuredPoint& point : points) {
        if (point.bInsideCrosses) {
            errors.push_back(point.ErrorMm());
        }
    }
    return FiguresOf(errors);
}

ErrorFigures AccuracyReport::WholeArea() const
{
    std::vector<double> errors;
    for (const MeasuredPoint& point : points) {
        errors.push_back(point.ErrorMm());
    }
    return FiguresOf(errors);
}

ErrorFigures AccuracyReport::Seam() const
{
    return FiguresOf(seamMm);
}

QStringList AccuracyReport::MissedMeasures() const
{
    QStringList listMissed;
    const auto require = [&listMissed](bool bKept, const QString& strWhat) {
        if (!bKept) {
            listMissed.append(strWhat);
        }
    };
    require(static_cast<int>(points.size()) == nExpected,
            QString("%1 of %2 dots were not found").arg(nExpected - static_cast<int>(points.size())).arg(nExpected));
    if (strFlow == g_pManualFlow) {
        require(WholeArea().rms <= g_dManualAreaRms,
                QString("rms of the work area is above %1 mm").arg(g_dManualAreaRms));
        require(WholeArea().max <= g_dManualAreaMax,
                QString("max of the work area is above %1 mm").arg(g_dManualAreaMax));
        require(dCoverage >= 1.0, QString("the picture does not show the whole work area"));
        return listMissed;
    }
    require(static_cast<int>(seamMm.size()) == nSeamExpected, QString("%1 of %2 dots of the seam were not found")
                                                                  .arg(nSeamExpected - static_cast<int>(seamMm.size()))
                                                                  .arg(nSeamExpected));
    require(InsideCrosses().rms <= g_dHullRms, QString("rms inside the crosses is above %1 mm").arg(g_dHullRms));
    require(InsideCrosses().max <= g_dHullMax, QString("max inside the crosses is above %1 mm").arg(g_dHullMax));
    require(WholeArea().rms <= g_dAreaRms, QString("rms of the work area is above %1 mm").arg(g_dAreaRms));
    require(Seam().rms <= g_dSeamRms, QString("rms of the seam is above %1 mm").arg(g_dSeamRms));
    require(dCoverage >= 1.0, QString("the picture does not show the whole work area"));
    return listMissed;
}

bool WriteReport(const AccuracyReport& report, const QString& strFile)
{
    const ErrorFigures seam = report.Seam();
    const ErrorFigures overlap = FiguresOf(report.overlapMm);
    const QJsonObject object{
        {"flow", report.strFlow},
        {"work_area_mm", ToJson(report.workAreaMm)},
        {"picture_px", ToJson(report.picturePx)},
        {"px_per_mm", report.dPxPerMm},
        {"points", static_cast<qint64>(report.points.size())},
        {"points_expected", report.nExpected},
        {"error_mm", ToJson(report.InsideCrosses())},
        {"error_area_mm", ToJson(report.WholeArea())},
        {"seam_mm", QJsonObject{{"rms", Rounded(seam.rms)}, {"max", Rounded(seam.max)}}},
        {"seam_points", static_cast<qint64>(report.seamMm.size())},
        {"seam_how",
         report.strFlow == g_pManualFlow
             ? "each camera's picture alone is brought into the machine frame; the same dots are located in both, "
               "wherever both show them"
             : "each camera's picture alone is brought into the machine frame; the same dots are located in both, in "
               "the band in which both cameras have crosses"},
        {"seam_points_expected", report.nSeamExpected},
        {"overlap_mm", QJsonObject{{"rms", Rounded(overlap.rms)}, {"max", Rounded(overlap.max)}}},
        {"overlap_points", static_cast<qint64>(report.overlapMm.size())},
        {"overlap_points_expected", report.nOverlapExpected},
        {"overlap_how",
         "as the seam, wherever both pictures show a dot, also far outside of the crosses that a camera was calibrated "
         "on; "
         "the work area picture shows the better camera there, and a dot more than 3 mm off counts as not found, so "
         "that these figures are lower bounds"},
        {"coverage", report.dCoverage},
        {"seconds",
         QJsonObject{{"calibrate", Rounded(report.dSecondsCalibrate)}, {"picture", Rounded(report.dSecondsPicture)}}},
        {"memory_mib", std::round(report.dMemoryMib)},
        {"seed", static_cast<qint64>(report.nSeed)},
        {"click_error_px", report.dClickErrorPx},
        {"missed", QJsonArray::fromStringList(report.MissedMeasures())},
    };
    QSaveFile file(strFile);
    return file.open(QIODevice::WriteOnly) && file.write(QJsonDocument(object).toJson()) > 0 && file.commit();
}

QString ReportTable(const AccuracyReport& report)
{
    const auto row = [](const QString& strName, const ErrorFigures& f) {
        return QString("  %1 %2 %3 %4\n")
            .arg(strName, -22)
            .arg(f.rms, 8, 'f', 3)
            .arg(f.p95, 8, 'f', 3)
            .arg(f.max, 8, 'f', 3);
    };
    QString strTable = QString("\n  error in mm                 rms      p95      max\n");
    strTable += row("inside the crosses", report.InsideCrosses());
    strTable += row("whole work area", report.WholeArea());
    strTable += row("seam, left to right", report.Seam());
    strTable += QString("  %1 of %2 dots found, coverage %3 %, calibrated in %4 s, picture in %5 s, %6 MiB\n")
                    .arg(report.points.size())
                    .arg(report.nExpected)
                    .arg(100.0 * report.dCoverage, 0, 'f', 2)
                    .arg(report.dSecondsCalibrate, 0, 'f', 2)
                    .arg(report.dSecondsPicture, 0, 'f', 2)
                    .arg(report.dMemoryMib, 0, 'f', 0);
    return strTable;
}

} // namespace Workbench
