#pragma once

// The text files in which the automatic flow keeps its marks between calibration and run time: one line a point, twelve
// values separated by one blank, in the record's order. Reader and writer stand side by side here and serve every
// caller.

#include "CalibrationPoint.h"

#include <QString>

#include <vector>

/// Writes one file. Numbers take the text stream's default format: six significant digits, so that a picture coordinate
/// loses its lower digits; this is meant. False, with a log line that begins with `pCaller`, when it cannot be opened.
bool WritePointFile(const QString& strFile, const std::vector<CalibrationPoint>& points, const char* pCaller);

/// Reads the left, then the right file. A blank line is a parse failure: lines are never skipped. False, with a log
/// line that begins with `pCaller`, at a file that does not open or a line that does not parse; the vectors keep what
/// was read.
bool ReadPointFiles(const QString& strLeftFile, const QString& strRightFile, std::vector<CalibrationPoint>& leftPoints,
                    std::vector<CalibrationPoint>& rightPoints, const char* pCaller);
