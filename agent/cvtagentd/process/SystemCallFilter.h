#pragma once

namespace cvtagentd {

/// The system calls that this process, and every program that it starts, may no longer make. Neither the agent nor a
/// module needs them: inspecting and changing other processes, which CAP_SYS_PTRACE would allow; mounting; namespaces;
/// loading code into the kernel; keyrings; io_uring, userfaultfd, bpf and perf events. Such a call fails with EPERM,
/// and so does every call of another architecture (32-bit and x32 on x86-64), whose numbers would bypass the filter. A
/// build with a sanitizer may still trace, because the leak check does so.
namespace SystemCallFilter {

/// Installs the filter for good, for all threads of the process. Requires no_new_privs. Returns false, with errno, when
/// the kernel refuses.
bool Install();

}  // namespace SystemCallFilter

}  // namespace cvtagentd
