#pragma once

namespace cvtagentd {

/// What this process, and everything that it starts, may no longer ask of the kernel. Neither the agent nor a module needs
/// it: looking into other processes and changing them, which CAP_SYS_PTRACE would allow; mounting; namespaces; loading
/// code into the kernel; keyrings; io_uring, userfaultfd, bpf and perf events. Such a call fails with EPERM, and so does every
/// call made as another architecture's (32-bit and x32 on x86-64), whose numbers would lead past the filter. A build with
/// a sanitizer may still trace, because the search for leaks does so.
namespace SystemCallFilter {

/// For good, and for all threads of the process. Requires no_new_privs. False, with errno, when the kernel refuses.
bool Install();

}  // namespace SystemCallFilter

}  // namespace cvtagentd
