#pragma once

// Turns a folder of pictures of the chart (7 x 9 discs) into one camera's parameter file, and inspects one fresh
// picture for its chart. The distortion page makes one, keeps it as long as it lives, and uses it for both cameras in
// turn; one thread at a time. How many pictures there have to be is the page's matter, how good they have to be the
// vision module's.

#include <opencv2/core/mat.hpp>

#include <string>

struct CalibResult {
    bool m_bSuccess = false;
    int m_nCode = 0;          ///< -1 on failure
    std::string m_strMessage; ///< empty on success
};

using CalibCallback = void (*)(CalibResult result, void* pOwner);

/// All paths are local 8-bit text.
class CCameraCalibration
{
public:
    CCameraCalibration();

    /// Kept and never called.
    void SetCallback(CalibCallback callback, void* owner);
    /// Kept and never read: the chart is not described by a file.
    void SetDescrPath(std::string path);
    /// Looks at the values and keeps none of them; `focus` and `kappa` are not even looked at.
    /// @param sx, sy  size of a pixel, metres; 1e-06 itself is refused
    /// @param cx, cy, imageWidth, imageHeight  pixels, above 0
    /// Failure has the code -1 and the message "parameters error".
    CalibResult SetCamPara(double focus, double kappa, double sx, double sy, int cx, int cy, int imageWidth,
                           int imageHeight);
    void SetImageDir(std::string dir);
    /// Kept and read by nothing; `height` not even kept.
    void SetWorkAreaSize(int width, int height);

    /// Calibrates from the folder's pictures and writes the file that `LoadCameraParameters` reads.
    /// False when the pictures give no camera or the file cannot be written; then what was found stays until the next
    /// run. After a success nothing is kept.
    bool CalibrateAndSave(std::string path);
    /// Calibrates from every *.jpg, *.png and *.bmp of the folder, whichever run left it there. A picture that cannot
    /// be read is passed over with a log line.
    bool FindAllImgCalibObject();
    /// Always true.
    bool CheckResult();
    void ClearResult();

    /// Whether the chart can be found in a picture file, in either orientation.
    /// @param error  what the module says of the grid, for the operator to see, pixels; it decides nothing
    static bool InspectPicPass(std::string path, double& error);

protected: // for tests
    void* m_pOwner = nullptr;
    cv::Mat m_cameraMatrix; ///< 3 x 3 CV_64F, pixels
    cv::Mat m_distCoeffs;   ///< CV_64F row
    double m_dError = -1.0; ///< of the calibration, pixels; -1 without one
    CalibCallback m_pCallback = nullptr;
    double m_dWorkAreaExtent = 1000.0; ///< millimetres
    int m_nBoardWidth = 7;             ///< read by nothing, like the next one
    int m_nBoardHeight = 9;
    std::string m_strImageDir;
    std::string m_strDescrPath;
};
