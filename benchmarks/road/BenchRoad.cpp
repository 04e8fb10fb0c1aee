// The whole automatic road through the built plug-in, as a host calls it, against the same work done with OpenCV's own
// operations: real-sized pictures of a simulated machine that was calibrated beforehand.

#include "CalibratedMachine.h"
#include "DataFolder.h"
#include "Failure.h"
#include "FisheyeCalibrationDllR.h"
#include "FisheyeModel.h"
#include "ObviousRoad.h"
#include "PluginHost.h"
#include "Ratios.h"

#include <QCoreApplication>
#include <QSettings>
#include <QTemporaryDir>

#include <cstdio>
#include <memory>
#include <optional>

namespace
{

const cv::Size g_stitched(7800, 5400);

Bench::Camera CameraOf(const QString& strRecord)
{
    FishEyeCalibrationParam param;
    const char* pReason = "";
    std::optional<Fisheye::FisheyeModel> model;
    if (LoadCalibrationParam(strRecord.toLocal8Bit().constData(), param)) {
        model = Fisheye::UnpackRecord(param, &pReason);
    }
    if (!model) {
        throw Workbench::Failure(QString("%1 is no record %2").arg(strRecord, pReason));
    }
    return {cv::Mat(), *model};
}

/// A machine that was calibrated into a temporary folder, its two pictures, and both roads.
struct Scene {
    Scene()
    {
        Workbench::UseDataFolder(folder.path());
        Simulator::Machine machine(Simulator::Machine::Kind::Automatic, 1);
        Simulator::CalibrationReport report;
        if (!Simulator::WriteCalibrationFiles(machine, Workbench::DataRoot().toStdString(), {}, report)) {
            throw Workbench::Failure(QString::fromStdString(report.strProblem));
        }
        left = machine.Snap(Simulator::Side::Left);
        right = machine.Snap(Simulator::Side::Right);
        const QString strResult = Workbench::DataRoot() + "/Vision/calib/Camera_Two/Result/";
        std::printf("The machine's own stitched picture has %d x %d pixels; measured at %d x %d.\n",
                    report.nStitchedWidth, report.nStitchedHeight, g_stitched.width, g_stitched.height);
        QSettings size(strResult + "AutoDualCalibrate_stitch.xml", QSettings::IniFormat);
        size.setValue("CAMERA_PARAM/AUTO_CALIBRATION_OUTPUT_WIDTH", g_stitched.width);
        size.setValue("CAMERA_PARAM/AUTO_CALIBRATION_OUTPUT_HEIGHT", g_stitched.height);
        size.sync();
        pPlugin = std::make_unique<Workbench::PluginHost>();
        pObvious = std::make_unique<Bench::ObviousRoad>(folder.path().toStdString(),
                                                        CameraOf(strResult + "L_AutoDualCalibrate.xml"),
                                                        CameraOf(strResult + "R_AutoDualCalibrate.xml"), g_stitched);
    }

    QTemporaryDir folder;
    cv::Mat left, right;
    std::unique_ptr<Workbench::PluginHost> pPlugin;
    std::unique_ptr<Bench::ObviousRoad> pObvious;
};

std::unique_ptr<Scene> g_pScene;

void Road(benchmark::State& state)
{
    Bench::SetCores(state);
    for (auto _ : state) {
        cv::Mat fused;
        if (g_pScene->pPlugin->Calibrate().CalibAndFusionImage(g_pScene->left, g_pScene->right, fused, false) != 0 ||
            fused.size() != g_stitched) {
            state.SkipWithError("the plug-in failed");
        }
    }
}

void RoadObvious(benchmark::State& state)
{
    Bench::SetCores(state);
    for (auto _ : state) {
        g_pScene->pObvious->Calib(g_pScene->left, g_pScene->right);
        benchmark::DoNotOptimize(g_pScene->pObvious->Fuse().data);
    }
}

void Calib(benchmark::State& state)
{
    Bench::SetCores(state);
    for (auto _ : state) {
        cv::Mat leftOut, rightOut;
        if (g_pScene->pPlugin->Calibrate().CalibImage(g_pScene->left, g_pScene->right, leftOut, rightOut, false) != 0) {
            state.SkipWithError("the plug-in failed");
        }
    }
}

void CalibObvious(benchmark::State& state)
{
    Bench::SetCores(state);
    for (auto _ : state) {
        g_pScene->pObvious->Calib(g_pScene->left, g_pScene->right);
    }
}

void Fusion(benchmark::State& state)
{
    Bench::SetCores(state);
    cv::Mat leftOut, rightOut;
    g_pScene->pPlugin->Calibrate().CalibImage(g_pScene->left, g_pScene->right, leftOut, rightOut, false);
    for (auto _ : state) {
        cv::Mat fused;
        if (g_pScene->pPlugin->Calibrate().FusionImage(leftOut, rightOut, fused, false) != 0 ||
            fused.size() != g_stitched) {
            state.SkipWithError("the plug-in failed");
        }
    }
}

void FusionObvious(benchmark::State& state)
{
    Bench::SetCores(state);
    g_pScene->pObvious->Calib(g_pScene->left, g_pScene->right);
    for (auto _ : state) {
        benchmark::DoNotOptimize(g_pScene->pObvious->Fuse().data);
    }
}

void StitchingAloneObvious(benchmark::State& state)
{
    Bench::SetCores(state);
    g_pScene->pObvious->Calib(g_pScene->left, g_pScene->right);
    for (auto _ : state) {
        benchmark::DoNotOptimize(g_pScene->pObvious->Stitch().data);
    }
}

} // namespace

BENCHMARK(Road)->Apply(Bench::MeasureOnCores)->MinTime(0.5)->Repetitions(5);
BENCHMARK(RoadObvious)->Apply(Bench::MeasureOnCores)->Iterations(1)->Repetitions(3);
BENCHMARK(Calib)->Apply(Bench::MeasureOnCores)->MinTime(0.5)->Repetitions(5);
BENCHMARK(CalibObvious)->Apply(Bench::MeasureOnCores)->Iterations(1)->Repetitions(3);
BENCHMARK(Fusion)->Apply(Bench::MeasureOnCores)->MinTime(0.5)->Repetitions(5);
BENCHMARK(FusionObvious)->Apply(Bench::MeasureOnCores)->Iterations(1)->Repetitions(3);
BENCHMARK(StitchingAloneObvious)->Apply(Bench::MeasureOnCores)->Iterations(1)->Repetitions(3);

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName("bench_road");
    try {
        g_pScene = std::make_unique<Scene>();
        const int nAnswer = Bench::RunAndCompare(argc, argv,
                                                 {{"Road", "RoadObvious"},
                                                  {"Calib", "CalibObvious"},
                                                  {"Fusion", "FusionObvious"},
                                                  {"Road", "StitchingAloneObvious"}});
        g_pScene.reset();
        return nAnswer;
    } catch (const Workbench::Failure& failure) {
        std::fprintf(stderr, "%s\n", failure.what());
        return 1;
    }
}
