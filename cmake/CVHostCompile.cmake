# How every target is compiled and linked.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

# bin/ and lib/ side by side, found relative to each other, so that the build tree can be moved and looks like an
# installed one.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)

# On a 32-bit system the C library's calls fail for large files, inodes and file systems unless it is asked for these.
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    add_compile_definitions(_FILE_OFFSET_BITS=64)
endif()

# The code relies on -D_GNU_SOURCE, which g++ and clang++ define by default on Linux.
add_compile_options(
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor -Wold-style-cast -Wformat=2
    -Wimplicit-fallthrough -Wcast-align)
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    add_compile_options(-Wthread-safety)
else()
    # GCC 12 reports std::string concatenation as overlapping (GCC bug 105651).
    add_compile_options(-Wno-restrict)
endif()
if(CVHOST_WERROR)
    add_compile_options(-Werror)
endif()

# The tests interpose functions of the C library, and the checked variants of a fortified build would bypass them. A
# build without tests, as for packages, is fortified.
if(BUILD_TESTING)
    add_compile_options(-U_FORTIFY_SOURCE)
elseif(NOT CVHOST_SANITIZE AND CMAKE_BUILD_TYPE MATCHES "^(Release|RelWithDebInfo|MinSizeRel)$")
    add_compile_options(-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
endif()

add_link_options(-Wl,-z,relro,-z,now -Wl,--as-needed)
if(CVHOST_SANITIZE)
    add_compile_options(-fsanitize=${CVHOST_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${CVHOST_SANITIZE})
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        add_compile_options(-Wno-maybe-uninitialized)   # GCC reports it in its own instrumentation
    endif()
else()
    add_link_options($<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,SHARED_LIBRARY>:-Wl,--no-undefined>)
endif()
if(CVHOST_COVERAGE)
    add_compile_options(--coverage)
    add_link_options(--coverage)
endif()
