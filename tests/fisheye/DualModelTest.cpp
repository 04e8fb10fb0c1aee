#include "DualModel.h"

#include "FisheyeCalibrationDllR.h"

#include <gtest/gtest.h>

#include <limits>

namespace
{

Fisheye::DualModel SomePair()
{
    Fisheye::DualModel model;
    model.nWidth = 7800;
    model.nHeight = 5400;
    return model;
}

bool Refused(const Fisheye::DualModel& model)
{
    return !Fisheye::UnpackDualRecord(Fisheye::PackDualRecord(model)).has_value();
}

} // namespace

TEST(DualRecord, AModelComesBackAsItWasPacked)
{
    Fisheye::DualModel model = SomePair();
    model.originXmm = -1.5f;
    model.originYmm = 0.1f;
    const auto back = Fisheye::UnpackDualRecord(Fisheye::PackDualRecord(model));
    ASSERT_TRUE(back.has_value());
    EXPECT_EQ(back->pxPerMm, 6.0f);
    EXPECT_EQ(back->originXmm, -1.5f);
    EXPECT_EQ(back->originYmm, 0.1f);
    EXPECT_EQ(back->nWidth, 7800);
    EXPECT_EQ(back->nHeight, 5400);
}

TEST(DualRecord, ARecordThatWasNeverFilledIsRefusedWithThatReason)
{
    const char* pReason = "";
    EXPECT_FALSE(Fisheye::UnpackDualRecord({}, &pReason).has_value());
    EXPECT_STREQ(pReason, "the record was never filled");
}

TEST(DualRecord, AChangeOfAnyBitIsNoticed)
{
    const DualFishEyeCalibrationParam good = Fisheye::PackDualRecord(SomePair());
    for (std::size_t nWord = 0; nWord < good.words.size(); ++nWord) {
        for (int nBit = 0; nBit < 32; ++nBit) {
            DualFishEyeCalibrationParam record = good;
            record.words[nWord] ^= 1U << nBit;
            ASSERT_FALSE(Fisheye::UnpackDualRecord(record).has_value()) << nWord << " " << nBit;
        }
    }
}

TEST(DualRecord, ImpossibleNumbersAreRefusedHoweverWellPacked)
{
    EXPECT_FALSE(Refused(SomePair()));
    for (const float bad : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()}) {
        for (float Fisheye::DualModel::*pField :
             {&Fisheye::DualModel::pxPerMm, &Fisheye::DualModel::originXmm, &Fisheye::DualModel::originYmm}) {
            Fisheye::DualModel model = SomePair();
            model.*pField = bad;
            EXPECT_TRUE(Refused(model));
        }
    }
    for (const int nBad : {0, -1, 1 << 30}) {
        for (int Fisheye::DualModel::*pField : {&Fisheye::DualModel::nWidth, &Fisheye::DualModel::nHeight}) {
            Fisheye::DualModel model = SomePair();
            model.*pField = nBad;
            EXPECT_TRUE(Refused(model)) << nBad;
        }
    }
}

TEST(DualConversion, SixPixelsAreAMillimetreAndTheFirstPixelIsTheOrigin)
{
    const DualFishEyeCalibrationParam record = Fisheye::PackDualRecord(SomePair());
    float x = -1.0f;
    float y = -1.0f;
    float z = -1.0f;
    ASSERT_TRUE(DualCam_CorrectedImageToWorldPoint(0.0f, 0.0f, record, x, y, z));
    EXPECT_EQ(x, 0.0f);
    EXPECT_EQ(y, 0.0f);
    EXPECT_EQ(z, 0.0f);
    ASSERT_TRUE(DualCam_CorrectedImageToWorldPoint(600.0f, 3.0f, record, x, y, z));
    EXPECT_EQ(x, 100.0f);
    EXPECT_EQ(y, 0.5f);
    ASSERT_TRUE(DualCam_WorldToSecondCorrectedImagePoint(100.0f, 0.5f, 0.0f, record, x, y));
    EXPECT_EQ(x, 600.0f);
    EXPECT_EQ(y, 3.0f);
}

TEST(DualConversion, ThereAndBackEndsWhereItBegan)
{
    const DualFishEyeCalibrationParam record = Fisheye::PackDualRecord(SomePair());
    for (float pixel = 0.25f; pixel < 7800.0f; pixel += 111.5f) {
        float worldX = 0.0f;
        float worldY = 0.0f;
        float worldZ = 0.0f;
        float x = 0.0f;
        float y = 0.0f;
        ASSERT_TRUE(DualCam_CorrectedImageToWorldPoint(pixel, 0.5f * pixel, record, worldX, worldY, worldZ));
        ASSERT_TRUE(DualCam_WorldToSecondCorrectedImagePoint(worldX, worldY, worldZ, record, x, y));
        EXPECT_NEAR(x, pixel, 1.0e-3f);
        EXPECT_NEAR(y, 0.5f * pixel, 1.0e-3f);
    }
}

TEST(DualConversion, AnUnusableRecordOrPointIsRefusedAndNothingIsWritten)
{
    const DualFishEyeCalibrationParam good = Fisheye::PackDualRecord(SomePair());
    float x = 7.0f;
    float y = 7.0f;
    float z = 7.0f;
    EXPECT_FALSE(DualCam_CorrectedImageToWorldPoint(1.0f, 1.0f, {}, x, y, z));
    EXPECT_FALSE(DualCam_WorldToSecondCorrectedImagePoint(1.0f, 1.0f, 0.0f, {}, x, y));
    const float nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_FALSE(DualCam_CorrectedImageToWorldPoint(nan, 1.0f, good, x, y, z));
    EXPECT_FALSE(DualCam_WorldToSecondCorrectedImagePoint(1.0f, nan, 0.0f, good, x, y));
    EXPECT_EQ(x, 7.0f);
    EXPECT_EQ(y, 7.0f);
    EXPECT_EQ(z, 7.0f);
}
