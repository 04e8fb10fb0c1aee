// The headers' own assertions hold sizes and offsets; here the tables of operations are walked by slot number, as a
// separately compiled module does, and records are written and read byte by byte.

#include "CalibrationPoint.h"
#include "ConnectRecord.h"
#include "FactoryParam.h"
#include "FishEyeParams.h"
#include "ICalibrate.h"
#include "ICameraDevice.h"
#include "IDeviceHost.h"
#include "IDriverRD.h"
#include "IErrCodeMgr.h"
#include "MicroLine.h"
#include "ThreadDialog.h"

#include <gtest/gtest.h>

#include <cstring>

namespace
{

template <typename Function, typename Object> Function Slot(Object* pObject, std::size_t nSlot)
{
    void** pTable = *reinterpret_cast<void***>(pObject);
    return reinterpret_cast<Function>(pTable[nSlot]);
}

template <typename Value, typename Record> Value At(const Record& record, std::size_t nOffset)
{
    Value value;
    std::memcpy(&value, reinterpret_cast<const char*>(&record) + nOffset, sizeof value);
    return value;
}

/// Each operation answers its own number in the table; the destructor takes the first two slots.
class NumberedCamera : public ICameraDevice
{
public:
    int GetCameraList(std::vector<std::string>&) override { return 2; }
    int OpenCamera(const char*) override { return 3; }
    int CloseCamera(const char*) override { return 4; }
    bool IsCameraOpen(const char*) override { return true; }
    int SnapPicture(cv::Mat&, const char*) override { return 6; }
    int Reserved7() override { return 7; }
    int SetIntProperty(const char*, const int*) override { return 8; }
    int SetProperty(const char*, const int*) override { return 9; }
    int Reserved10() override { return 10; }
    int SetExposureMode(const char*, const int*) override { return 11; }
    int SetExposureValue(const char*, const int*) override { return 12; }
    std::string GetCameraName() override { return "thirteen"; }
    bool IsCameraAlive() override { return true; }
    bool ApplyCameraParameters(const char*, int nValue) override { return nValue == 15; }
    int Reserved16() override { return 16; }
};

class NumberedInstance : public Vision::ICalibrate
{
public:
    void SetWorkAreaSize(int nWidth, int nHeight) override { nLast = 2 * (nWidth == 8 && nHeight == 9); }
    int SetCameraNames(const char*, const char*) override { return 3; }
    int ReservedOperation3(std::intptr_t) override { return 4; }
    int SetReservedSize(int, int) override { return 5; }
    int PixelToWorld(double, double, double*, double*, bool) override { return 6; }
    int WorldToPixel(double, double, double*, double*, bool) override { return 7; }
    int CalibImage(const cv::Mat&, const cv::Mat&, cv::Mat&, cv::Mat&, bool) override { return 8; }
    int ReservedOperation8(std::intptr_t, std::intptr_t, bool) override { return 9; }
    int ShowCalibrationWizard(QWidget*) override { return 10; }
    int ShowCoordinateWizard(QWidget*) override { return 11; }
    int ShowFusionWizard(QWidget*) override { return 12; }
    int SetDeviceHost(IDeviceHost*) override { return 13; }
    int WarpImage(const cv::Mat&, const int&, const int&, cv::Mat&) override { return 14; }
    int CalibAndFusionImage(const cv::Mat&, const cv::Mat&, cv::Mat&, bool) override { return 15; }
    int FusionImage(const cv::Mat&, const cv::Mat&, cv::Mat&, bool) override { return 16; }
    int SetCalibrationResourcePath(const char*) override { return 17; }
    int nLast = 0;
};

class NumberedErrors : public IErrCodeMgr
{
public:
    void ShowStatus(int nStatus, int nZero) override { nLast = nStatus + nZero; }
    int nLast = 0;
};

class NumberedHost final : public IDeviceHost, public IDeviceChannel
{
public:
    int GetDeviceKind() override { return 1; }
    IDeviceChannel* GetChannel() override { return this; }
    int RunCommand(const char*, QVariant) override { return 3; }
    void PutMicroLine(int, MicroLineDocument*, QString) override { nPut = 4; }
    int GetBusy() override { return 5; }
    int nPut = 0;
};

class NumberedDriver final : public IDriverRD
{
public:
    void Init(int nZero) override { nLast = 1 + nZero; }
    void SetConnectIP(QString) override { nLast = 2; }
    void SetConnectPort(unsigned short, std::intptr_t, std::intptr_t) override { nLast = 3; }
    void SetConnectUsbAuto() override { nLast = 4; }
    int ReadFactoryParam(FactoryParam*) override { return 5; }
    int SaveFactoryParam(FactoryParam*) override { return 6; }
    int DownloadMicroLine(MicroLineDocument*, const char*) override { return 7; }
    int nLast = 0;
};

class NumberedOwner : public IThreadDialogOwner
{
public:
    int ThreadDialog_ThreadRun(int, void*) override { return 2; }
    int Reserved2(int) override { return 3; }
    int Reserved3(int, void*, void*) override { return 4; }
    double Reserved4(int) override { return 5.5; }
};

} // namespace

TEST(Contracts, TheInstanceHasSeventeenEntriesInTheirOrder)
{
    NumberedInstance instance;
    Vision::ICalibrate* p = &instance;
    using Object = Vision::ICalibrate*;
    using Numbers = int (*)(Object, double, double, double*, double*, bool);
    using Pictures = int (*)(Object, const cv::Mat&, const cv::Mat&, cv::Mat&, bool);
    const cv::Mat picture;
    const int nSide = 1;
    cv::Mat out;
    double d = 0.0;
    Slot<void (*)(Object, int, int)>(p, 2)(p, 8, 9);
    EXPECT_EQ(instance.nLast, 2);
    EXPECT_EQ((Slot<int (*)(Object, const char*, const char*)>(p, 3)(p, "", "")), 3);
    EXPECT_EQ((Slot<int (*)(Object, std::intptr_t)>(p, 4)(p, 0)), 4);
    EXPECT_EQ((Slot<int (*)(Object, int, int)>(p, 5)(p, 0, 0)), 5);
    EXPECT_EQ(Slot<Numbers>(p, 6)(p, 0.0, 0.0, &d, &d, false), 6);
    EXPECT_EQ(Slot<Numbers>(p, 7)(p, 0.0, 0.0, &d, &d, false), 7);
    EXPECT_EQ((Slot<int (*)(Object, const cv::Mat&, const cv::Mat&, cv::Mat&, cv::Mat&, bool)>(p, 8)(
                  p, picture, picture, out, out, false)),
              8);
    EXPECT_EQ((Slot<int (*)(Object, std::intptr_t, std::intptr_t, bool)>(p, 9)(p, 0, 0, false)), 9);
    for (const std::size_t nOpening : {10, 11, 12}) {
        EXPECT_EQ((Slot<int (*)(Object, QWidget*)>(p, nOpening)(p, nullptr)), static_cast<int>(nOpening));
    }
    EXPECT_EQ((Slot<int (*)(Object, IDeviceHost*)>(p, 13)(p, nullptr)), 13);
    EXPECT_EQ(
        (Slot<int (*)(Object, const cv::Mat&, const int&, const int&, cv::Mat&)>(p, 14)(p, picture, nSide, nSide, out)),
        14);
    EXPECT_EQ(Slot<Pictures>(p, 15)(p, picture, picture, out, false), 15);
    EXPECT_EQ(Slot<Pictures>(p, 16)(p, picture, picture, out, false), 16);
    EXPECT_EQ((Slot<int (*)(Object, const char*)>(p, 17)(p, "")), 17);
}

TEST(Contracts, TheErrorCodesOperationFollowsTheDestructor)
{
    NumberedErrors errors;
    IErrCodeMgr* p = &errors;
    Slot<void (*)(IErrCodeMgr*, int, int)>(p, 2)(p, 1011, 0);
    EXPECT_EQ(errors.nLast, 1011);
}

TEST(Contracts, TheCameraHasSixteenEntriesInTheirOrder)
{
    NumberedCamera camera;
    ICameraDevice* p = &camera;
    std::vector<std::string> names;
    cv::Mat picture;
    // The first entry is the destructor, which takes the slots 0 and 1; slot n holds entry n.
    EXPECT_EQ((Slot<int (*)(ICameraDevice*, std::vector<std::string>&)>(p, 2)(p, names)), 2);
    EXPECT_EQ((Slot<int (*)(ICameraDevice*, const char*)>(p, 3)(p, "")), 3);
    EXPECT_EQ((Slot<int (*)(ICameraDevice*, const char*)>(p, 4)(p, nullptr)), 4);
    EXPECT_TRUE((Slot<bool (*)(ICameraDevice*, const char*)>(p, 5)(p, "")));
    EXPECT_EQ((Slot<int (*)(ICameraDevice*, cv::Mat&, const char*)>(p, 6)(p, picture, nullptr)), 6);
    EXPECT_EQ((Slot<int (*)(ICameraDevice*)>(p, 7)(p)), 7);
    for (const std::size_t nSlot : {8, 9, 11, 12}) {
        EXPECT_EQ((Slot<int (*)(ICameraDevice*, const char*, const int*)>(p, nSlot)(p, "", nullptr)),
                  static_cast<int>(nSlot));
    }
    EXPECT_EQ((Slot<int (*)(ICameraDevice*)>(p, 10)(p)), 10);
    EXPECT_EQ((Slot<std::string (*)(ICameraDevice*)>(p, 13)(p)), "thirteen");
    EXPECT_TRUE((Slot<bool (*)(ICameraDevice*)>(p, 14)(p)));
    EXPECT_TRUE((Slot<bool (*)(ICameraDevice*, const char*, int)>(p, 15)(p, "", 15)));
    EXPECT_EQ((Slot<int (*)(ICameraDevice*)>(p, 16)(p)), 16);
}

TEST(Contracts, TheHostsTableBeginsWithItsFirstOperation)
{
    NumberedHost host;
    IDeviceHost* p = &host;
    EXPECT_EQ((Slot<int (*)(IDeviceHost*)>(p, 0)(p)), 1);
    IDeviceChannel* pChannel = Slot<IDeviceChannel* (*)(IDeviceHost*)>(p, 1)(p);
    EXPECT_EQ((Slot<int (*)(IDeviceChannel*)>(pChannel, 0)(pChannel)), 5);
    EXPECT_EQ((Slot<int (*)(IDeviceHost*, const char*, QVariant)>(p, 2)(p, "", QVariant())), 3);
    Slot<void (*)(IDeviceHost*, int, MicroLineDocument*, QString)>(p, 3)(p, 0, nullptr, QString());
    EXPECT_EQ(host.nPut, 4);
}

TEST(Contracts, TheDriversTableBeginsWithItsFirstOperation)
{
    NumberedDriver driver;
    IDriverRD* p = &driver;
    Slot<void (*)(IDriverRD*, int)>(p, 0)(p, 0);
    EXPECT_EQ(driver.nLast, 1);
    Slot<void (*)(IDriverRD*, QString)>(p, 1)(p, QString());
    EXPECT_EQ(driver.nLast, 2);
    Slot<void (*)(IDriverRD*, unsigned short, std::intptr_t, std::intptr_t)>(p, 2)(p, 1, 2, 3);
    EXPECT_EQ(driver.nLast, 3);
    Slot<void (*)(IDriverRD*)>(p, 3)(p);
    EXPECT_EQ(driver.nLast, 4);
    EXPECT_EQ((Slot<int (*)(IDriverRD*, FactoryParam*)>(p, 4)(p, nullptr)), 5);
    EXPECT_EQ((Slot<int (*)(IDriverRD*, FactoryParam*)>(p, 5)(p, nullptr)), 6);
    EXPECT_EQ((Slot<int (*)(IDriverRD*, MicroLineDocument*, const char*)>(p, 6)(p, nullptr, "")), 7);
}

TEST(Contracts, TheDialogOwnersOperationsFollowItsDestructor)
{
    NumberedOwner owner;
    IThreadDialogOwner* p = &owner;
    EXPECT_EQ((Slot<int (*)(IThreadDialogOwner*, int, void*)>(p, 2)(p, 0, nullptr)), 2);
    EXPECT_EQ((Slot<int (*)(IThreadDialogOwner*, int)>(p, 3)(p, 0)), 3);
    EXPECT_EQ((Slot<int (*)(IThreadDialogOwner*, int, void*, void*)>(p, 4)(p, 0, nullptr, nullptr)), 4);
    EXPECT_EQ((Slot<double (*)(IThreadDialogOwner*, int)>(p, 5)(p, 0)), 5.5);
}

TEST(Contracts, ANewFactoryRecordHoldsItsDefaultsAtTheirOffsets)
{
    const FactoryParam param;
    for (std::size_t nAxis = 0; nAxis < 4; ++nAxis) {
        const std::size_t nBase = nAxis * 104;
        EXPECT_EQ(At<std::int32_t>(param, nBase), 1);
        EXPECT_EQ(At<std::int32_t>(param, nBase + 16), 1);
        EXPECT_EQ(At<double>(param, nBase + 24), 7.88627);
        EXPECT_EQ(At<double>(param, nBase + 32), 900.0);
        EXPECT_EQ(At<double>(param, nBase + 40), 3.0);
        EXPECT_EQ(At<std::uint8_t>(param, nBase + 50), 1);
        EXPECT_EQ(At<double>(param, nBase + 56), 20.0);
        EXPECT_EQ(At<double>(param, nBase + 64), 1000.0);
        EXPECT_EQ(At<double>(param, nBase + 80), 20000.0);
        EXPECT_EQ(At<double>(param, nBase + 88), 2500.0);
        EXPECT_EQ(At<double>(param, nBase + 96), 10.0);
    }
    EXPECT_EQ(At<std::int32_t>(param, 416), 1);
    for (const std::size_t nEntry : {416 + 8, 416 + 88}) {
        EXPECT_EQ(At<std::uint8_t>(param, nEntry), 1);
        EXPECT_EQ(At<double>(param, nEntry + 8), 10.0);
        EXPECT_EQ(At<double>(param, nEntry + 16), 100.0);
        EXPECT_EQ(At<std::int32_t>(param, nEntry + 24), 80);
        EXPECT_EQ(At<double>(param, nEntry + 40), 20000.0);
        EXPECT_EQ(At<double>(param, nEntry + 48), 5000.0);
        EXPECT_EQ(At<double>(param, nEntry + 56), 0.5);
        EXPECT_EQ(At<std::uint8_t>(param, nEntry + 68), 1);
    }
    EXPECT_EQ(At<std::int32_t>(param, 592 + 32), 1000);
    EXPECT_EQ(At<double>(param, 632), 50.0);
    EXPECT_EQ(At<double>(param, 640 + 16), 20.0);
    EXPECT_EQ(At<double>(param, 680), 300.0);
    EXPECT_EQ(At<double>(param, 680 + 32), 2000.0);
}

TEST(Contracts, ANewConnectionIsAutomaticUsb)
{
    const ConnectRecord record;
    EXPECT_EQ(At<std::int32_t>(record, 0), 0);
    EXPECT_EQ(At<std::uint16_t>(record, 4), 3);
    EXPECT_EQ(At<char>(record, 6), 0);
    EXPECT_EQ(At<char>(record, 23), 0);
}

TEST(Contracts, AMarksFieldsLieWhereTheModulesLookForThem)
{
    CalibrationPoint point;
    point.nId = 1;
    point.nCol = 3;
    point.fWorldY = 5.0f;
    point.fImageY = 8.0f;
    point.dValue3 = 12.0;
    EXPECT_EQ(At<std::int32_t>(point, 0), 1);
    EXPECT_EQ(At<std::int32_t>(point, 8), 3);
    EXPECT_EQ(At<float>(point, 16), 5.0f);
    EXPECT_EQ(At<float>(point, 28), 8.0f);
    EXPECT_EQ(At<double>(point, 56), 12.0);
}
