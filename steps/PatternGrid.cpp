#include "PatternGrid.h"

#include "DeviceTypes.h"
#include "Log.h"

namespace
{

constexpr long long EDGE_MM = 15;

} // namespace

PatternGrid MaterialGrid(QSize canvasMm, QSize materialMm)
{
    const long long nWidth = materialMm.width();
    const long long nHeight = materialMm.height();
    PatternGrid grid;
    grid.nRows = g_nMaterialRows;
    grid.nCols = g_nMaterialCols;
    grid.nStartXMm = (canvasMm.width() - nWidth) / 2 + EDGE_MM;
    grid.nStartYMm = (canvasMm.height() - nHeight) / 2 + EDGE_MM;
    // 30 of each distance stand outside of the quotient, so that a size below 180 x 90 is cut toward zero as well.
    grid.nColDistanceMm = (nWidth - 180) / 5 + 30;
    grid.nRowDistanceMm = (nHeight - 90) / 2 + 30;
    return grid;
}

PatternGrid MachineGrid(const QStringList& subModel)
{
    PatternGrid grid;
    grid.nRows = DeviceNumber(subModel, DEVICE_ROW);
    grid.nCols = DeviceNumber(subModel, DEVICE_COL);
    grid.nStartXMm = DeviceNumber(subModel, DEVICE_START_X);
    grid.nStartYMm = DeviceNumber(subModel, DEVICE_START_Y);
    grid.nColDistanceMm = DeviceNumber(subModel, DEVICE_COLUMN_SPACING);
    grid.nRowDistanceMm = DeviceNumber(subModel, DEVICE_LINE_SPACING);
    return grid;
}

QList<QPointF> GridPoints(const PatternGrid& grid)
{
    QList<QPointF> points;
    if (grid.nRows <= 0 || grid.nCols <= 0 || static_cast<long long>(grid.nRows) * grid.nCols > g_nMaxGridPoints) {
        ILog_WriteLogF(2, "%s, no pattern has %d rows of %d points", "GridPoints", grid.nRows, grid.nCols);
        return points;
    }
    for (int nRow = 0; nRow < grid.nRows; ++nRow) {
        for (int nCol = 0; nCol < grid.nCols; ++nCol) {
            points.append(QPointF(static_cast<double>(grid.nStartXMm + grid.nColDistanceMm * nCol),
                                  static_cast<double>(grid.nStartYMm + grid.nRowDistanceMm * nRow)));
        }
    }
    return points;
}
