#pragma once

// Where the crosses of the pattern go: a grid in machine millimetres, from a sub-model's numbers or from the size of a
// piece of material. Whole millimetres throughout; quotients are cut toward zero.

#include <QList>
#include <QPointF>
#include <QSize>
#include <QStringList>

struct PatternGrid {
    int nRows = 0;
    int nCols = 0;
    long long nStartXMm = 0; ///< first point
    long long nStartYMm = 0;
    long long nColDistanceMm = 0; ///< along X
    long long nRowDistanceMm = 0; ///< along Y
};

inline constexpr int g_nMaterialRows = 3;
inline constexpr int g_nMaterialCols = 6;
/// More points than any machine engraves; a damaged file must not take the host's memory.
inline constexpr long long g_nMaxGridPoints = 10000;

/// 3 x 6 crosses on a piece of material in the middle of the canvas, the outer ones 15 mm inside of it. The material
/// may be larger than the canvas; the start is negative then.
PatternGrid MaterialGrid(QSize canvasMm, QSize materialMm);
/// The grid of a machine.
/// @param subModel  the ten texts of `ReadDeviceTypes`
PatternGrid MachineGrid(const QStringList& subModel);

/// Row after row. None, with a log line, for a grid without rows or columns and for one of too many points.
QList<QPointF> GridPoints(const PatternGrid& grid);
