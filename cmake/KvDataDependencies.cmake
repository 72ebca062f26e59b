# Finds for the tools, tests and benchmarks that do not stop at the first thing missing:
# each miss is noted with the Debian package that provides it, and at the end of the
# top-level directory the configure stops with one line naming them all.
include_guard(GLOBAL)

function(kv_data_missing)
    set_property(GLOBAL APPEND PROPERTY KV_DATA_MISSING_PACKAGES ${ARGN})
endfunction()

# kv_data_find(<Debian package> <find_package arguments>...)
macro(kv_data_find package)
    find_package(${ARGN} QUIET)
    if(NOT ${ARGV1}_FOUND)
        kv_data_missing(${package})
    endif()
endmacro()

function(kv_data_stop_if_missing)
    get_property(missing GLOBAL PROPERTY KV_DATA_MISSING_PACKAGES)
    if(missing)
        list(REMOVE_DUPLICATES missing)
        list(JOIN missing " " missing)
        # The leading space keeps CMake from wrapping the line: the list copies whole.
        message(FATAL_ERROR " missing Debian packages: ${missing}; run tools/workflow or apt-get install them")
    endif()
endfunction()

cmake_language(DEFER DIRECTORY ${Kv_Data_SOURCE_DIR} CALL kv_data_stop_if_missing)
