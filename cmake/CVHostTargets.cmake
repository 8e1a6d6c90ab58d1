# Helpers shared by the CMakeLists.txt files. Sources are globbed, so a new file needs no edit of any list.

# cvhost_sources(<variable> <pattern>...): the matching sources, in a stable order; an empty result is fine.
function(cvhost_sources variable)
    file(GLOB_RECURSE found CONFIGURE_DEPENDS LIST_DIRECTORIES false ${ARGN})
    list(SORT found)
    set(${variable} "${found}" PARENT_SCOPE)
endfunction()

# cvhost_sources_here(<variable> <pattern>...): the same, without descending into subfolders.
function(cvhost_sources_here variable)
    file(GLOB found CONFIGURE_DEPENDS LIST_DIRECTORIES false ${ARGN})
    list(SORT found)
    set(${variable} "${found}" PARENT_SCOPE)
endfunction()

# cvhost_unloadable(<target>): keeps the library's templates from getting STB_GNU_UNIQUE symbols, which would pin it in
# memory forever after the first dlopen.
function(cvhost_unloadable target)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        target_compile_options(${target} PRIVATE -fno-gnu-unique)
    endif()
endfunction()

# cvhost_rpath(<target> <from> <to>): the installed <target>, in folder <from>, searches <to> for libraries. Where the
# build tree has the same shape the target is linked this way at once, otherwise when it is installed.
function(cvhost_rpath target from to)
    if(IS_ABSOLUTE "${from}" OR IS_ABSOLUTE "${to}")
        set_target_properties(${target} PROPERTIES INSTALL_RPATH "${CMAKE_INSTALL_FULL_LIBDIR}")
        return()
    endif()
    file(RELATIVE_PATH relative "/prefix/${from}" "/prefix/${to}")
    string(REGEX REPLACE "/$" "" relative "${relative}")
    # The dynamic linker learns a program's $ORIGIN from /proc: where that is not mounted, the second entry helps.
    if(relative STREQUAL "")
        set_target_properties(${target} PROPERTIES INSTALL_RPATH "$ORIGIN;${CMAKE_INSTALL_FULL_LIBDIR}")
    else()
        set_target_properties(${target} PROPERTIES
            INSTALL_RPATH "$ORIGIN/${relative};${CMAKE_INSTALL_FULL_LIBDIR}")
    endif()
    if(relative STREQUAL "" OR relative STREQUAL "../lib")
        set_target_properties(${target} PROPERTIES BUILD_WITH_INSTALL_RPATH ON)
    endif()
endfunction()
