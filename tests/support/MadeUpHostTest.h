#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <memory>

#include "CVT/BMibEngine.h"
#include "tests/support/LoadedModule.h"
#include "tests/support/MadeUpHost.h"

/// A test of the library that ships on a made-up host, whose directory is the working directory. Skipped where this
/// machine lets us make none.
class MadeUpHostTest : public testing::Test {
protected:
    /// Makes the host and loads the library, but does not start it. What a test lays over the host in a SetUp of its own
    /// comes after this, unless it was skipped or failed.
    void SetUp() override {
        if (!MadeUpHost::IsPossible()) {
            GTEST_SKIP() << "this machine gives no mount namespace";
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
    /// Starts the module, waits until it is up, and puts it into the engine.
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
