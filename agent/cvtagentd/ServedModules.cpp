#include "agent/cvtagentd/ServedModules.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <utility>

#include "agent/common/Joined.h"
#include "agent/cvtagentd/process/Log.h"
#include "agent/cvtagentd/process/StartError.h"

namespace cvtagentd {

ServedModules::~ServedModules() {
    using Clock = std::chrono::steady_clock;
    const auto deadline = Clock::now() + std::chrono::milliseconds(m_closeMs);
    const auto left = [&] {
        const auto milliseconds = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
        return static_cast<unsigned int>(std::max<decltype(milliseconds)>(milliseconds, 0));
    };
    m_requests.delegated.End();
    if (!m_requests.workers.End(left())) {
        EndAtOnce();
    }
    m_handlers.clear();
    m_requests.sets.ReleaseAll();
    std::string error;
    if (!m_modules.Close(left(), error)) {
        EndAtOnce();
    }
}

void ServedModules::EndAtOnce() const {
    Log::Fatal("the modules did not close within " + std::to_string(m_closeMs / 1000) +
               " s; ending without waiting any longer");
    std::_Exit(EXIT_FAILURE);
}

void ServedModules::Start(const std::vector<std::string>& files, BuiltinModule* builtin) {
    std::string error;
    if (!m_modules.Load(files, error)) {
        throw ConfigError(error);
    }
    if (!m_modules.Start(error)) {
        throw StartError(error);
    }
    if (!m_modules.Join(error)) {
        throw ConfigError(error);
    }
    m_numSubtrees = m_modules.Engine().Groups().size();
    if (builtin != nullptr) {
        Add(*builtin);
    }
}

void ServedModules::Add(BuiltinModule& builtin) {
    builtin.GiveWayTo(m_modules.Engine().Groups());
    m_modules.Engine().Add(builtin);
    builtin.Announce(m_modules.Engine().Groups());
}

std::string ServedModules::NotReady() const { return agent::Joined(m_modules.NotReady()); }

std::string ServedModules::NotUp() const {
    std::vector<std::string> names;
    for (const CVT::BMibImpl* const group : m_modules.Engine().Groups()) {
        if (!group->IsActive()) {
            names.emplace_back(group->Name().View());
        }
    }
    return agent::Joined(names);
}

}  // namespace cvtagentd
