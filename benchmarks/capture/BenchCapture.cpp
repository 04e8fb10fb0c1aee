// Frames per second of the live loop on a camera that delivers at once: snap, copy for `SendMatSignal`, conversion and
// signal, with a receiver that keeps the last image as a page does. Against the same written down plainly, with its own
// colour conversion and a second copy into the image, and against the two unavoidable passes over the bytes, copied.

#include "CameraWorker.h"
#include "ModuleDoubles.h"
#include "Ratios.h"
#include "RecordingCamera.h"

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <QCoreApplication>
#include <QImage>

#include <cstring>

namespace
{

constexpr int g_nFrames = 30; // of one run of the loop
constexpr int g_nWidth = 2592;
constexpr int g_nHeight = 1944;

cv::Mat Picture(int nType)
{
    cv::Mat picture(g_nHeight, g_nWidth, nType);
    cv::RNG random(7);
    random.fill(picture, cv::RNG::UNIFORM, 0, 256);
    return picture;
}

void CountFrames(benchmark::State& state)
{
    state.SetItemsProcessed(state.iterations() * g_nFrames);
}

void Loop(benchmark::State& state, int nType)
{
    Bench::SetCores(state);
    Doubles::Reset();
    Doubles::CameraModule module;
    module.Prepare([&](Doubles::RecordingCamera& camera) { camera.SetPicture(Picture(nType)); });
    CameraWorker worker;
    int nLeft = 0;
    QImage last;
    QObject::connect(&worker, &CameraWorker::SendQImgSignal, [&](const QImage& image) {
        last = image;
        if (--nLeft == 0) {
            worker.StopLoop();
        }
    });
    for (auto _ : state) {
        nLeft = g_nFrames;
        worker.LoopSnapSlot();
        benchmark::DoNotOptimize(last.constBits());
        module.Camera().ForgetCalls();
        QCoreApplication::processEvents();
    }
    CountFrames(state);
}

void Plainly(benchmark::State& state, int nType)
{
    Bench::SetCores(state);
    Doubles::RecordingCamera camera;
    camera.SetPicture(Picture(nType));
    QImage last;
    for (auto _ : state) {
        for (int i = 0; i < g_nFrames; ++i) {
            cv::Mat frame;
            camera.SnapPicture(frame, nullptr);
            const cv::Mat copy = frame.clone();
            benchmark::DoNotOptimize(copy.data);
            cv::Mat colours;
            cv::cvtColor(frame, colours, nType == CV_8UC1 ? cv::COLOR_GRAY2RGB : cv::COLOR_BGR2RGB);
            last = QImage(colours.data, colours.cols, colours.rows, static_cast<qsizetype>(colours.step),
                          QImage::Format_RGB888)
                       .copy();
        }
        benchmark::DoNotOptimize(last.constBits());
        camera.ForgetCalls();
    }
    CountFrames(state);
}

void TwoCopies(benchmark::State& state, int nType)
{
    Bench::SetCores(state);
    const cv::Mat picture = Picture(nType);
    const std::size_t nBytes = picture.total() * picture.elemSize();
    QImage last;
    for (auto _ : state) {
        for (int i = 0; i < g_nFrames; ++i) {
            const cv::Mat copy = picture.clone();
            benchmark::DoNotOptimize(copy.data);
            QImage image(g_nWidth, g_nHeight, nType == CV_8UC1 ? QImage::Format_Indexed8 : QImage::Format_RGB888);
            std::memcpy(image.bits(), picture.data, nBytes);
            last = image;
        }
        benchmark::DoNotOptimize(last.constBits());
    }
    CountFrames(state);
}

void ColourLoop(benchmark::State& state)
{
    Loop(state, CV_8UC3);
}
void ColourPlainly(benchmark::State& state)
{
    Plainly(state, CV_8UC3);
}
void ColourTwoCopies(benchmark::State& state)
{
    TwoCopies(state, CV_8UC3);
}
void GreyLoop(benchmark::State& state)
{
    Loop(state, CV_8UC1);
}
void GreyPlainly(benchmark::State& state)
{
    Plainly(state, CV_8UC1);
}
void GreyTwoCopies(benchmark::State& state)
{
    TwoCopies(state, CV_8UC1);
}

} // namespace

#define CTC_CAPTURE(name) BENCHMARK(name)->Apply(Bench::MeasureOnCores)->MinTime(0.3)->Repetitions(5)
CTC_CAPTURE(ColourLoop);
CTC_CAPTURE(ColourPlainly);
CTC_CAPTURE(ColourTwoCopies);
CTC_CAPTURE(GreyLoop);
CTC_CAPTURE(GreyPlainly);
CTC_CAPTURE(GreyTwoCopies);

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    return Bench::RunAndCompare(argc, argv,
                                {{"ColourLoop", "ColourPlainly"},
                                 {"ColourTwoCopies", "ColourLoop"},
                                 {"GreyLoop", "GreyPlainly"},
                                 {"GreyTwoCopies", "GreyLoop"}});
}
