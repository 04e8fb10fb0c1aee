#pragma once

// The mark record that crosses the boundary to the cross and fisheye modules, always in a std::vector. Its layout is a
// binary contract.

#include <cstddef>
#include <cstdint>
#include <type_traits>

struct CalibrationPoint {
    std::int32_t nId = 0;  ///< ordinal of the cross, from 1
    std::int32_t nRow = 0; ///< row of the grid
    std::int32_t nCol = 0; ///< column of the grid
    float fWorldX = 0.0f;  ///< machine X, millimetres
    float fWorldY = 0.0f;  ///< machine Y, millimetres
    float fWorldZ = 0.0f;  ///< machine Z, millimetres, 0 on the surface
    float fImageX = 0.0f;  ///< raw picture x, pixels
    float fImageY = 0.0f;  ///< raw picture y, pixels
    double dValue0 = 0.0;  ///< not used by the plug-in
    double dValue1 = 0.0;  ///< not used by the plug-in
    double dValue2 = 0.0;  ///< not used by the plug-in
    double dValue3 = 0.0;  ///< not used by the plug-in
};

static_assert(sizeof(CalibrationPoint) == 64);
static_assert(std::is_trivially_copyable_v<CalibrationPoint>);
static_assert(std::is_standard_layout_v<CalibrationPoint>);
static_assert(offsetof(CalibrationPoint, nId) == 0);
static_assert(offsetof(CalibrationPoint, nRow) == 4);
static_assert(offsetof(CalibrationPoint, nCol) == 8);
static_assert(offsetof(CalibrationPoint, fWorldX) == 12);
static_assert(offsetof(CalibrationPoint, fWorldY) == 16);
static_assert(offsetof(CalibrationPoint, fWorldZ) == 20);
static_assert(offsetof(CalibrationPoint, fImageX) == 24);
static_assert(offsetof(CalibrationPoint, fImageY) == 28);
static_assert(offsetof(CalibrationPoint, dValue0) == 32);
static_assert(offsetof(CalibrationPoint, dValue1) == 40);
static_assert(offsetof(CalibrationPoint, dValue2) == 48);
static_assert(offsetof(CalibrationPoint, dValue3) == 56);
