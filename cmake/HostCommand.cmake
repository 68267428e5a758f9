# SPDX-FileCopyrightText: The velmar_remote authors
# SPDX-License-Identifier: MIT
#
# The velmar command in a build for a real OpenPegasus, where code is generated as well: the command
# is a program of the build for the embedded server, which is made in a folder of its own for it.
# Nothing of it is installed, and flags for the real server are not for it. VELMAR_COMMAND names a
# command that is there already.
include(ExternalProject)

function(velmar_add_host_command)
    foreach(_package CLI11 fmt nlohmann_json)
        find_package(${_package} QUIET)
    endforeach()
    if(VELMAR_COMMAND OR NOT (CLI11_FOUND AND fmt_FOUND AND nlohmann_json_FOUND))
        return()  # those who need the command say so
    endif()
    set(_folder "${PROJECT_BINARY_DIR}/host")
    set(_program "${_folder}/cli/velmar${CMAKE_EXECUTABLE_SUFFIX}")
    foreach(_name CMAKE_CXX_COMPILER CMAKE_CXX_COMPILER_LAUNCHER CMAKE_PREFIX_PATH)
        if(${_name})
            string(REPLACE ";" "|" _value "${${_name}}")
            list(APPEND _settings "-D${_name}=${_value}")
        endif()
    endforeach()
    ExternalProject_Add(velmar_host
        SOURCE_DIR "${PROJECT_SOURCE_DIR}" PREFIX "${_folder}-steps" BINARY_DIR "${_folder}"
        LIST_SEPARATOR "|"
        CMAKE_ARGS ${_settings} -DCMAKE_CXX_FLAGS= -DCMAKE_BUILD_TYPE=Debug -DCMAKE_UNITY_BUILD=ON -DBUILD_TESTING=OFF -DVELMAR_INSTALL=OFF
                   -DVELMAR_BUILD_CLI=ON -DVELMAR_BUILD_EXAMPLES=OFF -DVELMAR_BUILD_BENCH=OFF
                   -DVELMAR_BUILD_WIRE=OFF
        BUILD_ALWAYS ON BUILD_BYPRODUCTS "${_program}" INSTALL_COMMAND "" TEST_COMMAND ""
        EXCLUDE_FROM_ALL ON)
    add_executable(velmar IMPORTED GLOBAL)
    set_target_properties(velmar PROPERTIES IMPORTED_LOCATION "${_program}")
    add_dependencies(velmar velmar_host)
endfunction()
