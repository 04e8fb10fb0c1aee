#include "FisheyeModel.h"
#include "FisheyeScene.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

namespace
{

Fisheye::FisheyeModel SomeModel()
{
    Fisheye::FisheyeModel model = FisheyeScene::LeftCamera(4).model;
    model.residualPx = 0.125;
    return model;
}

/// With the check word that fits, as another version of this module would leave it: FNV-1a over the bytes of the words
/// before it, cut to 52 bits and never 0.
FishEyeCalibrationParam Sealed(FishEyeCalibrationParam record)
{
    std::uint64_t nHash = 14695981039346656037ULL;
    const auto* const pBytes = reinterpret_cast<const unsigned char*>(record.words.data());
    for (std::size_t i = 0; i < 28 * sizeof(double); ++i) {
        nHash = (nHash ^ pBytes[i]) * 1099511628211ULL;
    }
    record.words[28] = static_cast<double>((nHash >> 12) | 1U);
    return record;
}

std::string ReasonFor(const FishEyeCalibrationParam& record)
{
    const char* pReason = nullptr;
    EXPECT_FALSE(Fisheye::UnpackRecord(record, &pReason).has_value());
    return pReason ? pReason : "";
}

} // namespace

TEST(FisheyeModel, PixelsAndSurfacePointsAreInversesOfEachOther)
{
    for (std::uint64_t nSeed = 1; nSeed <= 5; ++nSeed) {
        for (const auto& camera : {FisheyeScene::LeftCamera(nSeed), FisheyeScene::RightCamera(nSeed)}) {
            for (int y = 0; y < 1944; y += 97) {
                for (int x = 0; x < 2592; x += 101) {
                    const auto surface = camera.model.SurfaceFromPixel(cv::Point2d(x, y));
                    ASSERT_TRUE(surface.has_value());
                    const auto pixel = camera.model.PixelFromMachine({surface->x, surface->y, 0.0});
                    ASSERT_TRUE(pixel.has_value());
                    ASSERT_LT(cv::norm(*pixel - cv::Point2d(x, y)), 1.0e-8);
                }
            }
        }
    }
}

TEST(FisheyeModel, APointOnTheOpticalAxisIsSeenAtThePrincipalPoint)
{
    Fisheye::FisheyeModel model;
    model.nWidth = 640;
    model.nHeight = 480;
    model.fx = model.fy = 300.0;
    model.cx = 310.0;
    model.cy = 250.0;
    model.translationMm = {0.0, 0.0, 500.0};
    model.maxThetaRad = 1.5;
    const auto pixel = model.PixelFromMachine({0.0, 0.0, 0.0});
    ASSERT_TRUE(pixel.has_value());
    EXPECT_DOUBLE_EQ(pixel->x, 310.0);
    EXPECT_DOUBLE_EQ(pixel->y, 250.0);
    const auto surface = model.SurfaceFromPixel({310.0, 250.0});
    ASSERT_TRUE(surface.has_value());
    EXPECT_NEAR(cv::norm(*surface), 0.0, 1.0e-12);
}

TEST(FisheyeModel, WhatLiesBehindTheCameraOrBeyondTheLargestAngleHasNoPixel)
{
    Fisheye::FisheyeModel model = SomeModel();
    const cv::Point3d centre = Fisheye::FisheyeProjector(model).CentreMm();
    EXPECT_FALSE(model.PixelFromMachine({centre.x, centre.y, 2.0 * centre.z}).has_value());
    model.maxThetaRad = 0.3;
    EXPECT_FALSE(model.PixelFromMachine({centre.x + 400.0, centre.y, 0.0}).has_value());
    EXPECT_TRUE(model.PixelFromMachine({centre.x + 100.0, centre.y, 0.0}).has_value());
    EXPECT_FALSE(model.SurfaceFromPixel({2500.0, 900.0}).has_value());
}

TEST(FisheyeModel, APixelWhoseRayMissesTheSurfaceHasNoSurfacePoint)
{
    Fisheye::FisheyeModel model = SomeModel();
    model.rotation = {CV_PI / 2.0, 0.0, 0.0}; // looks along the surface
    model.translationMm = {0.0, 0.0, 0.0};
    model.translationMm = -(model.RotationMatrix() * cv::Vec3d(0.0, 0.0, -700.0));
    int nMisses = 0;
    for (const double y : {200.0, 1700.0}) {
        nMisses += model.SurfaceFromPixel({1300.0, y}).has_value() ? 0 : 1;
    }
    EXPECT_EQ(nMisses, 1);
}

TEST(FisheyeModel, TheLargestAngleIsWhereTheRadiusStopsGrowing)
{
    Fisheye::FisheyeModel model;
    model.k = {-0.5, 0.0, 0.0, 0.0}; // derivative 1 - 1.5 theta^2
    EXPECT_NEAR(model.LargestMonotonicTheta(1.5), std::sqrt(1.0 / 1.5), 1.0e-6);
    model.k = {};
    EXPECT_DOUBLE_EQ(model.LargestMonotonicTheta(1.5), 1.5);
}

TEST(FisheyeRecord, AModelComesBackAsItWasPacked)
{
    const Fisheye::FisheyeModel model = SomeModel();
    const auto back = Fisheye::UnpackRecord(Fisheye::PackRecord(model));
    ASSERT_TRUE(back.has_value());
    EXPECT_EQ(back->nWidth, model.nWidth);
    EXPECT_EQ(back->nHeight, model.nHeight);
    EXPECT_EQ(back->fx, model.fx);
    EXPECT_EQ(back->fy, model.fy);
    EXPECT_EQ(back->cx, model.cx);
    EXPECT_EQ(back->cy, model.cy);
    EXPECT_EQ(back->k, model.k);
    EXPECT_EQ(back->rotation, model.rotation);
    EXPECT_EQ(back->translationMm, model.translationMm);
    EXPECT_EQ(back->residualPx, model.residualPx);
    EXPECT_EQ(back->maxThetaRad, model.maxThetaRad);
}

TEST(FisheyeRecord, UnreadWordsAreZero)
{
    const FishEyeCalibrationParam record = Fisheye::PackRecord(SomeModel());
    for (std::size_t i = 19; i < 28; ++i) {
        EXPECT_EQ(record.words[i], 0.0) << i;
    }
}

TEST(FisheyeRecord, OneOfAnotherVersionIsRefusedHoweverWellSealed)
{
    const FishEyeCalibrationParam good = Fisheye::PackRecord(SomeModel());
    EXPECT_TRUE(Fisheye::UnpackRecord(Sealed(good)).has_value());
    FishEyeCalibrationParam record = good;
    record.words[0] += 1.0;
    EXPECT_EQ(ReasonFor(Sealed(record)), "the record has an unknown version");
    for (std::size_t i = 19; i < 28; ++i) {
        record = good;
        record.words[i] = 1.0e-9;
        EXPECT_EQ(ReasonFor(Sealed(record)), "the record holds more than this version knows") << i;
    }
}

TEST(FisheyeRecord, ARecordThatWasNeverFilledIsRefused)
{
    EXPECT_EQ(ReasonFor(FishEyeCalibrationParam{}), "the record was never filled");
}

TEST(FisheyeRecord, GarbageMemoryIsRefused)
{
    for (const int nByte : {0xff, 0xcd, 0x01, 0x7f}) {
        FishEyeCalibrationParam record;
        std::memset(record.words.data(), nByte, sizeof record);
        EXPECT_NE(ReasonFor(record), "") << nByte;
    }
}

TEST(FisheyeRecord, AChangeOfAnyBitIsNoticed)
{
    const FishEyeCalibrationParam good = Fisheye::PackRecord(SomeModel());
    for (std::size_t nByte = 0; nByte < sizeof good; ++nByte) {
        for (int nBit = 0; nBit < 8; ++nBit) {
            FishEyeCalibrationParam record = good;
            unsigned char bytes[sizeof record];
            std::memcpy(bytes, &record, sizeof record);
            bytes[nByte] = static_cast<unsigned char>(bytes[nByte] ^ (1 << nBit));
            std::memcpy(&record, bytes, sizeof record);
            ASSERT_FALSE(Fisheye::UnpackRecord(record).has_value()) << "byte " << nByte << " bit " << nBit;
        }
    }
}

TEST(FisheyeRecord, NumbersThatNoCameraHasAreRefusedHoweverWellPacked)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinite = std::numeric_limits<double>::infinity();
    const auto refused = [](auto change) {
        Fisheye::FisheyeModel model = SomeModel();
        change(model);
        return !Fisheye::UnpackRecord(Fisheye::PackRecord(model)).has_value();
    };
    EXPECT_FALSE(refused([](auto&) {}));
    for (const double bad : {nan, infinite, -infinite, 0.0, -1350.0, 1.0e9}) {
        EXPECT_TRUE(refused([&](auto& model) { model.fx = bad; })) << bad;
        EXPECT_TRUE(refused([&](auto& model) { model.fy = bad; })) << bad;
        EXPECT_TRUE(refused([&](auto& model) { model.maxThetaRad = bad; })) << bad;
    }
    for (const double bad : {nan, infinite, 1.0e9}) {
        EXPECT_TRUE(refused([&](auto& model) { model.cx = bad; })) << bad;
        EXPECT_TRUE(refused([&](auto& model) { model.cy = bad; })) << bad;
        EXPECT_TRUE(refused([&](auto& model) { model.k[3] = bad; })) << bad;
        EXPECT_TRUE(refused([&](auto& model) { model.rotation[1] = bad; })) << bad;
        EXPECT_TRUE(refused([&](auto& model) { model.translationMm[2] = bad; })) << bad;
        EXPECT_TRUE(refused([&](auto& model) { model.residualPx = bad; })) << bad;
    }
    for (const int nBad : {0, -1, 1000000}) {
        EXPECT_TRUE(refused([&](auto& model) { model.nWidth = nBad; })) << nBad;
        EXPECT_TRUE(refused([&](auto& model) { model.nHeight = nBad; })) << nBad;
    }
}

TEST(FisheyeRecord, ALargestAngleBeyondTheTurningPointOfThePolynomialIsRefused)
{
    Fisheye::FisheyeModel model = SomeModel();
    model.k = {-0.5, 0.0, 0.0, 0.0};
    model.maxThetaRad = 1.4;
    EXPECT_NE(ReasonFor(Fisheye::PackRecord(model)), "");
}

TEST(FisheyeRecord, ACameraInTheSurfaceIsRefused)
{
    Fisheye::FisheyeModel model = SomeModel();
    model.rotation = {};
    model.translationMm = {-300.0, -400.0, 0.0};
    EXPECT_EQ(ReasonFor(Fisheye::PackRecord(model)), "its camera lies in the surface");
}

TEST(FisheyeRecord, ACameraBelowTheSurfaceIsRefused)
{
    Fisheye::FisheyeModel model = SomeModel();
    model.rotation = {};
    model.translationMm = {-300.0, -400.0, 700.0};
    EXPECT_TRUE(Fisheye::UnpackRecord(Fisheye::PackRecord(model)).has_value());
    model.translationMm = {-300.0, -400.0, -700.0};
    EXPECT_EQ(ReasonFor(Fisheye::PackRecord(model)), "its camera lies below the surface");
}
