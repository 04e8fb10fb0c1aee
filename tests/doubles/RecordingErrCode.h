#pragma once

// The module "ErrCodeMgr" of tests: writes down every status that it is told. Make one per test, before anything loads
// the module.

#include "IErrCodeMgr.h"

#include <functional>
#include <utility>
#include <vector>

namespace Doubles
{

class ErrCodeModule : public IErrCodeMgr
{
public:
    ErrCodeModule();
    ~ErrCodeModule() override;
    ErrCodeModule(const ErrCodeModule&) = delete;
    ErrCodeModule& operator=(const ErrCodeModule&) = delete;

    void ShowStatus(int nStatus, int nZero) override;

    std::vector<std::pair<int, int>> statuses; ///< with the second argument
    std::function<void()> onStatus;
    bool bGiveNull = false; ///< what is loaded from now on is null
    int nHandedOut = 0;

private:
    static void* New();
};

} // namespace Doubles
