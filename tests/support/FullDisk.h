#pragma once

// A disk that has no more room, as far as one process and those that it starts can tell: no file of it may grow. Works
// for whatever user runs the tests; the system's words are "File too large".

#include <sys/resource.h>

#include <csignal>

/// For this process, as long as the object lives.
class FullDisk
{
public:
    /// @param nBytes  that a file may have
    explicit FullDisk(rlim_t nBytes = 0) : m_before(std::signal(SIGXFSZ, SIG_IGN))
    {
        getrlimit(RLIMIT_FSIZE, &m_limit);
        const rlimit most{nBytes, m_limit.rlim_max};
        setrlimit(RLIMIT_FSIZE, &most);
    }
    ~FullDisk()
    {
        setrlimit(RLIMIT_FSIZE, &m_limit);
        std::signal(SIGXFSZ, m_before);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

private:
    rlimit m_limit{};
    void (*m_before)(int);
};

/// For another process, from now on. It must ignore SIGXFSZ, as it does when the one that starts it does.
inline bool FillDiskOf(pid_t process)
{
    const rlimit none{0, 0};
    return prlimit(process, RLIMIT_FSIZE, &none, nullptr) == 0;
}
