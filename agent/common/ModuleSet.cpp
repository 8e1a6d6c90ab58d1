#include "agent/common/ModuleSet.h"

#include <algorithm>
#include <chrono>

namespace agent {
namespace {

unsigned int MillisecondsUntil(std::chrono::steady_clock::time_point deadline) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    return left.count() > 0 ? static_cast<unsigned int>(left.count()) : 0;
}

}  // namespace

bool ModuleSet::Load(const std::vector<std::string>& files, std::string& error) {
    return std::all_of(files.begin(), files.end(), [&](const std::string& file) { return LoadOne(file, error); });
}

bool ModuleSet::LoadOne(const std::string& file, std::string& error) {
    auto module = ExtensionModule::Load(file, error);
    if (module == nullptr) {
        error += "; name an extension module with --module";
        return false;
    }
    const auto same = [&](const auto& other) { return other->IsSameLibrary(*module); };
    if (std::any_of(m_modules.begin(), m_modules.end(), same)) {
        error = "the module " + file + " is named twice; name each module once";
        return false;
    }
    m_modules.push_back(std::move(module));
    return true;
}

bool ModuleSet::Start(std::string& error) {
    return std::all_of(m_modules.begin(), m_modules.end(),
                       [&](const auto& module) { return module->Start(nullptr, error); });
}

bool ModuleSet::Join(std::string& error) {
    for (const auto& module : m_modules) {
        if (!m_engine.Add(module->Group())) {
            error = "the module " + module->File() +
                    " serves a subtree that another module, or it itself, serves already; leave one of them out";
            return false;
        }
    }
    return true;
}

bool ModuleSet::WaitUntilReady(unsigned int milliseconds, std::string& error) const {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    for (const auto& module : m_modules) {
        if (!module->WaitUntilReady(MillisecondsUntil(deadline))) {
            error = "the module " + module->File() + " is not ready after " + std::to_string(milliseconds / 1000) +
                    " s; --timeout SECONDS waits longer";
            return false;
        }
    }
    return true;
}

std::vector<std::string> ModuleSet::NotReady() const {
    std::vector<std::string> files;
    for (const auto& module : m_modules) {
        if (!module->IsReady()) {
            files.push_back(module->File());
        }
    }
    return files;
}

bool ModuleSet::Close(unsigned int milliseconds, std::string& error) {
    for (const auto& module : m_modules) {
        if (module->IsStarted()) {
            m_engine.Remove(module->Group());
        }
    }
    if (!ExtensionModule::CloseAll(m_modules, milliseconds)) {
        error = "the modules did not close within " + std::to_string(milliseconds / 1000) + " s";
        return false;
    }
    m_modules.clear();
    return true;
}

}  // namespace agent
