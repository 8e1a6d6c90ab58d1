#pragma once

#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "CVT/Warnings.h"

/// Receives the warnings of all modules of this process as long as it lives. Only one at a time.
class ReceivedWarnings {
public:
    ReceivedWarnings() {
        Take();
        CVT::SetWarningReceiver(&Receive);
    }
    ReceivedWarnings(const ReceivedWarnings&) = delete;
    ReceivedWarnings& operator=(const ReceivedWarnings&) = delete;
    ~ReceivedWarnings() { CVT::SetWarningReceiver(nullptr); }

    /// Returns the warnings since the last call.
    std::vector<std::string> Take() {
        const std::lock_guard guard(Lock());
        return std::exchange(Texts(), {});
    }

private:
    static void Receive(std::string_view text) {
        const std::lock_guard guard(Lock());
        Texts().emplace_back(text);
    }
    static std::mutex& Lock() {
        static std::mutex lock;
        return lock;
    }
    static std::vector<std::string>& Texts() {
        static std::vector<std::string> texts;
        return texts;
    }
};
