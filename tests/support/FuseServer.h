#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

/// A file system of our own on a directory, served by a thread of this process over /dev/fuse: an empty directory of
/// 1,000 blocks. It can stop answering, like the dead server of a network mount.
///
/// Create it in a mount namespace of the test's own. Its destruction makes the kernel fail all pending requests.
class FuseServer {
public:
    /// Returns why this machine offers none; empty when it does.
    static std::string Missing();

    /// Throws std::runtime_error when it cannot be mounted.
    explicit FuseServer(std::string directory);
    FuseServer(const FuseServer&) = delete;
    FuseServer& operator=(const FuseServer&) = delete;
    ~FuseServer();

    /// Requests are read from now on, but not answered.
    void FallSilent();
    /// Answers the requests that were held back, and all that follow.
    void Resume();
    /// Sets the number of free blocks from now on.
    void SetFree(unsigned long blocks);
    /// The number of requests for the space since it was mounted.
    int SpaceRequests() const;

private:
    struct Request {
        std::uint32_t opcode;
        std::uint64_t unique;
    };

    void Serve();
    void Answer(const Request& request);
    void Reply(std::uint64_t unique, int error, const void* body, std::size_t size);

    const std::string m_directory;
    int m_device = -1;
    int m_stop = -1;

    mutable std::mutex m_lock;
    bool m_isSilent = false;
    unsigned long m_free = 400;
    int m_spaceRequests = 0;
    std::vector<Request> m_held;

    std::thread m_thread;
};
