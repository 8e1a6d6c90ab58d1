#include "agent/cvtagentd/agentx/HostLookup.h"

#include <netdb.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <new>
#include <system_error>
#include <thread>
#include <utility>

#include "CVT/TMutex.h"
#include "CVT/ThreadAnnotations.h"
#include "agent/cvtagentd/process/StartError.h"

namespace cvtagentd {
namespace {

std::string Why(int error) {
    return error == EAI_SYSTEM ? std::generic_category().message(errno) : ::gai_strerror(error);
}

HostLookup::Result LookUp(const MasterAddress::Host& host) {
    addrinfo hints{};
    hints.ai_family = host.family;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICSERV;
    addrinfo* first = nullptr;
    HostLookup::Result result;
    if (const int error = ::getaddrinfo(host.name.c_str(), host.port.c_str(), &hints, &first); error != 0) {
        result.error = Why(error);
        return result;
    }
    const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> found(first, &::freeaddrinfo);
    for (const addrinfo* one = found.get(); one != nullptr; one = one->ai_next) {
        result.addresses.emplace_back().Set(one->ai_addr, one->ai_addrlen);
    }
    return result;
}

}  // namespace

struct HostLookup::Shared {
    Shared() = default;
    Shared(const Shared&) = delete;
    Shared& operator=(const Shared&) = delete;
    ~Shared() {
        if (descriptor >= 0) {
            ::close(descriptor);
        }
    }

    const int descriptor = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    CVT::TMutex lock{false};
    std::optional<Result> result CVT_GUARDED_BY(lock);
};

HostLookup::HostLookup() : m_shared(std::make_shared<Shared>()) {
    if (m_shared->descriptor < 0) {
        throw StartError("no file descriptor is left; raise the limit (ulimit -n)");
    }
}

HostLookup::~HostLookup() = default;

int HostLookup::Descriptor() const { return m_shared->descriptor; }

bool HostLookup::Begin(const MasterAddress::Host& host) {
    const auto run = [shared = m_shared, host] {
        Result result;
        try {
            result = LookUp(host);
        } catch (const std::bad_alloc&) {
            result.error.assign("no memory");  // short enough to be stored without an allocation
        }
        const CVT::TMutex::Guard guard(shared->lock);
        shared->result = std::move(result);
        ::eventfd_write(shared->descriptor, 1);
    };
    try {
        std::thread(run).detach();
    } catch (const std::system_error&) {
        return false;
    }
    return true;
}

std::optional<HostLookup::Result> HostLookup::Take() {
    const CVT::TMutex::Guard guard(m_shared->lock);
    eventfd_t count = 0;
    ::eventfd_read(m_shared->descriptor, &count);
    return std::exchange(m_shared->result, std::nullopt);
}

}  // namespace cvtagentd
