#include "agent/cvtagentd/process/Log.h"

#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <mutex>
#include <string>

namespace cvtagentd {
namespace {

constexpr const char* kProgram = "cvtagentd";

LogLevel s_level = LogLevel::kInfo;
bool s_toSyslog = false;
bool s_toJournal = false;
bool s_withTime = false;
std::mutex s_writing;  // a line that is too long for one system call must not be split by another thread's

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

std::string OneLine(std::string_view text) {
    std::string line(text.substr(0, text.find_last_not_of(" \n") + 1));
    std::replace_if(
        line.begin(), line.end(), [](unsigned char c) { return c < ' ' || c == 0x7F; }, ' ');
    return line;
}

/// Whether systemd has connected standard error to the journal. A program to which the variable was handed down, but
/// which writes elsewhere, sees that by the numbers of the device and the inode in it.
bool IsJournal() {
    const char* const stream = std::getenv("JOURNAL_STREAM");  // NOLINT(concurrency-mt-unsafe): no second thread yet
    struct stat status {};
    return stream != nullptr && ::fstat(STDERR_FILENO, &status) == 0 &&
           stream == std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
}

/// Such as 2026-03-29T14:05:09+02:00, with a blank after it.
std::string TimeStamp() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&now, &local);
    std::array<char, 64> text{};
    std::string stamp(text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S%z", &local));
    if (stamp.size() > 2) {
        stamp.insert(stamp.size() - 2, ":");  // in the offset
    }
    return stamp + " ";
}

std::string LineFor(int priority, const char* label, const std::string& line) {
    if (s_toJournal) {
        return "<" + std::to_string(priority) + ">" + line + "\n";
    }
    return (s_withTime ? TimeStamp() : std::string()) + kProgram + ": " + label + line + "\n";
}

/// In one system call as far as the system takes it, so that lines of several processes do not mix.
void WriteToStandardError(std::string_view whole) {
    const std::lock_guard lock(s_writing);
    while (!whole.empty()) {
        const ssize_t written = ::write(STDERR_FILENO, whole.data(), whole.size());
        if (written > 0) {
            whole.remove_prefix(static_cast<std::size_t>(written));
        } else if (written == 0 || errno != EINTR) {
            return;
        }
    }
}

}  // namespace

void Log::Begin() { s_toJournal = IsJournal(); }

void Log::Open(LogLevel level, bool toSyslog, bool withTime) {
    s_level = level;
    s_toSyslog = toSyslog;
    s_withTime = withTime;
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
        WriteToStandardError(LineFor(entry.priority, entry.label, line));
    }
}

void Log::Fatal(std::string_view text) {
    WriteToStandardError(FatalLine(text));
    if (s_toSyslog) {
        ::syslog(LOG_ERR, "%s", OneLine(text).c_str());
    }
}

std::string Log::FatalLine(std::string_view text) { return LineFor(LOG_ERR, "", OneLine(text)); }

std::optional<LogLevel> Log::LevelOf(std::string_view name) {
    for (const Level& level : kLevels) {
        if (name == level.name) {
            return level.level;
        }
    }
    return std::nullopt;
}

}  // namespace cvtagentd
