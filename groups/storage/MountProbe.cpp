#include "groups/storage/MountProbe.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <functional>
#include <map>
#include <string>
#include <utility>

#include "CVT/TMutex.h"
#include "CVT/TThread.h"
#include "CVT/ThreadAnnotations.h"

namespace {

using Clock = std::chrono::steady_clock;

/// Two system calls need little; the sanitizers need some more.
constexpr unsigned int kStackBytes = 256 * 1024;

std::optional<struct stat> AskDirectory(const char* path, bool& isForbidden) {
    struct stat directory {};
    if (::stat(path, &directory) == 0) {
        return directory;
    }
    isForbidden = errno == EACCES || errno == EPERM;
    return std::nullopt;
}

std::optional<struct statfs> AskSpace(const char* path) {
    struct statfs space {};
    return ::statfs(path, &space) == 0 ? std::optional(space) : std::nullopt;
}

}  // namespace

/// What the probing thread and the waiting one share, for as long as either needs it. Each event hands the members
/// above it over to the waiting thread.
struct DMountProbe::Call {
    Call(const char* path, EWhat question) : directory(path), what(question) {}

    const std::string directory;
    const EWhat what;
    const Clock::time_point asked = Clock::now();

    std::optional<struct stat> status;
    bool isForbidden = false;
    Clock::time_point statusAnswered;
    CVT::TEvent hasStatus{true};

    std::optional<struct statfs> space;
    CVT::TEvent hasSpace{true};

    std::atomic<bool> hasReturned = false;
};

class DMountProbe::Caller final : public CVT::TThread {
public:
    explicit Caller(std::shared_ptr<Call> call) : TThread(true), m_call(std::move(call)) {}

protected:
    unsigned int Run() override {
        // A signal to the process must not wait for a thread that may be stuck.
        sigset_t all;
        ::sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, nullptr);

        Call& call = *m_call;
        bool goOn = true;
        if (call.what == kDirectoryAndSpace) {
            call.status = AskDirectory(call.directory.c_str(), call.isForbidden);
            call.statusAnswered = Clock::now();
            goOn = call.status.has_value();
            call.hasStatus.Set();
        }
        if (goOn) {
            call.space = AskSpace(call.directory.c_str());
        }
        call.hasReturned = true;
        call.hasSpace.Set();
        return 0;
    }

private:
    ~Caller() override = default;

    const std::shared_ptr<Call> m_call;
};

namespace {

/// The directories whose probes were abandoned, each with a way to see whether the call has returned. Several probes
/// made at once may all be stuck, and each counts. Later probes of the directory clear them, because an abandoned
/// thread must not use anything of the module.
class Stuck {
public:
    using HasReturned = std::function<bool()>;

    void Add(const std::string& directory, HasReturned hasReturned) {
        const CVT::TMutex::Guard guard(m_lock);
        m_questions.emplace(directory, std::move(hasReturned));
    }

    bool Has(const std::string& directory) {
        const CVT::TMutex::Guard guard(m_lock);
        auto [question, end] = m_questions.equal_range(directory);
        while (question != end && question->second()) {
            question = m_questions.erase(question);
        }
        return question != end;
    }

private:
    CVT::TMutex m_lock{false};
    std::multimap<std::string, HasReturned> m_questions CVT_GUARDED_BY(m_lock);
};

Stuck s_stuck;

bool Await(CVT::TEvent& event, Clock::time_point deadline) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    return event.Wait(static_cast<unsigned int>(std::max<decltype(left)>(left, 0))) == CVT::kWaitSignalled;
}

}  // namespace

DMountProbe::DMountProbe(const char* directory, bool mayHang, EWhat what, std::chrono::milliseconds patience)
    : m_patience(patience) {
    const char* const path = directory == nullptr ? "" : directory;
    if (!mayHang) {
        if (what == kDirectoryAndSpace) {
            m_figures.directory = AskDirectory(path, m_figures.isForbidden);
            if (!m_figures.directory) {
                return;
            }
        }
        m_figures.space = AskSpace(path);
        return;
    }
    auto call = std::make_shared<Call>(path, what);
    if (!s_stuck.Has(call->directory) && (new Caller(call))->Start(kStackBytes, 0)) {
        m_call = std::move(call);
    } else {
        m_wasAsked = false;
    }
}

bool DMountProbe::AwaitAll() {
    Call& call = *m_call;
    auto asked = call.asked;
    if (call.what == kDirectoryAndSpace) {
        if (!Await(call.hasStatus, asked + m_patience)) {
            return false;
        }
        m_figures.directory = call.status;
        m_figures.isForbidden = call.isForbidden;
        asked = call.statusAnswered;
    }
    if (!Await(call.hasSpace, asked + m_patience)) {
        return false;
    }
    m_figures.space = call.space;
    return true;
}

DMountFigures DMountProbe::Answer() {
    if (!m_call) {
        return m_figures;
    }
    if (AwaitAll()) {
        m_call.reset();
    } else {
        s_stuck.Add(m_call->directory, [left = m_call] { return left->hasReturned.load(); });
    }
    return m_figures;
}

std::optional<DMountFigures> DMountProbe::LateAnswer() {
    if (!m_call || !m_call->hasReturned) {
        return std::nullopt;
    }
    const std::shared_ptr<Call> call = std::move(m_call);
    return DMountFigures{call->status, call->space, call->isForbidden};
}
