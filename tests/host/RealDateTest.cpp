// How the date command of this distribution treats the digits of a SET of hrSystemDate. The command runs without the
// right to set the clock: as another user, without capabilities, and without a way to regain any.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <string>
#include <vector>

namespace {

constexpr int kNotWithoutRights = 77;
constexpr id_t kNobody = 65534;

struct Said {
    int status = -1;
    std::string text;
};

/// Whether this process, and anything that it starts, has lost the right to set the clock.
bool GiveUpAllRights() {
    if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) {
        return false;
    }
    if (::geteuid() == 0 && (::syscall(SYS_setgroups, 0, nullptr) != 0 || ::setresgid(kNobody, kNobody, kNobody) != 0 ||
                             ::setresuid(kNobody, kNobody, kNobody) != 0)) {
        return false;
    }
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    std::array<__user_cap_data_struct, 2> none{};
    if (::syscall(SYS_capset, &header, none.data()) != 0 || ::geteuid() == 0) {
        return false;
    }
    std::array<__user_cap_data_struct, 2> left{};
    return ::syscall(SYS_capget, &header, left.data()) == 0 && left[0].effective == 0 && left[0].permitted == 0 &&
           left[0].inheritable == 0 && left[1].effective == 0 && left[1].permitted == 0 && left[1].inheritable == 0 &&
           ::prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_IS_SET, CAP_SYS_TIME, 0, 0) == 0;
}

Said RunDate(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "date");
    std::vector<char*> words;
    for (std::string& argument : arguments) {
        words.push_back(argument.data());
    }
    words.push_back(nullptr);
    std::array<char*, 3> settings{const_cast<char*>("LC_ALL=C"), const_cast<char*>("TZ=UTC0"), nullptr};
    int ends[2] = {-1, -1};
    EXPECT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        if (!GiveUpAllRights()) {
            ::_exit(kNotWithoutRights);
        }
        ::dup2(ends[1], STDOUT_FILENO);
        ::dup2(ends[1], STDERR_FILENO);
        ::execve("/bin/date", words.data(), settings.data());
        ::_exit(127);
    }
    ::close(ends[1]);
    Said said;
    std::array<char, 512> piece{};
    for (ssize_t count = 0; (count = ::read(ends[0], piece.data(), piece.size())) > 0;) {
        said.text.append(piece.data(), static_cast<std::size_t>(count));
    }
    ::close(ends[0]);
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    said.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return said;
}

class RealDate : public testing::Test {
protected:
    void SetUp() override {
        const Said version = RunDate({"--version"});
        if (version.status == kNotWithoutRights) {
            GTEST_SKIP() << "this machine does not let us drop our privileges";
        }
        if (version.text.find("GNU coreutils") == std::string::npos) {
            GTEST_SKIP() << "the date command of this distribution is not GNU's: " << version.text;
        }
    }
};

TEST_F(RealDate, RejectsTheDigitsOfASetAsADate) {
    // Month, day, hour, minute and year, in local time and in UTC.
    for (const char* const digits :
         {"010100001970", "031023302024", "031001302024", "063012302024", "123123591999", "020300002099"}) {
        for (const auto& arguments : {std::vector<std::string>{"-s", digits}, {"-u", "-s", digits}}) {
            const Said said = RunDate(arguments);
            EXPECT_EQ(said.status, 1) << digits;
            EXPECT_NE(said.text.find("date: invalid date"), std::string::npos) << said.text;
        }
    }
}

TEST_F(RealDate, LacksOnlyThePrivilegeForADateThatItUnderstands) {
    const Said said = RunDate({"-u", "-s", "2024-03-10 23:30"});
    EXPECT_EQ(said.status, 1);
    EXPECT_NE(said.text.find("date: cannot set date: Operation not permitted"), std::string::npos) << said.text;
}

}  // namespace
