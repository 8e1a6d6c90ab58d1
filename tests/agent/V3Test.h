#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "tests/agent/AgentTest.h"
#include "tests/agent/Ber.h"
#include "tests/agent/SnmpSocket.h"
#include "tests/agent/V3Message.h"
#include "tests/agent/V3User.h"
#include "tests/support/Sanitizers.h"

namespace agent_test {

/// A test that writes version 3 messages itself, to an agent with a user for each security level. The agent's heap is
/// checked as closely as the build allows.
class V3Test : public AgentTest {
protected:
    using Digest = V3User::Digest;
    using Cipher = V3User::Cipher;

    /// The address sanitizer does not instrument the SNMP library, so its quarantine is kept small: freed memory is
    /// soon used again, and a stray write by the library hits memory that is checked. In other builds the C library
    /// checks each block as it is freed.
    static Arguments HeapChecks() {
        if (kIsSanitized) {
            const char* const options = std::getenv("ASAN_OPTIONS");
            return {"ASAN_OPTIONS=" + (options == nullptr ? std::string() : std::string(options) + ":") +
                    "quarantine_size_mb=1"};
        }
        return {"LD_PRELOAD=libc_malloc_debug.so.0", "MALLOC_CHECK_=3"};
    }

    /// All users may read, except the last one, which has no access.
    void StartWithUsers(const std::string& more = {}, const Arguments& options = {}, const Arguments& settings = {}) {
        std::string config = "rocommunity public 127.0.0.1\nrwcommunity private 127.0.0.1 .1.3.6.1.4.1.32473\n" + more;
        for (const V3User& user : m_users) {
            config += user.CreateUser();
            if (user.Name() != "stranger") {
                config += "rouser " + user.Name() + (user.HasDigest() ? " auth\n" : " noauth\n");
            }
        }
        Start(Arguments{"--module", kMainModule, "--module", kTestModule, "--module", kReadModule, "--config",
                        WriteConfig(config)} +
                  options,
              HeapChecks() + settings);
        m_socket = std::make_unique<SnmpSocket>(SnmpSocket::Kind::kUdp, m_port);
        Discover();
    }

    /// Learns the engine, and makes the users' keys.
    void Discover() {
        V3Message probe;
        const V3User nobody("", Digest::kNone, Cipher::kNone);
        const auto report = V3Message::DecodeReport(m_socket->Ask(probe.Encode(nobody)));
        ASSERT_TRUE(report.has_value()) << "no report: " << Log();
        m_engineId = report->engineId;
        m_boots = report->boots;
        m_time = report->time;
        m_since = std::chrono::steady_clock::now();
        for (V3User& user : m_users) {
            user.Localize(m_engineId);
        }
    }

    /// A message from this user, at the highest security level that it has keys for.
    V3Message From(const V3User& user) {
        V3Message message;
        message.id = message.requestId = ++m_lastId;
        message.engineId = message.contextEngineId = m_engineId;
        message.boots = m_boots;
        message.time =
            m_time +
            static_cast<std::uint32_t>(
                std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - m_since).count());
        message.flags = V3Message::kReportableFlag | (user.HasDigest() ? V3Message::kAuthFlag : 0U) |
                        (user.HasCipher() ? V3Message::kPrivFlag : 0U);
        return message;
    }

    static std::vector<V3Message::VarBind> Times(std::size_t count, const std::vector<unsigned int>& name) {
        return {count, {ber::Oid(name), ber::Field(ber::kNull, "")}};
    }

    std::vector<V3User> m_users = {
        {"plain", Digest::kNone, Cipher::kNone},    {"md5", Digest::kMd5, Cipher::kNone},
        {"sha512", Digest::kSha512, Cipher::kNone}, {"des", Digest::kMd5, Cipher::kDes},
        {"aes", Digest::kSha256, Cipher::kAes},     {"sealed", Digest::kSha512, Cipher::kAes},
        {"stranger", Digest::kSha1, Cipher::kAes},
    };
    std::unique_ptr<SnmpSocket> m_socket;
    std::string m_engineId;

private:
    std::uint32_t m_boots = 0;
    std::uint32_t m_time = 0;
    std::chrono::steady_clock::time_point m_since;
    std::int64_t m_lastId = 1000;
};

}  // namespace agent_test
