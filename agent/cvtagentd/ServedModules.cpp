#include "agent/cvtagentd/ServedModules.h"

#include <algorithm>
#include <cstdlib>

#include "agent/cvtagentd/Log.h"
#include "agent/cvtagentd/StartError.h"

namespace agent {

ServedModules::~ServedModules() {
    m_putBack.End();
    m_handlers.clear();
    for (const auto& module : m_modules) {
        if (module->IsStarted()) {
            m_engine.Remove(module->Group());
        }
    }
    if (!ExtensionModule::CloseAll(m_modules, m_closeMs)) {
        Log::Fatal("the modules did not close within " + std::to_string(m_closeMs / 1000) +
                   " s; ending without waiting any longer");
        std::_Exit(EXIT_FAILURE);
    }
}

void ServedModules::Start(const std::vector<std::string>& files, OwnGroups* own) {
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
    for (CVT::BMibImpl* const group : m_engine.Groups()) {
        m_handlers.emplace_back(*group, m_ids, m_putBack);
    }
}

void ServedModules::Load(const std::string& file) {
    std::string error;
    auto module = ExtensionModule::Load(file, error);
    if (module == nullptr) {
        throw StartError(error + "; name an extension module with --module");
    }
    const auto same = [&](const auto& other) { return other->IsSameLibrary(*module); };
    if (std::any_of(m_modules.begin(), m_modules.end(), same)) {
        throw StartError("the module " + file + " is named twice; give --module once for each module");
    }
    m_modules.push_back(std::move(module));
}

void ServedModules::Add(ExtensionModule& module) {
    if (!m_engine.Add(module.Group())) {
        throw StartError("the module " + module.File() +
                         " serves a subtree that another module, or it itself, serves already; leave one of them out");
    }
}

void ServedModules::Add(OwnGroups& own) {
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

}  // namespace agent
