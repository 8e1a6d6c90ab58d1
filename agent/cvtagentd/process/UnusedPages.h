#pragma once

namespace cvtagentd {

/// Takes out of the process's memory what only its start has needed: free memory of the heap, and pages of programs,
/// libraries and other files that it has read but not changed. Such a page is found again in the page cache, or read
/// from its file, when it is next needed. Mappings with changed pages, such as relocated pointers or a debugger's
/// breakpoints, are left alone. Meanwhile, no other thread may load a library or map a file.
namespace UnusedPages {

void Release();

}  // namespace UnusedPages

}  // namespace cvtagentd
