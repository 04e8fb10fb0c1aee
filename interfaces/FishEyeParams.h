#pragma once

// The two records of the fisheye module. They are copied whole and passed by value; only that module reads their
// contents.

#include <array>
#include <cstdint>
#include <type_traits>

/// One camera's model.
struct FishEyeCalibrationParam {
    std::array<double, 29> words{};
};

/// The pair's model. Four-byte words only: one double would align it to 32 bytes.
struct DualFishEyeCalibrationParam {
    std::array<std::uint32_t, 7> words{};
};

static_assert(sizeof(FishEyeCalibrationParam) == 232 && alignof(FishEyeCalibrationParam) == 8);
static_assert(sizeof(DualFishEyeCalibrationParam) == 28 && alignof(DualFishEyeCalibrationParam) == 4);
static_assert(std::is_trivially_copyable_v<FishEyeCalibrationParam>);
static_assert(std::is_trivially_copyable_v<DualFishEyeCalibrationParam>);
