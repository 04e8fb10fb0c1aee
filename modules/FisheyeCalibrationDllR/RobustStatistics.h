#pragma once

// Statistics that a few outliers do not move.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

namespace Fisheye
{

/// The upper one of two in the middle; 0 for no values.
inline double MedianOf(std::vector<double> values)
{
    if (values.empty()) {
        return 0.0;
    }
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// Sigma of a normal distribution whose values have this median distance from zero.
inline double RobustSigma(std::vector<double> values)
{
    for (double& value : values) {
        value = std::abs(value);
    }
    return 1.4826 * MedianOf(std::move(values));
}

} // namespace Fisheye
