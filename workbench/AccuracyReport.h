#pragma once

// What the demonstration measured, as a record, as JSON and as a short table.

#include <opencv2/core.hpp>

#include <QString>

#include <vector>

namespace Workbench
{

inline constexpr const char* g_pManualFlow = "manual"; ///< `AccuracyReport::strFlow`

struct ErrorFigures {
    double rms = 0.0;
    double p95 = 0.0;
    double max = 0.0;
};

/// One dot of known place.
struct MeasuredPoint {
    cv::Point2d truthMm;
    cv::Point2d measuredMm;
    bool bInsideCrosses = false;

    double ErrorMm() const { return cv::norm(measuredMm - truthMm); }
};

struct AccuracyReport {
    QString strFlow;
    cv::Size workAreaMm;
    cv::Size picturePx;
    double dPxPerMm = 0.0;
    int nExpected = 0;                 ///< dots that were engraved
    std::vector<MeasuredPoint> points; ///< dots that were found
    std::vector<double> seamMm;        ///< disagreement of the two cameras, a dot each
    /// Dots in the band that both cameras are calibrated for; in the manual flow, where no cross is on both pictures,
    /// those that both show.
    int nSeamExpected = 0;
    /// The same wherever both pictures show a dot, also hundreds of millimetres outside of a camera's own crosses,
    /// where its model is a guess and the work area picture shows the other camera. Told, promised nowhere.
    std::vector<double> overlapMm;
    int nOverlapExpected = 0;
    double dCoverage = 0.0; ///< share of the work area that the picture shows
    double dSecondsCalibrate = 0.0;
    double dSecondsPicture = 0.0;
    double dMemoryMib = 0.0; ///< peak of the process
    std::uint64_t nSeed = 0;
    double dClickErrorPx = 0.0;

    ErrorFigures InsideCrosses() const;
    ErrorFigures WholeArea() const;
    ErrorFigures Seam() const;
    /// What was promised for this flow and not kept, a line each; empty when all is well.
    QStringList MissedMeasures() const;
};

ErrorFigures FiguresOf(std::vector<double> errors);
/// Written whole or not at all; false when it cannot be written.
bool WriteReport(const AccuracyReport& report, const QString& strFile);
QString ReportTable(const AccuracyReport& report);

} // namespace Workbench
