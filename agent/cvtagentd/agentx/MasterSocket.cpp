#include "agent/cvtagentd/agentx/MasterSocket.h"

#include <poll.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

#include "agent/cvtagentd/process/StartError.h"

namespace cvtagentd {

MasterSocket::MasterSocket() : m_epoll(::epoll_create1(EPOLL_CLOEXEC)) {
    if (m_epoll < 0) {
        throw StartError("no file descriptor is left; raise the limit (ulimit -n)");
    }
}

MasterSocket::~MasterSocket() {
    Close();
    ::close(m_epoll);
}

void MasterSocket::AlsoWatch(int descriptor) {
    epoll_event event{};
    event.events = EPOLLIN;
    if (::epoll_ctl(m_epoll, EPOLL_CTL_ADD, descriptor, &event) != 0) {
        throw StartError("no file descriptor can be watched; raise fs.epoll.max_user_watches");
    }
}

int MasterSocket::Connect(const SocketAddress& address) {
    m_socket = ::socket(address.Get()->sa_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (m_socket < 0) {
        return errno;
    }
    const bool isDone = ::connect(m_socket, address.Get(), address.length) == 0;
    int error = isDone ? 0 : errno;
    epoll_event event{};
    event.events = isDone ? EPOLLIN : EPOLLOUT;
    if ((isDone || error == EINPROGRESS) && ::epoll_ctl(m_epoll, EPOLL_CTL_ADD, m_socket, &event) == 0) {
        m_state = isDone ? State::kConnected : State::kConnecting;
        m_watchesInput = isDone;
        m_watchesOutput = !isDone;
        return 0;
    }
    error = error == 0 || error == EINPROGRESS ? errno : error;
    Close();
    return error;
}

int MasterSocket::Connected() {
    pollfd writable{m_socket, POLLOUT, 0};
    if (::poll(&writable, 1, 0) == 0) {
        return EINPROGRESS;
    }
    int error = 0;
    socklen_t length = sizeof error;
    if (::getsockopt(m_socket, SOL_SOCKET, SO_ERROR, &error, &length) != 0) {
        error = errno;
    }
    if (error == 0) {
        m_state = State::kConnected;
        Watch(true, false);
    }
    return error;
}

bool MasterSocket::Receive(std::string& to) {
    const ssize_t count = ::recv(m_socket, m_received.data(), m_received.size(), MSG_DONTWAIT);
    if (count > 0) {
        to.append(m_received.data(), static_cast<std::size_t>(count));
    }
    return count > 0 || (count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR));
}

bool MasterSocket::Flush() {
    std::size_t sent = 0;
    bool isLost = false;
    while (sent < m_output.size()) {
        const ssize_t count =
            ::send(m_socket, m_output.data() + sent, m_output.size() - sent, MSG_DONTWAIT | MSG_NOSIGNAL);
        if (count < 0) {
            isLost = errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR;
            break;
        }
        sent += static_cast<std::size_t>(count);
    }
    m_output.erase(0, sent);
    Watch(m_watchesInput, !m_output.empty());
    return !isLost;
}

void MasterSocket::Watch(bool input, bool output) {
    if (m_socket < 0 || (input == m_watchesInput && output == m_watchesOutput)) {
        return;
    }
    epoll_event event{};
    event.events = (input ? EPOLLIN : 0U) | (output ? EPOLLOUT : 0U);
    ::epoll_ctl(m_epoll, EPOLL_CTL_MOD, m_socket, &event);
    m_watchesInput = input;
    m_watchesOutput = output;
}

void MasterSocket::Close() {
    if (m_socket >= 0) {
        ::close(m_socket);  // and so leaves m_epoll
    }
    m_socket = -1;
    m_state = State::kClosed;
    m_output.clear();
}

}  // namespace cvtagentd
