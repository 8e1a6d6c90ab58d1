# cmake -D manifest=<build>/install_manifest.txt -P Uninstall.cmake: removes what the last installation from that build
# folder wrote, and its own folders when they are empty. The configuration and the agent's state stay.

if(NOT EXISTS "${manifest}")
    message(FATAL_ERROR "nothing was installed from here: ${manifest} is missing")
endif()

file(STRINGS "${manifest}" files)
set(folders)
foreach(file IN LISTS files)
    set(path "$ENV{DESTDIR}${file}")
    get_filename_component(folder "${path}" DIRECTORY)
    if(file MATCHES "/etc/cvtagentd\\.conf$")
        message(STATUS "Kept: ${path}")
    elseif(EXISTS "${path}" OR IS_SYMLINK "${path}")
        file(REMOVE "${path}")
        list(APPEND folders "${folder}")
    endif()
endforeach()

# Only folders of the project's own; bin, lib and the like belong to the prefix.
list(REMOVE_DUPLICATES folders)
list(SORT folders ORDER DESCENDING)
foreach(folder IN LISTS folders)
    while(folder MATCHES "/(CVT|CVHost|cvtagentd)(/|$)")
        file(GLOB left "${folder}/*" "${folder}/.*")
        if(left OR NOT IS_DIRECTORY "${folder}")
            break()
        endif()
        file(REMOVE_RECURSE "${folder}")
        get_filename_component(folder "${folder}" DIRECTORY)
    endwhile()
endforeach()
