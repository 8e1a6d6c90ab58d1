#include "agent/cvtagentd/DaemonUser.h"

#include <unistd.h>

#include "agent/cvtagentd/AccessConfig.h"
#include "agent/cvtagentd/Log.h"
#include "agent/cvtagentd/NulLink.h"
#include "agent/cvtagentd/Privileges.h"
#include "agent/cvtagentd/SnmpHeaders.h"
#include "agent/cvtagentd/StateDir.h"

namespace agent {
namespace {

/// A number of the configuration's; 0 when it says nothing.
unsigned int Configured(int name) {
    const int number = ::netsnmp_ds_get_int(NETSNMP_DS_APPLICATION_ID, name);
    return static_cast<unsigned int>(number);
}

std::string Joined(const std::vector<std::string>& texts) {
    std::string all;
    for (const std::string& text : texts) {
        all += (all.empty() ? "" : ", ") + text;
    }
    return all;
}

}  // namespace

DaemonUser::DaemonUser(const std::string& option) {
    const uid_t uid = Configured(NETSNMP_DS_AGENT_USERID);
    const gid_t gid = Configured(NETSNMP_DS_AGENT_GROUPID);
    if (!option.empty()) {
        m_user = Users::Named(option);
    } else if (uid != 0) {
        m_user = Users::WithId(uid);
    } else if (gid != 0) {
        m_user = Users::WithId(::geteuid());
    } else {
        return;
    }
    if (gid != 0) {
        m_user->gid = gid;
    }
    Privileges::CheckMayBecome(*m_user);
}

void DaemonUser::Assume(const std::string& configFile) {
    if (!m_user) {
        return;
    }
    if (::geteuid() == 0) {
        NulLink::Make();
        StateDir::GiveTo(m_user->uid, m_user->gid);
    }
    Privileges::Become(*m_user);
    StateDir::CheckWritable();
    if (const std::string why = NulLink::WhyUnusable(); !why.empty()) {
        m_remarks.push_back(why);
    }
    if (const std::string why = configFile.empty() ? "" : AccessConfig::WhyUnreadable(configFile); !why.empty()) {
        m_remarks.push_back("as the user " + m_user->Label() + " it " + why +
                            "; SIGHUP will change nothing until he may read it");
    }
}

void DaemonUser::Report() const {
    if (!m_user) {
        return;
    }
    const std::string kept = Joined(Privileges::Kept());
    Log::Info("runs as the user " + m_user->Label() + ", " + (kept.empty() ? "without capabilities" : "with " + kept));
    if (const std::string missing = Joined(Privileges::Missing()); !missing.empty()) {
        Log::Warning("for want of capabilities " + missing);
    }
    for (const std::string& remark : m_remarks) {
        Log::Warning(remark);
    }
}

}  // namespace agent
