#pragma once

#include <map>
#include <memory>

#include "agent/cvtagentd/requests/GroupCall.h"

namespace cvtagentd {

/// Makes the calls of groups that may take long, and those of groups whose lock is taken, on threads of their own: one
/// for each group that has had such a call, which makes its calls in the order in which they came. A thread takes the
/// group's lock for one call at a time, waits for it as long as it takes, and never calls the SNMP library. When a call
/// is done, the descriptor becomes readable.
///
/// Used by the thread that runs the library, with signals blocked, which the threads inherit. The groups must outlive
/// it.
class GroupWorkers {
public:
    /// Throws StartError when the system has no descriptor left.
    GroupWorkers();
    /// End must have returned true, if any call was ever started.
    ~GroupWorkers();
    GroupWorkers(const GroupWorkers&) = delete;
    GroupWorkers& operator=(const GroupWorkers&) = delete;

    /// Readable when calls have finished since Drain was last called.
    int Descriptor() const { return m_descriptor; }
    void Drain() const;

    /// Returns false when the system cannot create another thread. Throws std::bad_alloc.
    bool Start(const std::shared_ptr<GroupCall>& call);
    /// Ends the threads; calls that are not under way yet are not made. Waits up to `milliseconds` for those that are;
    /// returns false when one is not over by then. No call may be started afterwards.
    bool End(unsigned int milliseconds);

private:
    class Worker;

    const int m_descriptor;
    std::map<const CVT::BMibImpl*, std::unique_ptr<Worker>> m_workers;
};

}  // namespace cvtagentd
