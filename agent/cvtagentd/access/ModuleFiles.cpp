#include "agent/cvtagentd/access/ModuleFiles.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <system_error>

#include "agent/common/ExtensionModule.h"
#include "agent/cvtagentd/access/ConfigLine.h"
#include "agent/cvtagentd/process/ReadableFile.h"
#include "agent/cvtagentd/process/TrustedFile.h"
#include "agent/cvtagentd/snmp/SnmpHeaders.h"

namespace cvtagentd {
namespace {

constexpr const char* kDirective = "module";

std::vector<std::string> s_inConfiguration;
std::vector<std::string> s_inFolder;
bool s_areTried = false;

void Add(const std::string& file, std::vector<std::string>& files) {
    if (std::find(files.begin(), files.end(), file) == files.end()) {
        files.push_back(file);
    }
}

/// Why a module of this name should not be loaded; empty when there is no reason. A name without a slash is left to the
/// dynamic linker, which looks for it in the system's folders.
std::string WhyNot(const std::string& file) {
    if (file.empty()) {
        return "module needs the file of an extension module";
    }
    std::string why;
    if (file.find('/') != std::string::npos) {
        if (file.front() != '/') {
            return "module needs an absolute path, or a name without a slash, not \"" + file + "\"";
        }
        if (::access(file.c_str(), R_OK) != 0) {
            return "cannot read the module " + file + ": " + std::generic_category().message(errno);
        }
        why = TrustedFile::WhyNot("the module", file);
    }
    if (s_areTried && why.empty()) {
        agent::ExtensionModule::Load(file, why);
    }
    return why;
}

/// `rest` is the line after the directive.
void Take(const char* /*directive*/, char* rest) {
    std::array<char, 4096> word{};
    const char* const more = ::copy_nword_const(rest, word.data(), static_cast<int>(word.size()));
    const std::string file = word.data();
    std::string why = more != nullptr && *more != '\0' && *more != '#' ? "module takes one file" : WhyNot(file);
    if (!why.empty()) {
        ::config_perror(why.c_str());
        return;
    }
    Add(file, s_inConfiguration);
}

void ForgetAll() { s_inConfiguration.clear(); }

/// A user who can add a file to the folder controls what is loaded.
void ReadFile(const std::string& file, std::vector<std::string>& faults) {
    std::string why = ReadableFile::WhyNot(file);
    if (why.empty()) {
        why = TrustedFile::WhyNot("the configuration", file);
    }
    if (!why.empty()) {
        faults.push_back(why);
        return;
    }
    for (const ConfigLine& line : ConfigLine::AllOf(file)) {
        const bool isModule = line.directive == kDirective && line.words.size() == 1;
        why = isModule ? WhyNot(line.words.front()) : "only \"module FILE\" may stand here";
        if (why.empty()) {
            Add(line.words.front(), s_inFolder);
        } else {
            why.insert(0, ": line " + std::to_string(line.number) + ": Error: ");
            faults.push_back(file + why);
        }
    }
}

}  // namespace

void ModuleFiles::TryEach() { s_areTried = true; }

void ModuleFiles::Register() { ::snmpd_register_config_handler(kDirective, &Take, &ForgetAll, "FILE"); }

std::string ModuleFiles::FolderFor(const std::string& config) {
    return config.empty() ? config : (std::filesystem::path(config).replace_extension() / "modules.d").string();
}

std::vector<std::string> ModuleFiles::ReadFolder(const std::string& config) {
    s_inFolder.clear();
    const std::string folder = FolderFor(config);
    std::error_code error;
    if (folder.empty() || !std::filesystem::is_directory(folder, error)) {
        return {};
    }
    if (const std::string why = TrustedFile::WhyNot("the folder", folder); !why.empty()) {
        return {why};
    }
    std::vector<std::string> files;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        if (entry->path().extension() == ".conf") {
            files.push_back(entry->path().string());
        }
    }
    if (error) {
        return {"cannot read the folder " + folder + ": " + error.message()};
    }
    std::sort(files.begin(), files.end());
    std::vector<std::string> faults;
    for (const std::string& file : files) {
        ReadFile(file, faults);
    }
    return faults;
}

std::vector<std::string> ModuleFiles::Named() {
    std::vector<std::string> all = s_inConfiguration;
    for (const std::string& file : s_inFolder) {
        Add(file, all);
    }
    return all;
}

}  // namespace cvtagentd
