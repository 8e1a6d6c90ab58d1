#include "agent/cvtagentd/requests/ReadProgress.h"

#include "agent/cvtagentd/snmp/RequestData.h"

namespace cvtagentd {
namespace {

constexpr RequestData<ReadProgress> kData("cvtagentd.progress");

}  // namespace

ReadProgress* ReadProgress::Find(const netsnmp_agent_request_info_s& info) { return kData.Find(*info.asp->reqinfo); }

ReadProgress& ReadProgress::Of(const netsnmp_agent_request_info_s& info) {
    ReadProgress* const kept = Find(info);
    return kept != nullptr ? *kept : kData.Attach(*info.asp->reqinfo, std::make_unique<ReadProgress>());
}

}  // namespace cvtagentd
