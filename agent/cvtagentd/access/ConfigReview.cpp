#include "agent/cvtagentd/access/ConfigReview.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <iterator>
#include <optional>
#include <set>
#include <string_view>

#include "agent/cvtagentd/access/ConfigFiles.h"
#include "agent/cvtagentd/access/ConfigLine.h"
#include "agent/cvtagentd/process/TrustedFile.h"
#include "agent/cvtagentd/snmp/SnmpHeaders.h"

namespace cvtagentd {
namespace {

/// A name that another line should define.
struct Use {
    const ConfigLine* line;
    std::string name;
};

template <std::size_t Size>
bool IsOneOf(const std::string& word, const std::array<std::string_view, Size>& words) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

constexpr std::array<std::string_view, 2> kUserRights = {"rouser", "rwuser"};
constexpr std::array<std::string_view, 8> kViewUsers = {"rouser",       "rwuser",       "rocommunity", "rwcommunity",
                                                        "rocommunity6", "rwcommunity6", "authuser",    "authcommunity"};
constexpr std::array<std::string_view, 6> kSecrets = {"rocommunity",  "rwcommunity", "rocommunity6",
                                                      "rwcommunity6", "com2sec",     "com2sec6"};
constexpr std::array<std::string_view, 3> kIncludes = {"includefile", "includedir", "includesearch"};
constexpr std::array<std::string_view, 9> kWithoutEffect = {
    "master", "agentxperms", "smuxpeer", "smuxsocket", "perl", "perlinitfile", "disableperl", "quit", "leave_pidfile"};
constexpr std::array<std::string_view, 3> kForSubagents = {"agentxsocket", "agentxtimeout", "agentxretries"};

/// In capitals and without hyphens: the library makes no difference, and clients write methods in both ways.
std::string Plain(const std::string& method) {
    std::string plain;
    for (const char c : method) {
        if (c != '-') {
            plain.push_back(static_cast<char>(std::toupper(static_cast<unsigned char>(c))));
        }
    }
    return plain;
}

/// The library's name for the method that it takes the word for; empty when it knows none, and when the word is the
/// method's whole name.
std::string Expanded(const std::string& word, const char* method, const char* otherName) {
    const bool isWhole = method == nullptr || Plain(word) == Plain(method) || Plain(word) == otherName;
    return isWhole ? std::string() : method;
}

/// The word after the options, each of which has a value.
std::optional<std::string> FirstName(const std::vector<std::string>& words) {
    std::size_t at = 0;
    while (at < words.size() && words[at].size() == 2 && words[at].front() == '-') {
        at += 2;
    }
    return at < words.size() ? std::optional(words[at]) : std::nullopt;
}

class Reviewer {
public:
    explicit Reviewer(const std::string& file) : m_file(file), m_lines(ConfigLine::AllOf(file)) {}

    ConfigReview Review() {
        for (const ConfigLine& line : m_lines) {
            Take(line);
        }
        if (!m_hasIncludes) {
            ReportViews();
            ReportGroups();
            ReportUsers();
        }
        ReportOpenSecrets();
        ReportFolder();
        return std::move(m_review);
    }

private:
    void Take(const ConfigLine& line) {
        const std::optional<std::string> first = FirstName(line.words);
        m_hasIncludes = m_hasIncludes || IsOneOf(line.directive, kIncludes);
        m_hasSecrets = m_hasSecrets || IsOneOf(line.directive, kSecrets) ||
                       (line.directive == "createuser" && line.words.size() > 2);
        if (line.directive == "createuser" && first) {
            m_users.insert(*first);
            TakeMethods(line);
        } else if (line.directive == "view" && first) {
            m_views.insert(*first);
        } else if (IsOneOf(line.directive, kUserRights) && first) {
            m_userUses.push_back({&line, *first});
        } else if (line.directive == "group" && line.words.size() > 2 && line.words[1] == "usm") {
            m_userUses.push_back({&line, line.words[2]});
        }
        if (line.directive == "group" && first) {
            m_groups.insert(*first);
        } else if (line.directive == "access" && first) {
            m_groupUses.push_back({&line, *first});
        }
        TakeViewUses(line);
        if (IsOneOf(line.directive, kWithoutEffect)) {
            Remark(line, line.directive + " has no effect in this agent");
        } else if (IsOneOf(line.directive, kForSubagents)) {
            Remark(line, line.directive + " has an effect with --agentx only");
        }
    }

    /// The library takes the beginning of a method's name for the method, and of several for one of them.
    void TakeMethods(const ConfigLine& line) {
        std::size_t at = (line.words.front() == "-e" ? 2U : 0U) + 1;  // after the name
        if (at < line.words.size()) {
            const char* const method = ::usm_lookup_auth_str(::usm_lookup_auth_type(line.words[at].c_str()));
            RemarkMethod(line, line.words[at], Expanded(line.words[at], method, "SHA1"));
        }
        ++at;
        const bool isKey = at < line.words.size() && (line.words[at] == "-m" || line.words[at] == "-l");
        at += isKey ? 2 : 1;
        if (at < line.words.size()) {
            const char* const method = ::usm_lookup_priv_str(::usm_lookup_priv_type(line.words[at].c_str()));
            RemarkMethod(line, line.words[at], Expanded(line.words[at], method, "AES128"));
        }
    }
    void RemarkMethod(const ConfigLine& line, const std::string& word, const std::string& method) {
        if (!method.empty()) {
            m_review.remarks.push_back(At(line) + "Warning: " + word + " is taken as " + method +
                                       "; write the method in full");
        }
    }

    void TakeViewUses(const ConfigLine& line) {
        constexpr std::size_t kFirstView = 5;  // of access: group, context, model, level, prefix; read, write, notify
        constexpr std::size_t kEnd = 8;
        if (line.directive == "access") {
            for (std::size_t at = kFirstView; at < std::min(kEnd, line.words.size()); ++at) {
                m_viewUses.push_back({&line, line.words[at]});
            }
        } else if (IsOneOf(line.directive, kViewUsers)) {
            const auto option = std::find(line.words.begin(), line.words.end(), "-V");
            if (option != line.words.end() && std::next(option) != line.words.end()) {
                m_viewUses.push_back({&line, *std::next(option)});
            }
        }
    }

    void ReportViews() {
        for (const auto& [line, name] : m_viewUses) {
            if (!name.empty() && name != "none" && name != "_all_" && m_views.count(name) == 0) {
                std::string fault = At(*line);
                fault.append("Error: the view ").append(name).append(" is not defined; add \"view ");
                m_review.faults.push_back(fault.append(name).append(" included OID\""));
            }
        }
    }

    void ReportGroups() {
        for (const auto& [line, name] : m_groupUses) {
            if (m_groups.count(name) == 0) {
                std::string fault = At(*line);
                fault.append("Error: the group ").append(name).append(" is not defined; add \"group ");
                fault.append(name).append(" usm USER\" or \"group ").append(name).append(" v1|v2c COM2SEC-NAME\"");
                m_review.faults.push_back(fault);
            }
        }
    }

    /// This is not a fault: a user's keys may be in the state directory, where --create-user puts them.
    void ReportUsers() {
        for (const auto& [line, name] : m_userUses) {
            if (m_users.count(name) == 0) {
                std::string text = "the user ";
                text.append(name).append(" is not created in this file: it exists only if cvtagentd --create-user ");
                Remark(*line, text.append(name).append(", or an earlier createUser, has created it"));
            }
        }
    }

    void ReportOpenSecrets() {
        struct stat status {};
        if (m_hasSecrets && ::stat(m_file.c_str(), &status) == 0 && (status.st_mode & S_IROTH) != 0) {
            m_review.remarks.push_back(m_file +
                                       ": Warning: everybody on this host can read its secrets; chmod o= " + m_file);
        }
    }

    void ReportFolder() {
        for (const std::string& file : ConfigFiles::From(m_file)) {
            if (const std::string folder = TrustedFile::FolderOfOthers(file); !folder.empty()) {
                std::string remark = file;
                remark.append(": Warning: users other than root and this one can write to the folder ").append(folder);
                m_review.remarks.push_back(remark.append(", and so replace the file"));
            }
        }
    }

    void Remark(const ConfigLine& line, const std::string& text) {
        m_review.remarks.push_back(At(line) + "Note: " + text);
    }
    std::string At(const ConfigLine& line) const { return m_file + ": line " + std::to_string(line.number) + ": "; }

    const std::string& m_file;
    const std::vector<ConfigLine> m_lines;
    ConfigReview m_review;
    bool m_hasIncludes = false;
    bool m_hasSecrets = false;
    std::set<std::string> m_users;
    std::set<std::string> m_views;
    std::vector<Use> m_userUses;
    std::vector<Use> m_viewUses;
    std::set<std::string> m_groups;
    std::vector<Use> m_groupUses;
};

}  // namespace

ConfigReview ConfigReview::Of(const std::string& file) { return Reviewer(file).Review(); }

}  // namespace cvtagentd
