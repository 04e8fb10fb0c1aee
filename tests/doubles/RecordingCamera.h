#pragma once

// A camera that writes down each call and answers by script, and a module "Camera" that hands such cameras out through
// the loader. Set the script before the code under test runs, or from within `OnCall`; everything may be called from
// any thread. Make one `CameraModule` per test, before anything loads "Camera".

#include "ICameraDevice.h"

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace Doubles
{

class RecordingCamera : public ICameraDevice
{
public:
    // The script. Operations go by their names, "SnapPicture".

    void SetList(std::vector<std::string> names);
    /// What a good snap gives; the pixels are shared.
    void SetPicture(const cv::Mat& picture);
    /// What a failing snap leaves, where not an empty picture.
    void SetFailingPicture(const cv::Mat& picture);
    /// The camera that counts as open. Opening and closing changes it, too.
    void SetName(const std::string& strName);
    /// What the operation answers from now on. By default all is well: 0, true for a bool, and `IsCameraOpen` follows
    /// what was opened.
    void Answer(const std::string& strOperation, int nAnswer);
    /// The same for the next calls, one each.
    void AnswerNext(const std::string& strOperation, const std::vector<int>& answers);
    /// Runs inside each call of the operation, after it was written down and before it answers.
    void OnCall(const std::string& strOperation, std::function<void()> act);

    // The journal.

    /// All calls in order, as "ApplyCameraParameters(Camera-Left, 500)".
    std::vector<std::string> Calls() const;
    /// The same without those that only ask for names and states.
    std::vector<std::string> Commands() const;
    int Count(const std::string& strOperation) const;
    void ForgetCalls();
    /// The values that property calls were given by address, in order.
    std::vector<int> Values() const;

    int GetCameraList(std::vector<std::string>& names) override;
    int OpenCamera(const char* name) override;
    int CloseCamera(const char* name) override;
    bool IsCameraOpen(const char* name) override;
    int SnapPicture(cv::Mat& picture, const char* name) override;
    int Reserved7() override;
    int SetIntProperty(const char* key, const int* value) override;
    int SetProperty(const char* key, const int* value) override;
    int Reserved10() override;
    int SetExposureMode(const char* key, const int* value) override;
    int SetExposureValue(const char* key, const int* value) override;
    std::string GetCameraName() override;
    bool IsCameraAlive() override;
    bool ApplyCameraParameters(const char* name, int value) override;
    int Reserved16() override;

private:
    int Call(const std::string& strOperation, const std::string& strArguments, int nDefault);
    int SetValue(const std::string& strOperation, const char* key, const int* value);

    mutable std::mutex m_mutex;
    std::vector<std::string> m_journal;
    std::map<std::string, int> m_counts;
    std::vector<int> m_values;
    std::map<std::string, int> m_answers;
    std::map<std::string, std::deque<int>> m_nextAnswers;
    std::map<std::string, std::function<void()>> m_acts;
    std::vector<std::string> m_list;
    std::string m_strOpen;
    cv::Mat m_picture;
    cv::Mat m_failingPicture;
};

class CameraModule
{
public:
    CameraModule();
    ~CameraModule();
    CameraModule(const CameraModule&) = delete;
    CameraModule& operator=(const CameraModule&) = delete;

    /// Scripts each camera as it is handed out, from now on.
    void Prepare(std::function<void(RecordingCamera&)> script);
    /// From now on `NewInterface` gives null.
    void GiveNull();
    /// The cameras that were handed out, in order. They stay for the test to read when they were given back.
    RecordingCamera& Camera(std::size_t nIndex = 0);
    int HandedOut() const;
    int GivenBack() const;

private:
    static void* New();
    static void Release(void* pInstance);

    mutable std::mutex m_mutex;
    std::function<void(RecordingCamera&)> m_script;
    std::vector<std::unique_ptr<RecordingCamera>> m_cameras;
    int m_nGivenBack = 0;
    bool m_bGivesNull = false;
};

} // namespace Doubles
