#pragma once

// Tells the operator what a status of the machine means. The object of the module "ErrCodeMgr", loaded at run time.

struct IErrCodeMgr {
    virtual ~IErrCodeMgr() = default;
    virtual void ShowStatus(int nStatus, int nZero) = 0;
};
