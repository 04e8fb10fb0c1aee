#include "FusionPattern.h"

#include "FileStore.h"

#include <cmath>

QString FusionPatternName(double dWidthMm, double dHeightMm)
{
    struct Row {
        double dWidthMm;
        double dHeightMm;
        const char* pName;
    };
    constexpr Row rows[] = {{813.0, 508.0, "FusionImage_813_508.kv"},
                            {1300.0, 900.0, "FusionImage_1300_900.kv"},
                            {1600.0, 1000.0, "FusionImage_1600_1000.kv"}};
    for (const Row& row : rows) {
        if (std::trunc(dWidthMm) == row.dWidthMm && std::trunc(dHeightMm) == row.dHeightMm) {
            return row.pName;
        }
    }
    return "FusionImage.kv";
}

QString FusionPatternPath()
{
    const QString strRoot = GetCalibrationRootPath();
    const QString strFile = QString("%1/Data/CameraSetting.ini").arg(strRoot);
    // The run-time side falls back to the large machine instead; this is meant.
    const double dWidthMm = ReadIniDouble("CANVAS_SIZE", "WIDTH", 900.0, strFile);
    const double dHeightMm = ReadIniDouble("CANVAS_SIZE", "HEIGHT", 600.0, strFile);
    return strRoot + "/Vision/calib/Camera_Two/FusionCalibImages/" + FusionPatternName(dWidthMm, dHeightMm);
}
