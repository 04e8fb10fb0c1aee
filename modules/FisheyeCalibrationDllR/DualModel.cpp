#include "DualModel.h"

#include "FisheyeCalibrationDllR.h"
#include "FisheyeModel.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

namespace Fisheye
{

namespace
{

constexpr std::uint32_t kDualVersion = 0x46450101; // "FE", pair, layout 1

enum Word { WordVersion = 0, WordPxPerMm, WordOriginX, WordOriginY, WordWidth, WordHeight, WordCheck };

/// FNV-1a over the words before the check word.
std::uint32_t CheckWord(const DualFishEyeCalibrationParam& record)
{
    std::uint32_t nHash = 2166136261U;
    for (std::size_t i = 0; i < WordCheck; ++i) {
        for (int nShift = 0; nShift < 32; nShift += 8) {
            nHash = (nHash ^ ((record.words[i] >> nShift) & 0xffU)) * 16777619U;
        }
    }
    return nHash;
}

} // namespace

DualFishEyeCalibrationParam PackDualRecord(const DualModel& model)
{
    DualFishEyeCalibrationParam record;
    record.words[WordVersion] = kDualVersion;
    record.words[WordPxPerMm] = std::bit_cast<std::uint32_t>(model.pxPerMm);
    record.words[WordOriginX] = std::bit_cast<std::uint32_t>(model.originXmm);
    record.words[WordOriginY] = std::bit_cast<std::uint32_t>(model.originYmm);
    record.words[WordWidth] = static_cast<std::uint32_t>(model.nWidth);
    record.words[WordHeight] = static_cast<std::uint32_t>(model.nHeight);
    record.words[WordCheck] = CheckWord(record);
    return record;
}

std::optional<DualModel> UnpackDualRecord(const DualFishEyeCalibrationParam& record, const char** pReason)
{
    const auto refuse = [pReason](const char* pText) {
        if (pReason) {
            *pReason = pText;
        }
        return std::nullopt;
    };
    const auto& words = record.words;
    if (std::all_of(words.begin(), words.end(), [](std::uint32_t nWord) { return nWord == 0; })) {
        return refuse("the record was never filled");
    }
    if (words[WordVersion] != kDualVersion) {
        return refuse("the record is of another version");
    }
    if (words[WordCheck] != CheckWord(record)) {
        return refuse("the record is damaged: its check word does not fit");
    }
    DualModel model;
    model.pxPerMm = std::bit_cast<float>(words[WordPxPerMm]);
    model.originXmm = std::bit_cast<float>(words[WordOriginX]);
    model.originYmm = std::bit_cast<float>(words[WordOriginY]);
    model.nWidth = static_cast<int>(words[WordWidth]);
    model.nHeight = static_cast<int>(words[WordHeight]);
    const bool bUsable = std::isfinite(model.pxPerMm) && model.pxPerMm > 0.0f && model.pxPerMm < 1000.0f &&
                         std::isfinite(model.originXmm) && std::isfinite(model.originYmm) && model.nWidth > 0 &&
                         model.nHeight > 0 && model.nWidth <= kMaxSide && model.nHeight <= kMaxSide;
    if (!bUsable) {
        return refuse("the record holds numbers that no stitched picture has");
    }
    return model;
}

} // namespace Fisheye

bool DualCam_CorrectedImageToWorldPoint(float x, float y, DualFishEyeCalibrationParam param, float& worldX,
                                        float& worldY, float& worldZ)
{
    const auto model = Fisheye::UnpackDualRecord(param);
    if (!model || !std::isfinite(x) || !std::isfinite(y)) {
        return false;
    }
    // In double, so that no more than the arguments' own digits are lost.
    worldX = static_cast<float>(double{x} / double{model->pxPerMm} + double{model->originXmm});
    worldY = static_cast<float>(double{y} / double{model->pxPerMm} + double{model->originYmm});
    worldZ = 0.0f;
    return true;
}

bool DualCam_WorldToSecondCorrectedImagePoint(float worldX, float worldY, float, DualFishEyeCalibrationParam param,
                                              float& x, float& y)
{
    const auto model = Fisheye::UnpackDualRecord(param);
    if (!model || !std::isfinite(worldX) || !std::isfinite(worldY)) {
        return false;
    }
    x = static_cast<float>((double{worldX} - double{model->originXmm}) * double{model->pxPerMm});
    y = static_cast<float>((double{worldY} - double{model->originYmm}) * double{model->pxPerMm});
    return true;
}
