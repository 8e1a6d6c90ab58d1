#include "agent/cvtagentd/ServedModules.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "agent/cvtagentd/agentx/MasterConnection.h"
#include "agent/cvtagentd/process/Log.h"
#include "agent/cvtagentd/process/StartError.h"
#include "agent/cvtagentd/requests/SetTransactions.h"
#include "agent/cvtagentd/snmp/LibraryLog.h"

namespace cvtagentd {
namespace {

constexpr const char* kDuplicate = "failed: 263";  // an error of the AgentX protocol's: duplicateRegistration

}  // namespace

ServedModules::ServedModules(unsigned int closeMs, MasterConnection* master)
    : m_closeMs(closeMs), m_master(master), m_putBack(master == nullptr) {
    if (m_master != nullptr) {
        m_master->OnConnected([this] { m_ids.NewConnection(); });
        m_master->OnLost(&SetTransactions::ReleaseAll);
    }
}

ServedModules::~ServedModules() {
    if (m_master != nullptr) {
        m_master->OnConnected(nullptr);
        m_master->OnLost(nullptr);
        m_master->Leave();
    }
    m_putBack.End();
    m_handlers.clear();
    SetTransactions::ReleaseAll();
    for (const auto& module : m_modules) {
        if (module->IsStarted()) {
            m_engine.Remove(module->Group());
        }
    }
    if (!agent::ExtensionModule::CloseAll(m_modules, m_closeMs)) {
        Log::Fatal("the modules did not close within " + std::to_string(m_closeMs / 1000) +
                   " s; ending without waiting any longer");
        std::_Exit(EXIT_FAILURE);
    }
}

void ServedModules::Start(const std::vector<std::string>& files, BuiltinModule* own) {
    for (const std::string& file : files) {
        Load(file);
    }
    for (const auto& module : m_modules) {
        std::string error;
        if (!module->Start(nullptr, error)) {
            throw StartError(error);
        }
        Add(*module);
    }
    m_numSubtrees = m_engine.Groups().size();
    if (own != nullptr) {
        Add(*own);
    }
    if (m_master != nullptr) {
        m_waiting = m_engine.Groups();
        return;
    }
    for (CVT::BMibImpl* const group : m_engine.Groups()) {
        m_handlers.emplace_back(*group, m_ids, m_putBack);
    }
}

bool ServedModules::ServeReady() {
    if (m_master == nullptr) {
        return true;
    }
    if (!m_master->IsConnected()) {
        return true;
    }
    std::vector<CVT::BMibImpl*> later;
    for (CVT::BMibImpl* const group : std::exchange(m_waiting, {})) {
        if (m_master->IsCut() || !CanAnswer(*group)) {
            later.push_back(group);
        } else {
            Register(*group);
        }
    }
    m_waiting = std::move(later);
    if (m_waiting.empty()) {
        ReportRefused();
    }
    return m_waiting.empty();
}

void ServedModules::Register(CVT::BMibImpl& group) {
    const LibraryLog::Collector collector;
    m_handlers.emplace_back(group, m_ids, m_putBack);
    for (const LibraryLog::Message& message : collector.Messages()) {
        if (message.text.find(kDuplicate) != std::string::npos) {
            m_refused += (m_refused.empty() ? "" : ", ") + std::string(group.Oid().ToString().View());
        } else if (MasterConnection::IsRefusal(message.text)) {
            Log::Warning("the master refuses " + std::string(group.Oid().ToString().View()) + " (" + message.text +
                         "); look into the master's log");
        } else {  // he has not answered in time: begin anew
            Log::Write(LogLevel::kDebug, "SNMP library: " + message.text);
            m_master->Cut();
        }
    }
}

void ServedModules::ReportRefused() {
    if (!m_refused.empty()) {
        Log::Warning("the master serves these subtrees already, without us: " + std::exchange(m_refused, {}) +
                     "; switch its own module off, or the other subagent, and restart the master");
    }
}

/// A group of a module that is ready answers even if it is not active: its initialisation has failed.
bool ServedModules::CanAnswer(CVT::BMibImpl& group) const {
    const auto ready = [](const auto& module) { return module->IsReady(); };
    if (!group.IsActive() && !std::all_of(m_modules.begin(), m_modules.end(), ready)) {
        return false;
    }
    if (!group.RequestLock().Try()) {
        return false;
    }
    group.RequestLock().Done();
    return true;
}

void ServedModules::Load(const std::string& file) {
    std::string error;
    auto module = agent::ExtensionModule::Load(file, error);
    if (module == nullptr) {
        throw StartError(error + "; name an extension module with --module");
    }
    const auto same = [&](const auto& other) { return other->IsSameLibrary(*module); };
    if (std::any_of(m_modules.begin(), m_modules.end(), same)) {
        throw StartError("the module " + file + " is named twice; give --module once for each module");
    }
    m_modules.push_back(std::move(module));
}

void ServedModules::Add(agent::ExtensionModule& module) {
    if (!m_engine.Add(module.Group())) {
        throw StartError("the module " + module.File() +
                         " serves a subtree that another module, or it itself, serves already; leave one of them out");
    }
}

void ServedModules::Add(BuiltinModule& own) {
    own.GiveWayTo(m_engine.Groups());
    m_engine.Add(own);
    own.Announce(m_engine.Groups());
}

std::string ServedModules::NotReady() const {
    std::string files;
    for (const auto& module : m_modules) {
        if (!module->IsReady()) {
            files += (files.empty() ? "" : ", ") + module->File();
        }
    }
    return files;
}

std::string ServedModules::NotUp() const {
    std::string names;
    for (const CVT::BMibImpl* const group : m_engine.Groups()) {
        if (!group->IsActive()) {
            names += (names.empty() ? "" : ", ") + std::string(group->Name().View());
        }
    }
    return names;
}

}  // namespace cvtagentd
