#pragma once

#include <functional>
#include <utility>

#include "CVT/TThread.h"

namespace CVT::test {

/// A thread that runs a function of the test. The destructor of an owned one waits for it.
class FunctionThread : public TThread {
public:
    explicit FunctionThread(std::function<void(FunctionThread&)> work, bool deletesItself = false)
        : TThread(deletesItself), m_deletesItself(deletesItself), m_work(std::move(work)) {}
    ~FunctionThread() override {
        if (!m_deletesItself) {
            TThread::Stop(kWaitForever);
        }
        inDestructor();
    }

    bool StartNow() { return Start(0, 0); }

    // Set these before the start.
    std::function<void()> atEnd = [] {};         ///< runs in OnThreadEnd
    std::function<void()> inDestructor = [] {};  ///< runs in the destructor

protected:
    unsigned int Run() override {
        m_work(*this);
        return 0;
    }
    void OnThreadEnd() override { atEnd(); }

private:
    const bool m_deletesItself;
    std::function<void(FunctionThread&)> m_work;
};

}  // namespace CVT::test
