#include "RecordingCamera.h"

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace Doubles
{

namespace
{

CameraModule* g_pModule = nullptr;

std::string Text(const char* pText)
{
    return pText ? pText : "null";
}

bool IsQuestion(const std::string& strCall)
{
    static const std::array<const char*, 4> questions{"GetCameraList(", "GetCameraName(", "IsCameraOpen(",
                                                      "IsCameraAlive("};
    return std::any_of(questions.begin(), questions.end(),
                       [&](const char* pQuestion) { return strCall.rfind(pQuestion, 0) == 0; });
}

} // namespace

void RecordingCamera::SetList(std::vector<std::string> names)
{
    const std::lock_guard lock(m_mutex);
    m_list = std::move(names);
}

void RecordingCamera::SetPicture(const cv::Mat& picture)
{
    const std::lock_guard lock(m_mutex);
    m_picture = picture;
}

void RecordingCamera::SetFailingPicture(const cv::Mat& picture)
{
    const std::lock_guard lock(m_mutex);
    m_failingPicture = picture;
}

void RecordingCamera::SetName(const std::string& strName)
{
    const std::lock_guard lock(m_mutex);
    m_strOpen = strName;
}

void RecordingCamera::Answer(const std::string& strOperation, int nAnswer)
{
    const std::lock_guard lock(m_mutex);
    m_answers[strOperation] = nAnswer;
}

void RecordingCamera::AnswerNext(const std::string& strOperation, const std::vector<int>& answers)
{
    const std::lock_guard lock(m_mutex);
    std::deque<int>& next = m_nextAnswers[strOperation];
    next.insert(next.end(), answers.begin(), answers.end());
}

void RecordingCamera::OnCall(const std::string& strOperation, std::function<void()> act)
{
    const std::lock_guard lock(m_mutex);
    m_acts[strOperation] = std::move(act);
}

std::vector<std::string> RecordingCamera::Calls() const
{
    const std::lock_guard lock(m_mutex);
    return m_journal;
}

std::vector<std::string> RecordingCamera::Commands() const
{
    std::vector<std::string> calls = Calls();
    std::erase_if(calls, IsQuestion);
    return calls;
}

int RecordingCamera::Count(const std::string& strOperation) const
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_counts.find(strOperation);
    return found == m_counts.end() ? 0 : found->second;
}

void RecordingCamera::ForgetCalls()
{
    const std::lock_guard lock(m_mutex);
    m_journal.clear();
    m_counts.clear();
    m_values.clear();
}

std::vector<int> RecordingCamera::Values() const
{
    const std::lock_guard lock(m_mutex);
    return m_values;
}

int RecordingCamera::Call(const std::string& strOperation, const std::string& strArguments, int nDefault)
{
    std::function<void()> act;
    {
        const std::lock_guard lock(m_mutex);
        m_journal.push_back(strOperation + "(" + strArguments + ")");
        ++m_counts[strOperation];
        const auto found = m_acts.find(strOperation);
        if (found != m_acts.end()) {
            act = found->second;
        }
    }
    if (act) {
        act();
    }
    const std::lock_guard lock(m_mutex);
    std::deque<int>& next = m_nextAnswers[strOperation];
    if (!next.empty()) {
        const int nAnswer = next.front();
        next.pop_front();
        return nAnswer;
    }
    const auto found = m_answers.find(strOperation);
    return found == m_answers.end() ? nDefault : found->second;
}

int RecordingCamera::SetValue(const std::string& strOperation, const char* key, const int* value)
{
    if (value) {
        const std::lock_guard lock(m_mutex);
        m_values.push_back(*value);
    }
    return Call(strOperation, Text(key), 0);
}

int RecordingCamera::GetCameraList(std::vector<std::string>& names)
{
    const int nAnswer = Call("GetCameraList", "", 0);
    const std::lock_guard lock(m_mutex);
    names = m_list;
    return nAnswer;
}

int RecordingCamera::OpenCamera(const char* name)
{
    const int nAnswer = Call("OpenCamera", Text(name), 0);
    if (nAnswer == 0 && name) {
        SetName(name);
    }
    return nAnswer;
}

int RecordingCamera::CloseCamera(const char* name)
{
    const int nAnswer = Call("CloseCamera", Text(name), 0);
    SetName("");
    return nAnswer;
}

bool RecordingCamera::IsCameraOpen(const char* name)
{
    bool bOpen = false;
    {
        const std::lock_guard lock(m_mutex);
        bOpen = !m_strOpen.empty() && (!name || m_strOpen == name);
    }
    return Call("IsCameraOpen", Text(name), bOpen ? 1 : 0) != 0;
}

int RecordingCamera::SnapPicture(cv::Mat& picture, const char* name)
{
    const int nAnswer = Call("SnapPicture", Text(name), 0);
    const std::lock_guard lock(m_mutex);
    picture = nAnswer == 0 ? m_picture : m_failingPicture;
    return nAnswer;
}

int RecordingCamera::Reserved7()
{
    return Call("Reserved7", "", 0);
}

int RecordingCamera::SetIntProperty(const char* key, const int* value)
{
    return SetValue("SetIntProperty", key, value);
}

int RecordingCamera::SetProperty(const char* key, const int* value)
{
    return SetValue("SetProperty", key, value);
}

int RecordingCamera::Reserved10()
{
    return Call("Reserved10", "", 0);
}

int RecordingCamera::SetExposureMode(const char* key, const int* value)
{
    return SetValue("SetExposureMode", key, value);
}

int RecordingCamera::SetExposureValue(const char* key, const int* value)
{
    return SetValue("SetExposureValue", key, value);
}

std::string RecordingCamera::GetCameraName()
{
    Call("GetCameraName", "", 0);
    const std::lock_guard lock(m_mutex);
    return m_strOpen;
}

bool RecordingCamera::IsCameraAlive()
{
    return Call("IsCameraAlive", "", 1) != 0;
}

bool RecordingCamera::ApplyCameraParameters(const char* name, int value)
{
    return Call("ApplyCameraParameters", Text(name) + ", " + std::to_string(value), 1) != 0;
}

int RecordingCamera::Reserved16()
{
    return Call("Reserved16", "", 0);
}

CameraModule::CameraModule()
{
    // Kept loaded, so that the bare name meets it.
    static void* const pLibrary = dlopen(CTC_CAMERA_DOUBLE, RTLD_NOW | RTLD_LOCAL);
    using Connect = void (*)(void* (*)(), void (*)(void*));
    const auto pfnConnect = pLibrary ? reinterpret_cast<Connect>(dlsym(pLibrary, "ConnectDouble")) : nullptr;
    if (!pfnConnect) {
        std::fprintf(stderr, "The double of the camera module cannot be loaded: %s\n", dlerror());
        std::abort();
    }
    pfnConnect(&CameraModule::New, &CameraModule::Release);
    g_pModule = this;
}

CameraModule::~CameraModule()
{
    g_pModule = nullptr;
}

void CameraModule::Prepare(std::function<void(RecordingCamera&)> script)
{
    const std::lock_guard lock(m_mutex);
    m_script = std::move(script);
}

void CameraModule::GiveNull()
{
    const std::lock_guard lock(m_mutex);
    m_bGivesNull = true;
}

RecordingCamera& CameraModule::Camera(std::size_t nIndex)
{
    const std::lock_guard lock(m_mutex);
    return *m_cameras.at(nIndex);
}

int CameraModule::HandedOut() const
{
    const std::lock_guard lock(m_mutex);
    return static_cast<int>(m_cameras.size());
}

int CameraModule::GivenBack() const
{
    const std::lock_guard lock(m_mutex);
    return m_nGivenBack;
}

void* CameraModule::New()
{
    if (!g_pModule) {
        return nullptr;
    }
    const std::lock_guard lock(g_pModule->m_mutex);
    if (g_pModule->m_bGivesNull) {
        return nullptr;
    }
    auto pCamera = std::make_unique<RecordingCamera>();
    if (g_pModule->m_script) {
        g_pModule->m_script(*pCamera);
    }
    g_pModule->m_cameras.push_back(std::move(pCamera));
    // As the interface's own address, which is what the holder casts to.
    return static_cast<ICameraDevice*>(g_pModule->m_cameras.back().get());
}

void CameraModule::Release(void* pInstance)
{
    // Later than its test, where an instance was kept to the end.
    if (!g_pModule) {
        return;
    }
    const std::lock_guard lock(g_pModule->m_mutex);
    const auto found = std::find_if(g_pModule->m_cameras.begin(), g_pModule->m_cameras.end(), [&](const auto& pCamera) {
        return static_cast<ICameraDevice*>(pCamera.get()) == pInstance;
    });
    EXPECT_NE(found, g_pModule->m_cameras.end()) << "an instance was given back that this module did not make";
    ++g_pModule->m_nGivenBack;
}

} // namespace Doubles
