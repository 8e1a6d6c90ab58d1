#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <memory>

#include "CVT/BMibEngine.h"
#include "tests/support/LoadedModule.h"
#include "tests/support/MadeUpHost.h"

/// A test of the shipped library on a made-up host, whose directory is the working directory. Skipped where this
/// machine does not let us create one.
class MadeUpHostTest : public testing::Test {
protected:
    /// Creates the host and loads the library, but does not start it. A derived SetUp calls this first and then changes
    /// the host, unless this skipped or failed.
    void SetUp() override {
        if (!MadeUpHost::IsPossible()) {
            GTEST_SKIP() << "this machine does not allow a mount namespace";
        }
        m_host = std::make_unique<MadeUpHost>();
        ASSERT_EQ(::chdir(m_host->Directory().c_str()), 0);
        m_module = std::make_unique<LoadedModule>();
        ASSERT_TRUE(m_module->IsLoaded());
    }
    void TearDown() override {
        if (m_started && m_module) {
            EXPECT_EQ(m_module->Close(), 1);
        }
        m_module.reset();
        EXPECT_EQ(::chdir("/"), 0);
    }

    /// Starts the module, which then comes up in the background.
    void Start() {
        m_started = true;
        ASSERT_EQ(m_module->Init(), 1);
    }
    /// Starts the module, waits until it is up, and adds it to the engine.
    void StartUp() {
        Start();
        ASSERT_TRUE(m_module->WaitUntilActive());
        ASSERT_TRUE(m_engine.Add(m_module->Group()));
    }

    std::unique_ptr<MadeUpHost> m_host;
    std::unique_ptr<LoadedModule> m_module;
    CVT::BMibEngine m_engine;

private:
    bool m_started = false;
};
