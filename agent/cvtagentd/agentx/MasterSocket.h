#pragma once

#include <array>
#include <string>

#include "agent/cvtagentd/agentx/MasterAddress.h"

namespace cvtagentd {

/// A stream to a master. No operation waits: what cannot be sent is kept, and sent when the master has read.
///
/// Its one descriptor, valid for its whole life, becomes readable whenever a call of Receive, or of Connected, finds
/// something new, and while a descriptor given to AlsoWatch is readable. Not synchronised.
class MasterSocket {
public:
    enum class State { kClosed, kConnecting, kConnected };

    /// Throws StartError when the system has no descriptor left.
    MasterSocket();
    ~MasterSocket();
    MasterSocket(const MasterSocket&) = delete;
    MasterSocket& operator=(const MasterSocket&) = delete;

    int Descriptor() const { return m_epoll; }
    State GetState() const { return m_state; }

    /// Watches that descriptor, too, for as long as it is open. Throws StartError when the system refuses.
    void AlsoWatch(int descriptor);

    /// Begins to connect, which may succeed at once. Returns 0 or an errno. Called when it is closed.
    int Connect(const SocketAddress& address);
    /// While connecting: returns 0 when it is connected by now, EINPROGRESS when it is not, or another errno.
    int Connected();

    /// Appends what has arrived, up to some kilobytes. Returns false when the master has closed the connection, or it
    /// is lost; what had arrived before has been returned.
    bool Receive(std::string& to);
    /// What is to be sent: append to it, and call Flush.
    std::string& Output() { return m_output; }
    /// Sends as much as the master takes. Returns false when the connection is lost.
    bool Flush();
    /// Whether the descriptor becomes readable for what arrives. Connecting switches it on.
    void WatchInput(bool on) { Watch(on, m_watchesOutput); }
    void Close();

private:
    void Watch(bool input, bool output);

    const int m_epoll;
    int m_socket = -1;
    State m_state = State::kClosed;
    bool m_watchesInput = false;
    bool m_watchesOutput = false;
    std::string m_output;
    std::array<char, 65536> m_received;  // a place for one call of Receive; without a value
};

}  // namespace cvtagentd
