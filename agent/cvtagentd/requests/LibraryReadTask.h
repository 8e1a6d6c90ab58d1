#pragma once

#include <memory>
#include <optional>

#include "agent/cvtagentd/requests/ReadTask.h"

struct netsnmp_mib_handler_s;
struct netsnmp_handler_registration_s;
struct netsnmp_agent_request_info_s;
struct netsnmp_request_info_s;
struct netsnmp_delegated_cache_s;
struct variable_list;

namespace cvtagentd {

/// Varbinds that the SNMP library asks a handler for. Those without an answer are marked as delegated in the library's
/// own structures, from the beginning. Used by the thread that runs the library.
class LibraryReadTask final : public ReadTask {
public:
    /// Where the library stands: what it passes to a handler.
    struct Position {
        netsnmp_mib_handler_s* handler;
        netsnmp_handler_registration_s* registration;
        netsnmp_agent_request_info_s* info;
        netsnmp_request_info_s* requests;
    };

    LibraryReadTask(const Position& position, std::shared_ptr<const CVT::BRequest> request);
    /// The same, once the handler returns before all varbinds are answered.
    LibraryReadTask(const LibraryReadTask& other);
    LibraryReadTask& operator=(const LibraryReadTask&) = delete;
    ~LibraryReadTask() override;

    bool First() override;
    bool Next() override;
    void ReadName(CVT::BObjectIdentifier& name) const override;
    bool ReadEnd(const CVT::BObjectIdentifier& subtree, CVT::BObjectIdentifier& end) const override;
    bool Write(const CVT::BVarBind& instance) override;
    void WriteException(CVT::ESnmpType exception) override;
    void Refuse(int status) override;
    bool Repeat() override;
    void LeaveRepetition() override;
    void Finish() override;
    std::optional<AccessView> View(const CVT::BObjectIdentifier& subtree) const override;
    ReadProgress* FindProgress() const override;
    ReadProgress& Progress() override;
    std::size_t NumVarBinds() const override;
    bool Delegate() override;
    /// The library drops a request whose sender has gone, and for other reasons.
    bool IsWanted() const override;

private:
    bool Find();

    const Position m_position;
    netsnmp_request_info_s* m_at = nullptr;
    const variable_list* m_last = nullptr;             // the repetition before
    netsnmp_delegated_cache_s* m_delegated = nullptr;  // owned
};

}  // namespace cvtagentd
