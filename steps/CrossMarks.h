#pragma once

// The bookkeeping of the crosses that an operator marks in the automatic flow: their records, the half turn of the left
// picture and of the marks in it, and the pattern's points as a broken-off run left them. No widget.

#include "CalibrationPoint.h"

#include <opencv2/core/mat.hpp>

#include <QList>
#include <QPointF>

#include <optional>
#include <vector>

/// The id of a new mark. Where one of 1 to the number of marks is free, the id after the first free one, taken or not;
/// this is meant. Else the next after the last.
int NextMarkId(const std::vector<CalibrationPoint>& marks);

/// @param image  picture pixels
/// Row and column count `nId` off by the grid's columns and rows, crossed; this is meant. Numbers of 0 leave them 0.
CalibrationPoint NewMark(int nId, int nRowSingle, int nColSingle, QPointF image);

void SortById(std::vector<CalibrationPoint>& marks);

/// The picture turned by 180 degrees about (cols / 2, rows / 2) in whole pixels, at the same size. What comes from
/// beyond its border is black: the first column and row of an even size.
cv::Mat HalfTurned(const cv::Mat& picture);

/// The same turn for marks, so that they go there and back exactly. Their order is reversed.
/// @param picture  its size
/// @param turned  appended to
/// False, with a log line, for no marks.
bool RotatePoints(const QList<QPointF>& marks, cv::Size picture, std::vector<cv::Point2f>& turned);

/// The pattern's point number `nIndex`, counted from 0, as the progress file keeps it, millimetres; empty where it has
/// none.
std::optional<QPointF> StoredWorldPoint(int nIndex);
/// The first `nCount` of them, up to the first that is missing.
QList<QPointF> StoredWorldPoints(int nCount);
