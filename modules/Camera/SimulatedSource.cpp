#include "SimulatedSource.h"

#include "SimulatedCameras.h"

namespace Camera
{

namespace
{

struct Simulation {
    std::mutex mutex; ///< held while a snap of the host runs
    ISimulatedCameras* pCameras = nullptr;
    std::atomic<long long> nGeneration = 0; ///< counts the objects that were set; negative while there is none
    long long nSet = 0;
};

/// Never destroyed: a thread of the host may snap while the process ends.
Simulation& TheSimulation()
{
    static auto* pSimulation = new Simulation;
    return *pSimulation;
}

constexpr const char* g_szNone = "the host has set no simulated cameras";

} // namespace

SimulatedSource::SimulatedSource(std::string strLabel, std::string strSide)
    : CameraSource(std::move(strLabel)), m_strSide(std::move(strSide))
{
}

bool SimulatedSource::IsThere(std::string& strWhy)
{
    strWhy = g_szNone;
    return TheSimulation().nGeneration > 0;
}

std::optional<Stamp> SimulatedSource::Look(std::string& strWhy) const
{
    const long long nGeneration = TheSimulation().nGeneration;
    if (nGeneration <= 0) {
        strWhy = g_szNone;
        return std::nullopt;
    }
    return Stamp{nGeneration};
}

bool SimulatedSource::ReadFrame(cv::Mat& frame, std::string& strWhy)
{
    Simulation& simulation = TheSimulation();
    const std::lock_guard lock(simulation.mutex);
    if (!simulation.pCameras) {
        strWhy = g_szNone;
        return false;
    }
    cv::Mat lent;
    const int nAnswer = simulation.pCameras->Snap(m_strSide.c_str(), lent);
    if (nAnswer != 0) {
        strWhy = "the simulated camera answers " + std::to_string(nAnswer);
        return false;
    }
    // The host may paint its next frame over this one.
    frame = lent.clone();
    return true;
}

} // namespace Camera

void SetSimulatedCameras(ISimulatedCameras* pCameras)
{
    Camera::Simulation& simulation = Camera::TheSimulation();
    const std::lock_guard lock(simulation.mutex);
    simulation.pCameras = pCameras;
    ++simulation.nSet;
    simulation.nGeneration = pCameras ? simulation.nSet : -simulation.nSet;
}
