#include "ICalibrate.h"

#include "DataRoot.h"

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace
{

using NewFunction = Vision::ICalibrate* (*)();
using ReleaseFunction = void (*)(Vision::ICalibrate*);

class PluginAbi : public testing::Test
{
protected:
    void SetUp() override
    {
        // Never closed: what a library of this kind has made lives to the end of the process.
        m_pLibrary = dlopen(PLUGIN_FILE, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(m_pLibrary, nullptr) << dlerror();
        m_pfnNew = reinterpret_cast<NewFunction>(dlsym(m_pLibrary, "NewInterface"));
        m_pfnRelease = reinterpret_cast<ReleaseFunction>(dlsym(m_pLibrary, "ReleaseInterface"));
        ASSERT_NE(m_pfnNew, nullptr);
        ASSERT_NE(m_pfnRelease, nullptr);
    }

    DataRoot m_data;
    void* m_pLibrary = nullptr;
    NewFunction m_pfnNew = nullptr;
    ReleaseFunction m_pfnRelease = nullptr;
};

/// The function in a slot of an object's table. The Itanium C++ ABI gives the virtual destructor the first two.
template <typename Function> Function Slot(Vision::ICalibrate* pObject, std::size_t nSlot)
{
    void** pTable = *reinterpret_cast<void***>(pObject);
    return reinterpret_cast<Function>(pTable[nSlot]);
}

std::vector<std::string> LinesOf(const std::string& strCommand)
{
    std::vector<std::string> lines;
    std::FILE* pPipe = popen(strCommand.c_str(), "r");
    std::array<char, 4096> line{};
    while (pPipe && std::fgets(line.data(), static_cast<int>(line.size()), pPipe)) {
        lines.emplace_back(line.data());
    }
    if (pPipe) {
        pclose(pPipe);
    }
    return lines;
}

} // namespace

TEST_F(PluginAbi, NothingButTheTwoExportsIsInTheSymbolTable)
{
    std::vector<std::string> names;
    for (const std::string& strLine : LinesOf("nm -D --defined-only --extern-only '" PLUGIN_FILE "'")) {
        std::string strName = strLine.substr(strLine.find_last_of(' ') + 1);
        strName.erase(strName.find_last_not_of('\n') + 1);
        names.push_back(strName);
    }
    EXPECT_EQ(names, (std::vector<std::string>{"NewInterface", "ReleaseInterface"}));
}

TEST_F(PluginAbi, TheLibraryCarriesARunpathAndNoRpath)
{
    bool bRunpath = false;
    for (const std::string& strLine : LinesOf("readelf -d '" PLUGIN_FILE "'")) {
        bRunpath = bRunpath || strLine.find("(RUNPATH)") != std::string::npos;
        EXPECT_EQ(strLine.find("(RPATH)"), std::string::npos) << strLine;
    }
    EXPECT_TRUE(bRunpath);
}

TEST_F(PluginAbi, ReleasingNothingDoesNothing)
{
    m_pfnRelease(nullptr);
}

TEST_F(PluginAbi, EachCallGivesAnObjectOfItsOwn)
{
    Vision::ICalibrate* pFirst = m_pfnNew();
    Vision::ICalibrate* pSecond = m_pfnNew();
    EXPECT_NE(pFirst, nullptr);
    EXPECT_NE(pFirst, pSecond);
    m_pfnRelease(pFirst);
    m_pfnRelease(pSecond);
}

// Every slot by its place in the table and with the argument types of the contract, not by its name.
TEST_F(PluginAbi, TheWholeTableAnswersInItsOrder)
{
    Vision::ICalibrate* p = m_pfnNew();
    using Object = Vision::ICalibrate*;
    const cv::Mat picture(8, 8, CV_8UC3, cv::Scalar::all(50));
    cv::Mat a, b, dst;
    double dX = 0.0, dY = 0.0;
    const int nWidth = 90, nHeight = 60;

    Slot<void (*)(Object, int, int)>(p, 2)(p, 1300, 900);
    EXPECT_EQ((Slot<int (*)(Object, const char*, const char*)>(p, 3)(p, "[0] L", "[1] R")), 0);
    EXPECT_EQ((Slot<int (*)(Object, std::intptr_t)>(p, 4)(p, 77)), -1);
    EXPECT_EQ((Slot<int (*)(Object, int, int)>(p, 5)(p, 1, 2)), 0);
    EXPECT_EQ((Slot<int (*)(Object, double, double, double*, double*, bool)>(p, 6)(p, 600.0, 6.0, &dX, &dY, false)), 0);
    EXPECT_EQ(dX, 100.0);
    EXPECT_EQ(dY, 1.0);
    EXPECT_EQ((Slot<int (*)(Object, double, double, double*, double*, bool)>(p, 7)(p, 100.0, 1.0, &dX, &dY, false)), 0);
    EXPECT_EQ(dX, 600.0);
    EXPECT_EQ(dY, 6.0);
    EXPECT_EQ((Slot<int (*)(Object, const cv::Mat&, const cv::Mat&, cv::Mat&, cv::Mat&, bool)>(p, 8)(
                  p, picture, picture, a, b, false)),
              -1);
    EXPECT_EQ((Slot<int (*)(Object, std::intptr_t, std::intptr_t, bool)>(p, 9)(p, 1, 2, true)), -1);
    for (const std::size_t nOpening : {10, 11, 12}) {
        EXPECT_EQ((Slot<int (*)(Object, QWidget*)>(p, nOpening)(p, nullptr)), 0);
    }
    EXPECT_EQ((Slot<int (*)(Object, IDeviceHost*)>(p, 13)(p, nullptr)), 0);
    EXPECT_EQ((Slot<int (*)(Object, const cv::Mat&, const int&, const int&, cv::Mat&)>(p, 14)(p, picture, nWidth,
                                                                                              nHeight, dst)),
              -1);
    using Both = int (*)(Object, const cv::Mat&, const cv::Mat&, cv::Mat&, bool);
    EXPECT_EQ((Slot<Both>(p, 15)(p, picture, picture, dst, false)), -1);
    EXPECT_EQ((Slot<Both>(p, 16)(p, picture, picture, dst, false)), -1);
    EXPECT_EQ((Slot<int (*)(Object, const char*)>(p, 17)(p, "/resources")), 0);
    EXPECT_TRUE(dst.empty());
    m_pfnRelease(p);
}

TEST_F(PluginAbi, AHostCallsThroughTheHeaderAsWell)
{
    Vision::ICalibrate* p = m_pfnNew();
    cv::Mat dst;
    const cv::Mat picture(8, 8, CV_8UC3, cv::Scalar::all(50));
    p->SetWorkAreaSize(1300, 900);
    EXPECT_EQ(p->ReservedOperation3(0), -1);
    EXPECT_EQ(p->ReservedOperation8(0, 0, false), -1);
    EXPECT_EQ(p->CalibAndFusionImage(picture, picture, dst, false), -1);
    EXPECT_EQ(p->SetCalibrationResourcePath("/r"), 0);
    m_pfnRelease(p);
}
