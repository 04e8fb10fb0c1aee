// How well the chart of discs is found and a lens calibrated from it, on rendered pictures with known truth:
//   bench_charts [--count N] [--seed N] [--part whole|others|lens] [--save DIR] [--photos DIR]
// prints the share of whole charts that are found, finds in pictures without a chart or with a part of one, the time of
// a search, how exact the centres are, and what nine pictures tell of a camera. --save keeps the pictures that went
// wrong, --part makes one of the three measurements only. --photos names a folder with real photographs (image_NN.png,
// derived-9x7/image_NN.jpg and .centres.txt).

#include "HeldChart.h"
#include "KorvaneVision.h"
#include "LensTruth.h"
#include "Machine.h"
#include "SeededNoise.h"
#include "Truth.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/features2d.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <vector>

using namespace Korvane::CameraCalibration;
using Simulator::Side;

namespace
{

struct Options {
    int nCount = 300;
    std::uint64_t nSeed = 1;
    std::string strPart; ///< empty for all
    std::string strSave;
    std::string strPhotos;
};

const cv::Size g_board(7, 9);
constexpr int g_nPicturesAMachine = 50;

struct Search {
    bool bFound = false;
    std::vector<cv::Point2f> points;
    double dError = 0.0;
    double dMs = 0.0;
    double dCpuMs = 0.0; ///< of all cores: what a busy machine does not change much
};

Search Find(const cv::Mat& picture, const cv::Size& board = g_board)
{
    Search search;
    const auto begin = std::chrono::steady_clock::now();
    const std::clock_t nBegin = std::clock();
    search.bFound = FindCalibrationBoard(picture, board, search.points, search.dError, cv::CALIB_CB_SYMMETRIC_GRID,
                                         cv::SimpleBlobDetector::create());
    search.dCpuMs = 1000.0 * static_cast<double>(std::clock() - nBegin) / CLOCKS_PER_SEC;
    search.dMs = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin).count();
    return search;
}

double Quantile(std::vector<double> values, double share)
{
    if (values.empty()) {
        return 0.0;
    }
    std::sort(values.begin(), values.end());
    return values[static_cast<std::size_t>(share * static_cast<double>(values.size() - 1))];
}

/// Distances of the found centres from the true ones, in the better of the two orders that a chart allows.
std::vector<double> Distances(const std::vector<cv::Point2f>& found, const std::vector<cv::Point2d>& truth)
{
    std::vector<double> forward, backward;
    for (std::size_t i = 0; i < truth.size() && truth.size() == found.size(); ++i) {
        forward.push_back(cv::norm(cv::Point2d(found[i]) - truth[i]));
        backward.push_back(cv::norm(cv::Point2d(found[found.size() - 1 - i]) - truth[i]));
    }
    return Quantile(forward, 1.0) < Quantile(backward, 1.0) ? forward : backward;
}

double Rms(const std::vector<double>& values)
{
    double sum = 0.0;
    for (const double d : values) {
        sum += d * d;
    }
    return values.empty() ? 0.0 : std::sqrt(sum / static_cast<double>(values.size()));
}

class Pictures
{
public:
    explicit Pictures(const Options& options) : m_options(options) {}

    Simulator::Machine& MachineOf(int nPicture)
    {
        const int nMachine = nPicture / g_nPicturesAMachine;
        if (m_pMachine == nullptr || nMachine != m_nMachine) {
            m_pMachine = std::make_unique<Simulator::Machine>(Simulator::Machine::Kind::Manual,
                                                              m_options.nSeed + static_cast<std::uint64_t>(nMachine));
            m_nMachine = nMachine;
        }
        return *m_pMachine;
    }

    void Keep(const cv::Mat& picture, const char* pWhat, int nPicture) const
    {
        if (!m_options.strSave.empty()) {
            std::filesystem::create_directories(m_options.strSave);
            cv::imwrite(m_options.strSave + "/" + pWhat + "_" + std::to_string(nPicture) + ".png", picture);
        }
    }

private:
    const Options& m_options;
    std::unique_ptr<Simulator::Machine> m_pMachine;
    int m_nMachine = -1;
};

void MeasureWholeCharts(const Options& options)
{
    Pictures pictures(options);
    int nFound = 0, nWrong = 0;
    std::vector<double> times, cpu, distances;
    for (int i = 0; i < options.nCount; ++i) {
        Simulator::Machine& machine = pictures.MachineOf(i);
        const Side side = i % 2 == 0 ? Side::Left : Side::Right;
        const auto nSeed = Simulator::Mix(options.nSeed, static_cast<std::uint64_t>(i));
        const auto chart = Simulator::DrawChart(machine, side, nSeed, Simulator::ChartShown::Whole);
        machine.HoldChart(chart);
        const cv::Mat picture = machine.Snap(side);
        const Search search = Find(picture);
        times.push_back(search.dMs);
        cpu.push_back(search.dCpuMs);
        if (!search.bFound) {
            std::printf("  missed %d: %s (blur %.1f, paper %.0f, ink %.0f)\n", i, GetLastError().c_str(), chart.blurPx,
                        chart.paperLevel, chart.inkLevel);
            pictures.Keep(picture, "missed", i);
            continue;
        }
        const double rms = Rms(Distances(search.points, Simulator::Truth(machine).ChartCentres(side, chart)));
        if (!(rms < 2.0)) {
            ++nWrong;
            pictures.Keep(picture, "wrong", i);
            continue;
        }
        distances.push_back(rms);
        ++nFound;
    }
    std::printf("whole charts: %d of %d found (%.1f %%), %d wrong\n", nFound, options.nCount,
                100.0 * nFound / options.nCount, nWrong);
    std::printf("centres: rms off the truth, median %.3f px, 95 %% %.3f px, worst %.3f px\n", Quantile(distances, 0.5),
                Quantile(distances, 0.95), Quantile(distances, 1.0));
    std::printf("time of a search, whole charts: median %.1f ms, 95 %% %.1f ms; processor time, median %.1f ms\n",
                Quantile(times, 0.5), Quantile(times, 0.95), Quantile(cpu, 0.5));
}

/// One half parts of charts, one half beds without a chart: bare, with crosses, with lattices of other sizes.
void MeasureOthers(const Options& options)
{
    Pictures pictures(options);
    int nFalse = 0;
    std::vector<double> times, cpu;
    for (int i = 0; i < options.nCount; ++i) {
        Simulator::Machine& machine = pictures.MachineOf(i);
        const Side side = i % 4 < 2 ? Side::Left : Side::Right;
        Simulator::Draw draw(options.nSeed, 0x9000U + static_cast<std::uint64_t>(i));
        if (i % 2 == 0) {
            machine.HoldChart(Simulator::DrawChart(machine, side, draw.Bits(), Simulator::ChartShown::Part));
        } else if (i % 6 == 1) {
            machine.TakeChartAway();
            machine.PlaceMaterial();
            machine.EngraveCrossGrid();
        } else if (i % 6 == 3) {
            machine.TakeChartAway();
            machine.PlaceMaterial();
            std::vector<Simulator::EngravedDot> dots;
            for (int k = 0; k < 150; ++k) {
                dots.push_back({{draw.Between(0.0, 900.0), draw.Between(0.0, 600.0)}, draw.Between(3.0, 8.0)});
            }
            machine.EngraveDots(dots);
        } else {
            Simulator::HeldChart chart = Simulator::DrawChart(machine, side, draw.Bits(), Simulator::ChartShown::Whole);
            const std::vector<cv::Size> sizes{{7, 8}, {6, 9}, {8, 8}, {6, 8}, {5, 12}, {8, 9}, {7, 10}};
            const cv::Size size = sizes[static_cast<std::size_t>(draw.Unit() * static_cast<double>(sizes.size()))];
            chart.layout.nCols = size.width;
            chart.layout.nRows = size.height;
            machine.HoldChart(chart);
        }
        const cv::Mat picture = machine.Snap(side);
        const Search search = Find(picture);
        times.push_back(search.dMs);
        cpu.push_back(search.dCpuMs);
        if (search.bFound) {
            ++nFalse;
            std::printf("  false find %d, error %.2f\n", i, search.dError);
            pictures.Keep(picture, "false", i);
        }
    }
    std::printf("without a chart, or with a part of one, or with another: %d false finds in %d\n", nFalse,
                options.nCount);
    std::printf("time of a search, no chart: median %.1f ms, 95 %% %.1f ms; processor time, median %.1f ms\n",
                Quantile(times, 0.5), Quantile(times, 0.95), Quantile(cpu, 0.5));
}

void MeasureCalibration(const Options& options)
{
    std::vector<double> focals, mappings, errors;
    int nRefused = 0;
    const int nRuns = 10;
    for (int nRun = 0; nRun < nRuns; ++nRun) {
        Simulator::Machine machine(Simulator::Machine::Kind::Manual, options.nSeed + static_cast<std::uint64_t>(nRun));
        const Side side = nRun % 2 == 0 ? Side::Left : Side::Right;
        std::vector<cv::Mat> pictures;
        std::vector<cv::Point2f> covered;
        for (int i = 0; i < 9; ++i) {
            const auto nSeed = Simulator::Mix(options.nSeed + 77U, static_cast<std::uint64_t>(100 * nRun + i));
            const auto chart = Simulator::DrawChart(machine, side, nSeed, Simulator::ChartShown::Whole);
            machine.HoldChart(chart);
            pictures.push_back(machine.Snap(side));
            for (const cv::Point2d& p : Simulator::Truth(machine).ChartCentres(side, chart)) {
                covered.emplace_back(p);
            }
        }
        cv::Mat camera, lens;
        double error = 0.0;
        if (!CalibrateDistortedCamera(pictures, g_board, camera, lens, error)) {
            std::printf("  calibration %d refused: %s\n", nRun, GetLastError().c_str());
            ++nRefused;
            continue;
        }
        const cv::Matx33d truth = Simulator::Truth(machine).CameraMatrix(side);
        const double focal = std::max(std::abs(camera.at<double>(0, 0) / truth(0, 0) - 1.0),
                                      std::abs(camera.at<double>(1, 1) / truth(1, 1) - 1.0));
        focals.push_back(100.0 * focal);
        mappings.push_back(Simulator::LensMappingRmsPx(machine, side, camera, lens, covered));
        errors.push_back(error);
        std::printf("  calibration %d: residual %.3f px, focal off %.3f %%, mapping %.3f px rms\n", nRun, error,
                    focals.back(), mappings.back());
    }
    std::printf("calibration on nine: %d runs, %d refused; worst focal %.3f %%, worst mapping %.3f px rms\n", nRuns,
                nRefused, Quantile(focals, 1.0), Quantile(mappings, 1.0));
}

std::string PhotoName(int n, const char* pEnd)
{
    return "/image_" + std::string(n < 10 ? "0" : "") + std::to_string(n) + pEnd;
}

void MeasurePhotos(const Options& options)
{
    int nDerived = 0, nOriginal = 0;
    double worst = 0.0;
    std::vector<cv::Mat> originals;
    for (int i = 0; i < 15; ++i) {
        const std::string strBase = options.strPhotos + "/derived-9x7";
        const cv::Mat derived = cv::imread(strBase + PhotoName(i, ".jpg"), cv::IMREAD_COLOR);
        std::vector<cv::Point2d> listed;
        std::ifstream file(strBase + PhotoName(i, ".centres.txt"));
        for (cv::Point2d p; file >> p.x >> p.y;) {
            listed.push_back(p);
        }
        const Search search = Find(derived, {9, 7});
        double largest = 1.0e9;
        if (search.bFound && listed.size() == search.points.size()) {
            largest = 0.0;
            for (std::size_t k = 0; k < listed.size(); ++k) {
                largest = std::max(largest, cv::norm(cv::Point2d(search.points[k]) - listed[k]));
            }
            ++nDerived;
            worst = std::max(worst, largest);
        }
        std::printf("  derived %02d: %s, error %.3f, largest distance %.3f px\n", i,
                    search.bFound ? "found" : GetLastError().c_str(), search.dError, largest);
        originals.push_back(cv::imread(options.strPhotos + PhotoName(i, ".png"), cv::IMREAD_COLOR));
        const Search whole = Find(originals.back(), {10, 10});
        nOriginal += whole.bFound ? 1 : 0;
        std::printf("  original %02d: %s, error %.3f\n", i, whole.bFound ? "found" : GetLastError().c_str(),
                    whole.dError);
    }
    std::printf("photographs: 9 x 7 found in %d of 15, worst centre %.3f px; 10 x 10 in %d of 15\n", nDerived, worst,
                nOriginal);
    cv::Mat camera, lens;
    double error = 0.0;
    if (CalibrateDistortedCamera(originals, {10, 10}, camera, lens, error)) {
        std::printf("photographs: residual %.3f px, focal lengths %.2f and %.2f px\n", error, camera.at<double>(0, 0),
                    camera.at<double>(1, 1));
    } else {
        std::printf("photographs: %s\n", GetLastError().c_str());
    }
}

} // namespace

int main(int argc, char** argv)
{
    try {
        std::setvbuf(stdout, nullptr, _IOLBF, 0);
        Options options;
        const std::vector<std::string> words(argv + 1, argv + argc);
        for (std::size_t i = 0; i + 1 < words.size(); i += 2) {
            if (words[i] == "--count") {
                options.nCount = std::stoi(words[i + 1]);
            } else if (words[i] == "--seed") {
                options.nSeed = std::stoull(words[i + 1]);
            } else if (words[i] == "--part") {
                options.strPart = words[i + 1];
            } else if (words[i] == "--save") {
                options.strSave = words[i + 1];
            } else if (words[i] == "--photos") {
                options.strPhotos = words[i + 1];
            }
        }
        if (!options.strPhotos.empty()) {
            MeasurePhotos(options);
            return 0;
        }
        const auto wants = [&](const char* pPart) { return options.strPart.empty() || options.strPart == pPart; };
        if (wants("whole")) {
            MeasureWholeCharts(options);
        }
        if (wants("others")) {
            MeasureOthers(options);
        }
        if (wants("lens")) {
            MeasureCalibration(options);
        }
        return 0;
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "%s\n", exception.what());
        return 1;
    }
}
