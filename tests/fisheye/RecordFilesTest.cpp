#include "DualModel.h"
#include "FisheyeModel.h"
#include "FisheyeScene.h"
#include "FullDisk.h"

#include "FisheyeCalibrationDllR.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include <sys/stat.h>
#include <unistd.h>

namespace
{

namespace fs = std::filesystem;

class RecordFiles : public testing::Test
{
protected:
    RecordFiles()
    {
        std::string name = (fs::temp_directory_path() / "fisheye_records_XXXXXX").string();
        m_folder = mkdtemp(name.data());
    }
    ~RecordFiles() override { fs::remove_all(m_folder); }

    std::string Path(const char* pName) const { return (m_folder / pName).string(); }

    static std::string Read(const std::string& path)
    {
        std::ifstream stream(path, std::ios::binary);
        std::stringstream text;
        text << stream.rdbuf();
        return text.str();
    }

    std::string Write(const std::string& text) const
    {
        const std::string path = Path("written");
        std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
        return path;
    }

    static FishEyeCalibrationParam CameraRecord() { return Fisheye::PackRecord(FisheyeScene::LeftCamera(7).model); }

    static DualFishEyeCalibrationParam PairRecord()
    {
        Fisheye::DualModel model;
        model.originXmm = 0.1f;
        model.originYmm = -3.0f;
        model.nWidth = 7800;
        model.nHeight = 5400;
        return Fisheye::PackDualRecord(model);
    }

    /// Loads as a camera's record; true when it was refused and the record was left alone.
    static bool CameraRefused(const std::string& path)
    {
        FishEyeCalibrationParam param;
        param.words.fill(42.0);
        const FishEyeCalibrationParam before = param;
        return !LoadCalibrationParam(path.c_str(), param) && param.words == before.words;
    }

    static bool PairRefused(const std::string& path)
    {
        DualFishEyeCalibrationParam param;
        param.words.fill(42);
        const DualFishEyeCalibrationParam before = param;
        return !LoadDualCamerasCalibrationParam(path.c_str(), param) && param.words == before.words;
    }

    static std::string Replaced(std::string text, const std::string& from, const std::string& to)
    {
        const std::size_t nAt = text.find(from);
        EXPECT_NE(nAt, std::string::npos) << from;
        return nAt == std::string::npos ? text : text.replace(nAt, from.size(), to);
    }

    std::string GoodCameraText() const
    {
        const std::string path = Path("good.xml");
        EXPECT_TRUE(SaveCalibrationParam(path.c_str(), CameraRecord()));
        return Read(path);
    }

    std::string GoodPairText() const
    {
        const std::string path = Path("good.ini");
        EXPECT_TRUE(SaveDualCamerasCalibrationParam(path.c_str(), PairRecord()));
        return Read(path);
    }

    fs::path m_folder;
};

} // namespace

TEST_F(RecordFiles, ACameraRecordComesBackBitForBit)
{
    for (std::uint64_t nSeed = 1; nSeed <= 20; ++nSeed) {
        const std::string path = Path("camera.xml");
        const FishEyeCalibrationParam record = Fisheye::PackRecord(FisheyeScene::RightCamera(nSeed).model);
        ASSERT_TRUE(SaveCalibrationParam(path.c_str(), record));
        FishEyeCalibrationParam back;
        ASSERT_TRUE(LoadCalibrationParam(path.c_str(), back));
        EXPECT_EQ(std::memcmp(&record, &back, sizeof record), 0);
    }
}

TEST_F(RecordFiles, NumbersThatAreMinusNothingComeBackToo)
{
    Fisheye::FisheyeModel model = FisheyeScene::RightCamera(3).model;
    model.k = {-0.0, -0.0, -0.0, -0.0};
    model.rotation = {-0.0, -0.0, -0.0};
    model.maxThetaRad = model.LargestMonotonicTheta(1.5);
    const FishEyeCalibrationParam record = Fisheye::PackRecord(model);
    ASSERT_TRUE(SaveCalibrationParam(Path("camera.xml").c_str(), record));
    FishEyeCalibrationParam back;
    ASSERT_TRUE(LoadCalibrationParam(Path("camera.xml").c_str(), back));
    EXPECT_EQ(std::memcmp(&record, &back, sizeof record), 0);
}

TEST_F(RecordFiles, APairRecordComesBackBitForBit)
{
    const std::string path = Path("pair.ini");
    ASSERT_TRUE(SaveDualCamerasCalibrationParam(path.c_str(), PairRecord()));
    DualFishEyeCalibrationParam back;
    ASSERT_TRUE(LoadDualCamerasCalibrationParam(path.c_str(), back));
    EXPECT_EQ(back.words, PairRecord().words);
}

TEST_F(RecordFiles, NothingButTheFileIsLeftBehind)
{
    GoodCameraText();
    GoodPairText();
    EXPECT_EQ(std::distance(fs::directory_iterator(m_folder), fs::directory_iterator()), 2);
}

TEST_F(RecordFiles, AnUnusableRecordIsNotWrittenAndTheOldFileStays)
{
    const std::string path = Write("old");
    FishEyeCalibrationParam camera = CameraRecord();
    camera.words[3] += 1.0;
    EXPECT_FALSE(SaveCalibrationParam(path.c_str(), camera));
    EXPECT_FALSE(SaveCalibrationParam(path.c_str(), FishEyeCalibrationParam{}));
    DualFishEyeCalibrationParam pair = PairRecord();
    pair.words[1] ^= 1U;
    EXPECT_FALSE(SaveDualCamerasCalibrationParam(path.c_str(), pair));
    EXPECT_FALSE(SaveDualCamerasCalibrationParam(path.c_str(), DualFishEyeCalibrationParam{}));
    EXPECT_EQ(Read(path), "old");
}

TEST_F(RecordFiles, AFullDiskLeavesTheOldFileAndNothingBeside)
{
    const std::string path = Write("old");
    bool bCamera = true;
    bool bPair = true;
    {
        const FullDisk full;
        bCamera = SaveCalibrationParam(path.c_str(), CameraRecord());
        bPair = SaveDualCamerasCalibrationParam(path.c_str(), PairRecord());
    }
    EXPECT_FALSE(bCamera);
    EXPECT_FALSE(bPair);
    EXPECT_EQ(Read(path), "old");
    EXPECT_EQ(std::distance(fs::directory_iterator(m_folder), fs::directory_iterator()), 1);
}

TEST_F(RecordFiles, AFolderThatIsNotThereCannotBeWrittenTo)
{
    EXPECT_FALSE(SaveCalibrationParam(Path("no/such/camera.xml").c_str(), CameraRecord()));
    EXPECT_FALSE(SaveDualCamerasCalibrationParam(Path("no/such/pair.ini").c_str(), PairRecord()));
    EXPECT_FALSE(SaveCalibrationParam(nullptr, CameraRecord()));
    EXPECT_FALSE(SaveDualCamerasCalibrationParam(nullptr, PairRecord()));
}

TEST_F(RecordFiles, AMissingFileAndNoNameAreRefused)
{
    EXPECT_TRUE(CameraRefused(Path("none.xml")));
    EXPECT_TRUE(PairRefused(Path("none.ini")));
    FishEyeCalibrationParam camera;
    DualFishEyeCalibrationParam pair;
    EXPECT_FALSE(LoadCalibrationParam(nullptr, camera));
    EXPECT_FALSE(LoadDualCamerasCalibrationParam(nullptr, pair));
}

TEST_F(RecordFiles, AFolderOrAPipeInPlaceOfTheFileIsRefusedAtOnce)
{
    EXPECT_TRUE(CameraRefused(m_folder.string()));
    EXPECT_TRUE(PairRefused(m_folder.string()));
    ASSERT_EQ(mkfifo(Path("pipe").c_str(), 0600), 0);
    EXPECT_TRUE(CameraRefused(Path("pipe")));
    EXPECT_TRUE(PairRefused(Path("pipe")));
}

TEST_F(RecordFiles, ACameraFileCutShortAnywhereIsRefused)
{
    const std::string good = GoodCameraText();
    const std::size_t nNeeded = good.find("</opencv_storage>") + std::strlen("</opencv_storage>");
    for (std::size_t n = 0; n < nNeeded; ++n) {
        ASSERT_TRUE(CameraRefused(Write(good.substr(0, n)))) << n;
    }
}

TEST_F(RecordFiles, APairFileCutShortAnywhereIsRefused)
{
    const std::string good = GoodPairText();
    for (std::size_t n = 0; n + 1 < good.size(); ++n) {
        ASSERT_TRUE(PairRefused(Write(good.substr(0, n)))) << n;
    }
}

TEST_F(RecordFiles, BinaryFilesAreRefused)
{
    std::string binary(5000, '\0');
    for (std::size_t i = 0; i < binary.size(); ++i) {
        binary[i] = static_cast<char>((i * 2654435761U) >> 11);
    }
    EXPECT_TRUE(CameraRefused(Write(binary)));
    EXPECT_TRUE(PairRefused(Write(binary)));
    EXPECT_TRUE(CameraRefused(Write(std::string(100, '\0'))));
    EXPECT_TRUE(PairRefused(Write(std::string(100, '\0'))));
    EXPECT_TRUE(CameraRefused(Write("<?xml" + binary + "</opencv_storage>")));
}

TEST_F(RecordFiles, HugeFilesAreRefusedUnread)
{
    const std::string path = Write(GoodCameraText());
    fs::resize_file(path, std::uintmax_t{1} << 40); // sparse
    EXPECT_TRUE(CameraRefused(path));
    EXPECT_TRUE(PairRefused(path));
}

TEST_F(RecordFiles, DeeplyNestedTagsAreRefusedBeforeTheyAreFollowed)
{
    std::string nested = "<?xml version=\"1.0\"?>\n<opencv_storage>\n";
    for (int i = 0; i < 100000; ++i) {
        nested += "<a>";
    }
    EXPECT_TRUE(CameraRefused(Write(nested + "</opencv_storage>\n")));
}

TEST_F(RecordFiles, AnyChangedDigitOfACameraFileIsNoticed)
{
    const std::string good = GoodCameraText();
    const std::size_t nFrom = good.find("<picture_width>");
    int nChanged = 0;
    for (std::size_t i = nFrom; i < good.size(); ++i) {
        if (good[i] >= '0' && good[i] <= '9' && good[i - 1] != 'e' && good[i - 2] != 'e' && good[i - 3] != 'e') {
            std::string text = good;
            text[i] = text[i] == '9' ? '3' : static_cast<char>(text[i] + 1);
            FishEyeCalibrationParam param;
            if (LoadCalibrationParam(Write(text).c_str(), param)) {
                // The last digit of a number may not change its value.
                EXPECT_EQ(param.words, CameraRecord().words) << i;
            } else {
                ++nChanged;
            }
        }
    }
    EXPECT_GT(nChanged, 100);
}

TEST_F(RecordFiles, CameraFilesWithMissingKeysOrWrongTypesAreRefused)
{
    const std::string good = GoodCameraText();
    for (const char* pKey : {"format", "picture_width", "picture_height", "fx_px", "fy_px", "cx_px", "cy_px",
                             "distortion", "camera_from_machine_rotation_rad", "camera_from_machine_translation_mm",
                             "residual_px", "max_theta_rad", "check"}) {
        const std::string open = std::string("<") + pKey + ">";
        const std::string close = std::string("</") + pKey + ">";
        const std::string renamed = Replaced(Replaced(good, open, "<other>"), close, "</other>");
        EXPECT_TRUE(CameraRefused(Write(renamed))) << pKey;
        const std::size_t nFrom = good.find(open) + open.size();
        const std::size_t nTo = good.find(close);
        for (const char* pValue : {"", "\"text\"", ".Nan", ".Inf", "-.Inf", "1 2 3 4 5 6", "<a>1</a>", "-1",
                                   "99999999999999999999999999", "1e999"}) {
            const std::string text = good.substr(0, nFrom) + pValue + good.substr(nTo);
            EXPECT_TRUE(CameraRefused(Write(text))) << pKey << " = " << pValue;
        }
    }
}

TEST_F(RecordFiles, PairFilesWithMissingKeysOrWrongTypesAreRefused)
{
    const std::string good = GoodPairText();
    for (const char* pKey : {"VERSION", "PX_PER_MM", "ORIGIN_X_MM", "ORIGIN_Y_MM", "WIDTH_PX", "HEIGHT_PX", "CHECK"}) {
        EXPECT_TRUE(PairRefused(Write(Replaced(good, pKey, "OTHER")))) << pKey;
        const std::size_t nFrom = good.find(std::string(pKey) + "=") + std::strlen(pKey) + 1;
        const std::size_t nTo = good.find('\n', nFrom);
        for (const char* pValue : {"", "text", "nan", "inf", "-7", "1e39", "6.5.4", "99999999999999999999", "0x10"}) {
            const std::string text = good.substr(0, nFrom) + pValue + good.substr(nTo);
            EXPECT_TRUE(PairRefused(Write(text))) << pKey << " = " << pValue;
        }
    }
    EXPECT_TRUE(PairRefused(Write(Replaced(good, "[DUAL_CAMERA]", "[OTHER]"))));
}

TEST_F(RecordFiles, APairFileWithForeignLineEndsAndSectionsIsRead)
{
    std::string text;
    for (const char character : GoodPairText()) {
        text += character == '\n' ? std::string("\r\n") : std::string(1, character);
    }
    DualFishEyeCalibrationParam param;
    EXPECT_TRUE(LoadDualCamerasCalibrationParam(Write("[OTHER]\r\nCHECK=1\r\n" + text).c_str(), param));
    EXPECT_EQ(param.words, PairRecord().words);
}

TEST_F(RecordFiles, TheOneIsNotTakenForTheOther)
{
    EXPECT_TRUE(CameraRefused(Write(GoodPairText())));
    EXPECT_TRUE(PairRefused(Write(GoodCameraText())));
}
