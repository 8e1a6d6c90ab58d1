#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <utility>

#include "CVT/BRequest.h"
#include "CVT/BVarBind.h"
#include "agent/cvtagentd/requests/AccessView.h"
#include "agent/cvtagentd/requests/ReadProgress.h"

namespace cvtagentd {

/// The varbinds of one reading request that lie in one group's subtree, and how their answers get back to the asker:
/// LibraryReadTask for a client of the SNMP library, MasterReadTask for an AgentX master. GroupReader answers them.
///
/// It stands at one varbind at a time, which First and Next choose; all other operations on a varbind are about that
/// one. Used by one thread.
class ReadTask {
public:
    enum class Mode { kGet, kGetNext, kGetBulk };

    ReadTask(Mode mode, std::shared_ptr<const CVT::BRequest> request) : m_mode(mode), m_request(std::move(request)) {}
    ReadTask(const ReadTask&) = delete;
    ReadTask& operator=(const ReadTask&) = delete;
    virtual ~ReadTask() = default;

    Mode What() const { return m_mode; }
    const std::shared_ptr<const CVT::BRequest>& Request() const { return m_request; }

    /// Moves to the first varbind that this group has not finished with. Returns false when there is none.
    virtual bool First() = 0;
    /// Moves to the next such varbind.
    virtual bool Next() = 0;

    /// The name that is asked for, or after which the search begins.
    virtual void ReadName(CVT::BObjectIdentifier& name) const = 0;
    /// If the search ends within this subtree, sets `end` to the first name that is too far, and returns true.
    virtual bool ReadEnd(const CVT::BObjectIdentifier& subtree, CVT::BObjectIdentifier& end) const = 0;

    /// Returns false when there is no memory for the instance, or it has no value.
    virtual bool Write(const CVT::BVarBind& instance) = 0;
    virtual void WriteException(CVT::ESnmpType exception) = 0;
    /// With an error-status.
    virtual void Refuse(int status) = 0;

    /// After Write: moves to the varbind's next repetition, whose search begins after that instance. Returns false when
    /// no other is wanted.
    virtual bool Repeat() = 0;
    /// After Repeat: the repetition is left for later, or for the next group.
    virtual void LeaveRepetition() {}
    /// The group has answered or refused the varbind, or has nothing more for it.
    virtual void Finish() = 0;

    /// What the asker may see of this subtree; no value: everything, or somebody else checks it.
    virtual std::optional<AccessView> View(const CVT::BObjectIdentifier& /*subtree*/) const { return std::nullopt; }

    /// Kept with the request, which may have several tasks. Null when there is nothing yet.
    virtual ReadProgress* FindProgress() const = 0;
    /// Throws std::bad_alloc.
    virtual ReadProgress& Progress() = 0;

    /// How many varbinds there are, with their repetitions.
    virtual std::size_t NumVarBinds() const = 0;
    /// Prepares for being delegated. Returns false when there is no memory for that.
    virtual bool Delegate() { return true; }
    /// Whether the request is still to be answered. Nothing else may be called when it is not.
    virtual bool IsWanted() const = 0;

private:
    const Mode m_mode;
    const std::shared_ptr<const CVT::BRequest> m_request;
};

}  // namespace cvtagentd
