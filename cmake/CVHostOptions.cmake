# Every option of the build. CONTRIBUTING.md describes them.

option(CVHOST_WITH_SNMP "Build what needs the SNMP library: cvtagentd and its tests" ON)
option(CVHOST_WITH_NCURSES "Build the live screen of cvtwalk (--top), where there is ncurses" ON)
option(CVHOST_WERROR "Treat compiler warnings as errors (the presets do)" OFF)
option(CVHOST_COVERAGE "Instrument for gcov" OFF)
option(CVHOST_BUILD_BENCH "Build the benchmarks" ${BUILD_TESTING})
option(CVHOST_BUILD_FUZZ "Build the fuzz targets; run over their corpus in ctest" ${BUILD_TESTING})
option(CVHOST_FUZZ "Link the fuzz targets with libFuzzer (clang only)" OFF)
set(CVHOST_SANITIZE "" CACHE STRING "Sanitizers as -fsanitize= takes them, for example address,undefined")

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "Build type" FORCE)
endif()

find_program(CVHOST_CCACHE ccache)
mark_as_advanced(CVHOST_CCACHE)
if(CVHOST_CCACHE AND NOT DEFINED CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER "${CVHOST_CCACHE}")
endif()
