#pragma once

#include "agent/cvtagentd/builtin/LibraryCounters.h"

namespace cvtagentd {

/// usmStats, 1.3.6.1.6.3.15.1.1: SNMPv3 messages that the SNMP library refuses, by cause. The first message of every
/// client has no engine identifier, and so counts as one from an unknown engine.
class UsmStatsGroup final : public LibraryCounters {
public:
    UsmStatsGroup();

    const CVT::BRqHndlrEntry* GetRqHndlrMap() const override { return s_rqhndlrEntries; }

private:
    static const CVT::BRqHndlrEntry s_rqhndlrEntries[];
};

}  // namespace cvtagentd
