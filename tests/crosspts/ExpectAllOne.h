#pragma once

#include "CalibrationPoint.h"

#include <gtest/gtest.h>

#include <vector>

/// What points become whose grid is not recognised.
inline void ExpectAllOne(const std::vector<CalibrationPoint>& points)
{
    for (const CalibrationPoint& point : points) {
        EXPECT_EQ(point.nId, 1);
    }
}
