#include "agent/cvtagentd/requests/GroupWorkers.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <deque>
#include <utility>

#include "CVT/TEvent.h"
#include "CVT/TMutex.h"
#include "CVT/TThread.h"
#include "agent/cvtagentd/process/StartError.h"

namespace cvtagentd {

/// The thread of one group.
class GroupWorkers::Worker final : public CVT::TThread {
public:
    explicit Worker(int done) : TThread(false), m_done(done) {}

    void Add(std::shared_ptr<GroupCall> call) {
        {
            const CVT::TMutex::Guard guard(m_lock);
            m_calls.push_back(std::move(call));
        }
        m_hasWork.Set();
    }
    void AskToEnd() {
        m_mustEnd = true;
        m_hasWork.Set();
    }

private:
    unsigned int Run() override {
        while (!m_mustEnd) {
            if (const std::shared_ptr<GroupCall> call = Take(); call != nullptr) {
                Make(*call);
                call->isDone = true;
                ::eventfd_write(m_done, 1);
            } else {
                m_hasWork.Wait(CVT::kWaitForever);
            }
        }
        return 0;
    }

    /// Null when there is none.
    std::shared_ptr<GroupCall> Take() {
        const CVT::TMutex::Guard guard(m_lock);
        if (m_calls.empty()) {
            return nullptr;
        }
        std::shared_ptr<GroupCall> call = std::move(m_calls.front());
        m_calls.pop_front();
        return call;
    }

    /// Whether the call is still wanted is checked with the lock held: a SET that has begun since must not wait for it.
    void Make(GroupCall& call) const {
        if (call.isUnwanted || m_mustEnd) {
            return;
        }
        const CVT::TMutex::Guard guard(call.group.RequestLock());
        if (call.isUnwanted || m_mustEnd) {
            return;
        }
        call.Make();
    }

    const int m_done;
    std::atomic<bool> m_mustEnd = false;
    CVT::TEvent m_hasWork{false};
    CVT::TMutex m_lock{false};
    std::deque<std::shared_ptr<GroupCall>> m_calls CVT_GUARDED_BY(m_lock);
};

GroupWorkers::GroupWorkers() : m_descriptor(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (m_descriptor < 0) {
        throw StartError("no file descriptor is left; raise the limit (ulimit -n)");
    }
}

GroupWorkers::~GroupWorkers() { ::close(m_descriptor); }

void GroupWorkers::Drain() const {
    eventfd_t count = 0;
    ::eventfd_read(m_descriptor, &count);
}

bool GroupWorkers::Start(const std::shared_ptr<GroupCall>& call) {
    std::unique_ptr<Worker>& worker = m_workers[&call->group];
    if (worker == nullptr) {
        auto started = std::make_unique<Worker>(m_descriptor);
        if (!started->Start(0, 0)) {
            return false;
        }
        worker = std::move(started);
    }
    worker->Add(call);
    return true;
}

bool GroupWorkers::End(unsigned int milliseconds) {
    using Clock = std::chrono::steady_clock;
    const auto deadline = Clock::now() + std::chrono::milliseconds(milliseconds);
    for (const auto& [group, worker] : m_workers) {
        if (worker != nullptr) {
            worker->AskToEnd();
        }
    }
    for (const auto& [group, worker] : m_workers) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
        if (worker != nullptr && !worker->Join(static_cast<unsigned int>(std::max<decltype(left)>(left, 0)))) {
            return false;
        }
    }
    m_workers.clear();
    return true;
}

}  // namespace cvtagentd
