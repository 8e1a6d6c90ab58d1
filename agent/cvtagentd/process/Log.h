#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace cvtagentd {

enum class LogLevel { kError, kWarning, kInfo, kDebug };

/// Where the agent's messages go: standard error or syslog, one line each, whatever characters a message holds, and
/// lines of several threads do not mix. On standard error a line begins with the program's name; the lines of a service
/// also with a time stamp (ISO 8601, local time). Where standard error is the journal of systemd, a line begins with
/// its priority instead, such as "<4>" for a warning: the journal adds time and name itself. State of the process.
/// Begin and Open are called first, before there is a second thread; after that, any thread may write.
namespace Log {

/// Looks whether standard error is the journal. Called before the environment is changed.
void Begin();

/// Drops messages less important than `level`. `withTime`: lines on standard error get a time stamp, for a program that
/// runs for long.
void Open(LogLevel level, bool toSyslog, bool withTime);

void Write(LogLevel level, std::string_view text);
inline void Error(std::string_view text) { Write(LogLevel::kError, text); }
inline void Warning(std::string_view text) { Write(LogLevel::kWarning, text); }
inline void Info(std::string_view text) { Write(LogLevel::kInfo, text); }

/// Says why the program ends, and always on standard error too, where a user who starts it by hand looks.
void Fatal(std::string_view text);

/// The line, with its end, that Fatal would write on standard error now: for those who must not call it later.
std::string FatalLine(std::string_view text);

/// "error", "warning", "info" or "debug".
std::optional<LogLevel> LevelOf(std::string_view name);

}  // namespace Log

}  // namespace cvtagentd
