#include "agent/cvtagentd/process/Log.h"

#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <string>

namespace cvtagentd {
namespace {

constexpr const char* kProgram = "cvtagentd";

LogLevel s_level = LogLevel::kInfo;
bool s_toSyslog = false;

std::string OneLine(std::string_view text) {
    std::string line(text.substr(0, text.find_last_not_of(" \n") + 1));
    std::replace_if(
        line.begin(), line.end(), [](unsigned char c) { return c < ' ' || c == 0x7F; }, ' ');
    return line;
}

/// In one system call, so that lines of several processes do not mix.
void WriteToStandardError(const char* label, const std::string& line) {
    const std::string whole = std::string(kProgram) + ": " + label + line + "\n";
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, whole.data(), whole.size());
}

struct Level {
    const char* name;
    const char* label;
    LogLevel level;
    int priority;
};

/// In the order of LogLevel.
constexpr Level kLevels[] = {
    {"error", "error: ", LogLevel::kError, LOG_ERR},
    {"warning", "warning: ", LogLevel::kWarning, LOG_WARNING},
    {"info", "", LogLevel::kInfo, LOG_INFO},
    {"debug", "debug: ", LogLevel::kDebug, LOG_DEBUG},
};

}  // namespace

void Log::Open(LogLevel level, bool toSyslog) {
    s_level = level;
    s_toSyslog = toSyslog;
    if (s_toSyslog) {
        ::openlog(kProgram, LOG_PID, LOG_DAEMON);
    }
}

void Log::Write(LogLevel level, std::string_view text) {
    if (level > s_level) {
        return;
    }
    const Level& entry = kLevels[static_cast<std::size_t>(level)];
    const std::string line = OneLine(text);
    if (s_toSyslog) {
        ::syslog(entry.priority, "%s", line.c_str());
    } else {
        WriteToStandardError(entry.label, line);
    }
}

void Log::Fatal(std::string_view text) {
    const std::string line = OneLine(text);
    WriteToStandardError("", line);
    if (s_toSyslog) {
        ::syslog(LOG_ERR, "%s", line.c_str());
    }
}

std::optional<LogLevel> Log::LevelOf(std::string_view name) {
    for (const Level& level : kLevels) {
        if (name == level.name) {
            return level.level;
        }
    }
    return std::nullopt;
}

}  // namespace cvtagentd
