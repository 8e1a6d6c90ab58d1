#include "agent/cvtagentd/process/DaemonUser.h"

#include <unistd.h>

#include "agent/common/Joined.h"
#include "agent/cvtagentd/process/DevNul.h"
#include "agent/cvtagentd/process/Environment.h"
#include "agent/cvtagentd/process/Log.h"
#include "agent/cvtagentd/process/Privileges.h"
#include "agent/cvtagentd/process/ReadableFile.h"
#include "agent/cvtagentd/process/StartError.h"
#include "agent/cvtagentd/process/StateDir.h"

namespace cvtagentd {

DaemonUser::DaemonUser(const std::string& option) {
    if (!option.empty()) {
        m_user = Users::Named(option);
        Privileges::CheckMayBecome(*m_user);
        Environment::ReduceTo(*m_user);
    }
}

void DaemonUser::Assume(const std::string& configFile) {
    if (!m_user) {
        StateDir::CheckUsable();
        return;
    }
    if (::geteuid() == 0) {
        DevNul::Make();
        StateDir::GiveTo(m_user->uid, m_user->gid);
    }
    Privileges::Become(*m_user);
    StateDir::CheckUsable();
    std::vector<std::string> foreign;
    for (const gid_t group : Privileges::ForeignGroups(*m_user)) {
        foreign.push_back(std::to_string(group));
    }
    if (!foreign.empty()) {
        m_remarks.push_back("the agent stays in groups that do not belong to the user " + m_user->Label() + ": " +
                            agent::Joined(foreign) + "; start it as root, or without them");
    }
    if (const std::string why = DevNul::WhyUnusable(); !why.empty()) {
        m_remarks.push_back(why);
    }
    if (const std::string why = configFile.empty() ? "" : ReadableFile::WhyNot(configFile); !why.empty()) {
        throw ConfigError(
            "as the user " + m_user->Label() + " it " + why +
            "; let that user read it (chgrp to the user's group, chmod 0640) and enter the folders above it");
    }
}

void DaemonUser::GiveUpPorts() const {
    if (m_user) {
        Privileges::GiveUpPorts();
    }
}

void DaemonUser::Report() const {
    if (!m_user) {
        return;
    }
    const std::string kept = agent::Joined(Privileges::Kept());
    Log::Info("runs as the user " + m_user->Label() + ", " + (kept.empty() ? "without capabilities" : "with " + kept));
    if (const std::string missing = agent::Joined(Privileges::Missing()); !missing.empty()) {
        Log::Warning("lacks capabilities: " + missing);
    }
    if (const std::string missing = agent::Joined(Privileges::NotAskedFor()); !missing.empty()) {
        Log::Info(missing + "; that capability is kept only when it is handed over on purpose");
    }
    for (const std::string& remark : m_remarks) {
        Log::Warning(remark);
    }
}

}  // namespace cvtagentd
