#pragma once

// A test with an application of its own, without which no install resource is found.

#include <gtest/gtest.h>

#include <QApplication>

#include <memory>

class ApplicationTest : public testing::Test
{
protected:
    ApplicationTest()
    {
        static int argc = 1;
        static char szName[] = "resources_test";
        static char* argv[] = {szName, nullptr};
        m_pApplication = std::make_unique<QApplication>(argc, argv);
    }

    std::unique_ptr<QApplication> m_pApplication;
};
