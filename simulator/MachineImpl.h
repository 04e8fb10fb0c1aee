#pragma once

// The inside of a machine; included by Machine.cpp and Truth.cpp only.

#include "CameraModel.h"
#include "Engraving.h"
#include "HeldChart.h"
#include "Machine.h"

namespace Simulator
{

/// One mounted camera and what of its picture does not change from snap to snap.
struct MountedCamera {
    explicit MountedCamera(const CameraModel& cameraModel) : model(cameraModel) {}

    CameraModel model;
    std::uint64_t nNoiseSeed = 0;
    cv::Vec3f gain;          ///< exposure and white balance, BGR
    float cornerLoss = 0.0f; ///< light lost half the picture's diagonal away from the middle
    cv::Mat surfaceMm;       ///< CV_32FC2, the surface point of each pixel
    cv::Mat clean;           ///< CV_16UC3, fresh material, 128 units per level
    cv::Mat coverage;        ///< CV_16UC1, empty while nothing is engraved
    bool bCoverageStale = false;
    std::uint64_t nSnaps = 0;
};

struct Machine::Impl {
    Impl(Kind eKind, std::uint64_t nMachineSeed);

    MountedCamera& Camera(Side side) { return side == Side::Left ? left : right; }
    const MountedCamera& Camera(Side side) const { return side == Side::Left ? left : right; }
    /// Material and camera shading at each pixel; once per camera and sheet.
    void PrepareClean(MountedCamera& camera) const;
    void MarkStale();

    Kind kind;
    std::uint64_t nSeed;
    std::uint64_t nSheets = 0;
    std::optional<HeldChart> chart;
    float lamp = 1.0f; ///< share of the light that is on
    Engraving engraving;
    MountedCamera left;
    MountedCamera right;
};

} // namespace Simulator
