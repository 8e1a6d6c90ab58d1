#include "agent/cvtagentd/ServedModules.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <utility>

#include "agent/common/Joined.h"
#include "agent/cvtagentd/process/Log.h"
#include "agent/cvtagentd/process/StartError.h"

namespace cvtagentd {

ServedModules::ServedModules(unsigned int closeMs, GroupReader::Wait wait) : m_closeMs(closeMs), m_requests(wait) {}

ServedModules::~ServedModules() {
    using Clock = std::chrono::steady_clock;
    const auto deadline = Clock::now() + std::chrono::milliseconds(m_closeMs);
    const auto left = [&] {
        const auto milliseconds = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
        return static_cast<unsigned int>(std::max<decltype(milliseconds)>(milliseconds, 0));
    };
    m_requests.delegated.End();
    if (!m_requests.delegated.EndCalls(left())) {
        EndAtOnce();
    }
    m_handlers.clear();
    m_requests.sets.ReleaseAll();
    for (const auto& module : m_modules) {
        if (module->IsStarted()) {
            m_engine.Remove(module->Group());
        }
    }
    if (!agent::ExtensionModule::CloseAll(m_modules, left())) {
        EndAtOnce();
    }
}

void ServedModules::EndAtOnce() const {
    Log::Fatal("the modules did not close within " + std::to_string(m_closeMs / 1000) +
               " s; ending without waiting any longer");
    std::_Exit(EXIT_FAILURE);
}

void ServedModules::Start(const std::vector<std::string>& files, BuiltinModule* builtin) {
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
    if (builtin != nullptr) {
        Add(*builtin);
    }
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

void ServedModules::Add(BuiltinModule& builtin) {
    builtin.GiveWayTo(m_engine.Groups());
    m_engine.Add(builtin);
    builtin.Announce(m_engine.Groups());
}

std::string ServedModules::NotReady() const {
    std::vector<std::string> files;
    for (const auto& module : m_modules) {
        if (!module->IsReady()) {
            files.push_back(module->File());
        }
    }
    return agent::Joined(files);
}

std::string ServedModules::NotUp() const {
    std::vector<std::string> names;
    for (const CVT::BMibImpl* const group : m_engine.Groups()) {
        if (!group->IsActive()) {
            names.emplace_back(group->Name().View());
        }
    }
    return agent::Joined(names);
}

}  // namespace cvtagentd
