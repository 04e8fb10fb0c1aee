#pragma once

// One line of a point file: the twelve values of a mark, separated by one blank, in the record's order. The one copy of
// that order, for everybody who writes or reads such files through a text stream; files and failures are theirs.

#include "CalibrationPoint.h"

/// Writes the values, without a line end, in the stream's own number format.
template <typename TextStream> void PutCalibrationPoint(TextStream& stream, const CalibrationPoint& point)
{
    stream << point.nId << ' ' << point.nRow << ' ' << point.nCol << ' ';
    stream << point.fWorldX << ' ' << point.fWorldY << ' ' << point.fWorldZ << ' ';
    stream << point.fImageX << ' ' << point.fImageY << ' ';
    stream << point.dValue0 << ' ' << point.dValue1 << ' ' << point.dValue2 << ' ' << point.dValue3;
}

/// Reads the values; the stream's status tells whether all were there.
template <typename TextStream> void GetCalibrationPoint(TextStream& stream, CalibrationPoint& point)
{
    stream >> point.nId >> point.nRow >> point.nCol;
    stream >> point.fWorldX >> point.fWorldY >> point.fWorldZ >> point.fImageX >> point.fImageY;
    stream >> point.dValue0 >> point.dValue1 >> point.dValue2 >> point.dValue3;
}
