// Under the thread sanitizer `cv::parallel_for_` runs on threads that the sanitizer sees: those of the installed OpenCV
// are not instrumented, so that each of its fork-joins would be told as a race. Linked into every test of that preset,
// not into the programs that a test starts.

#include <opencv2/core/parallel/parallel_backend.hpp>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <memory>
#include <thread>
#include <vector>

namespace
{

class VisibleThreads : public cv::parallel::ParallelForAPI
{
public:
    void parallel_for(int nTasks, FN_parallel_for_body_cb_t pfnBody, void* pBody) override
    {
        const int nThreads = std::clamp(m_nThreads.load(), 1, std::max(nTasks, 1));
        std::vector<std::thread> threads;
        for (int i = 0; i < nThreads; ++i) {
            const auto from = static_cast<int>(std::int64_t{nTasks} * i / nThreads);
            const auto to = static_cast<int>(std::int64_t{nTasks} * (i + 1) / nThreads);
            threads.emplace_back([=] {
                t_nThread = i;
                pfnBody(from, to, pBody);
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    }
    int getThreadNum() const override { return t_nThread; }
    int getNumThreads() const override { return m_nThreads; }
    int setNumThreads(int nThreads) override { return m_nThreads.exchange(nThreads > 0 ? nThreads : g_nDefault); }
    const char* getName() const override { return "visible threads"; }

private:
    static constexpr int g_nDefault = 4;
    static thread_local int t_nThread;
    std::atomic<int> m_nThreads{g_nDefault};
};

thread_local int VisibleThreads::t_nThread = 0;

[[maybe_unused]] const bool g_bSet = [] {
    cv::parallel::setParallelForBackend(std::make_shared<VisibleThreads>());
    return true;
}();

} // namespace
