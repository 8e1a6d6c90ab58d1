# cmake -D build_dir= -D work_dir= -D sample_dir= -D cxx= -P build_against_installed.cmake

set(prefix ${work_dir}/prefix)

# walk(<module>): loads it into the build's cvtwalk and checks the output.
function(walk module)
    execute_process(COMMAND ${build_dir}/bin/cvtwalk --module ${module}
        OUTPUT_VARIABLE walked COMMAND_ERROR_IS_FATAL ANY)
    foreach(line IN ITEMS "sampleLevel.0 = INTEGER: 50" "sampleNotePriority.10 = INTEGER: low(1)")
        string(FIND "${walked}" "${line}\n" at)
        if(at EQUAL -1)
            message(FATAL_ERROR "the walk of ${module} has no line ${line}:\n${walked}")
        endif()
    endforeach()
endfunction()

file(REMOVE_RECURSE ${work_dir})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${build_dir} --prefix ${prefix}
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)

# With the CMake package.
execute_process(
    COMMAND ${CMAKE_COMMAND} -S ${sample_dir} -B ${work_dir}/build -G Ninja
        -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_CXX_COMPILER=${cxx}
    COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${CMAKE_COMMAND} --build ${work_dir}/build COMMAND_ERROR_IS_FATAL ANY)
if(NOT EXISTS ${work_dir}/build/libSampleModule.so.1)
    message(FATAL_ERROR "libSampleModule.so.1 was not built")
endif()
walk(${work_dir}/build/libSampleModule.so.1)

# With pkg-config.
find_program(pkg_config NAMES pkg-config pkgconf REQUIRED)
file(GLOB_RECURSE pc_file ${prefix}/*/cvt.pc)
get_filename_component(pc_dir "${pc_file}" DIRECTORY)
set(ENV{PKG_CONFIG_PATH} "${pc_dir}")
execute_process(COMMAND ${pkg_config} --cflags --libs cvt
    OUTPUT_VARIABLE cvt_flags OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
separate_arguments(cvt_flags UNIX_COMMAND "${cvt_flags}")
file(GLOB sources ${sample_dir}/*.cpp)
execute_process(
    COMMAND ${cxx} -std=c++20 -fPIC -shared -fvisibility=hidden -o ${work_dir}/libSampleModule.so.1 ${sources}
            ${cvt_flags}
    COMMAND_ERROR_IS_FATAL ANY)
walk(${work_dir}/libSampleModule.so.1)
