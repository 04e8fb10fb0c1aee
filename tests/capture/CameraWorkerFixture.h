#pragma once

// The worker for its own tests: with a camera that its loop runs on, or with one that only single calls use.

#include "CaptureFixture.h"

#include <string>
#include <utility>
#include <vector>

using Lines = std::vector<std::pair<int, std::string>>;

class CameraWorkerLoop : public CaptureFixture
{
};

class CameraWorkerCalls : public CaptureFixture
{
protected:
    void SetUp() override
    {
        CaptureFixture::SetUp();
        m_pCamera->SetName("");
    }
};
