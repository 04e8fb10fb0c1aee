#pragma once

// Raw picture files, grey conversion and the bookkeeping of calibration points. Linked by the library name
// CrossPtsDetectDllR. Buffers are tightly packed, top-down, grey (8 bits), BGR (24 bits) or BGRA (32 bits); sizes are
// in pixels. File names are local 8-bit text.

#include "CalibrationPoint.h"
#include "ModuleExport.h"

#include <vector>

/// Reads a picture file. `pixels` is allocated here and never freed by the caller; a pointer that an earlier call
/// handed out is used again when it comes back in. False, with the outputs untouched, for a file that is no picture.
MODULE_EXPORT bool Read_Image(unsigned char*& pixels, long& width, long& height, int& bits, const char* file);
/// Writes `pixels` to `file` in the format of its suffix. False for null pixels, absurd sizes or an unwritable file.
MODULE_EXPORT bool Save_Image(unsigned char* pixels, long width, long height, int bits, const char* file);
/// Fills `dst`, width times height bytes, from 24 or 32 bit pixels. Other depths and null pointers leave it untouched.
MODULE_EXPORT void ConvertRGBToGray(unsigned char* src, long width, long height, int bits, unsigned char* dst);
/// Gives the left camera's points the ids of their crosses and sorts them by id; the order and the ids that come in do
/// not count, all else stays with its point. The raw left picture is upside down.
/// @param points    raw picture pixels; with k points a row, those of the grid's first k columns
/// @param row, col  of the whole grid; ids run from 1, row after row
/// Every point gets id 1 where the points form no such lattice; the calibration refuses equal ids.
MODULE_EXPORT void LeftPtsRearrange(std::vector<CalibrationPoint>& points, int row, int col);
/// The same for the right camera, whose raw picture is upright and shows the grid's last k columns.
MODULE_EXPORT void RightPtsRearrange(std::vector<CalibrationPoint>& points, int row, int col);
/// Appends a point at raw picture pixel (x, y) with the next free id. False for coordinates that are not finite.
MODULE_EXPORT bool AddCalibrationPt_Coordinate(float x, float y, std::vector<CalibrationPoint>& points);
/// Removes the point of this id; the others keep theirs. False when there is none.
MODULE_EXPORT bool DeleteCalibrationPt_ID(int id, std::vector<CalibrationPoint>& points);
