#pragma once

// A camera's lens from a folder of photographs of a chart of discs, and what
// each photograph was worth. It asks the vision module for what the wizard's
// distortion engine asks it for, so both come to the same lens.

#include <opencv2/core.hpp>

#include <QSize>
#include <QString>

#include <string>
#include <vector>

namespace Workbench
{

struct LensView {
    QString strName;                  ///< file name without its folder
    QString strLeftOut;               ///< why it was left out; empty for one that the lens was
                                      ///< fitted to
    std::vector<cv::Point2f> centres; ///< of the discs, pixels, row by row; empty
                                      ///< where no chart was found
    double dRmsPx = 0.0;              ///< of the centres from where the lens shows the chart;
                                      ///< 0 without one
    double dTiltDeg = 0.0;            ///< of the chart against the picture
    double dDistance = 0.0;           ///< of the chart's middle from the camera, in
                                      ///< distances from disc to disc

    bool IsUsed() const { return strLeftOut.isEmpty(); }
};

struct LensReport {
    cv::Size pictureSize;
    cv::Size chart;              ///< discs in a row, rows
    std::vector<LensView> views; ///< all pictures of the folder, by name
    std::string strProblem;      ///< why there is no lens; then what follows means nothing
    cv::Mat cameraMatrix;        ///< 3 x 3 CV_64F, pixels
    cv::Mat distCoeffs;          ///< CV_64F, as cv::projectPoints takes it
    double dRmsPx = 0.0;         ///< the module's own figure over the pictures that it used

    std::size_t Used() const;
};

/// A photograph that cannot be read, has another size than most, or shows no
/// chart is left out.
/// @param strOwnPicture  a file that is passed over where it lies in the
/// folder: what an earlier run drew Throws `Failure` where there is no folder
/// or no picture in it.
LensReport CalibrateLens(const QString& strFolder, const QSize& chartDiscs, const QString& strOwnPicture);

} // namespace Workbench
