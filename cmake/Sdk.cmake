# SPDX-FileCopyrightText: The velmar_remote authors
# SPDX-License-Identifier: MIT
#
# Chooses the CIM server SDK behind the Pegasus/... include paths: the embedded CIM server, or a real
# OpenPegasus given by PEGASUS_ROOT and PEGASUS_HOME.
# The two builds differ in every type that crosses a function call, so nothing of the one may be taken
# for the other's: VELMAR_SERVER, the kind's name, is part of the names of what is installed.
if(PEGASUS_ROOT OR PEGASUS_HOME)
    set(VELMAR_REAL_PEGASUS TRUE)
    set(VELMAR_SERVER pegasus)
else()
    set(VELMAR_REAL_PEGASUS FALSE)
    set(VELMAR_SERVER embedded)
endif()
if(DEFINED VELMAR_REMOTE_SERVER AND NOT VELMAR_REMOTE_SERVER STREQUAL VELMAR_SERVER)
    message(FATAL_ERROR "VELMAR_REMOTE_SERVER=${VELMAR_REMOTE_SERVER} does not fit this build, which is "
                        "for ${VELMAR_SERVER}; PEGASUS_ROOT and PEGASUS_HOME build for a real "
                        "OpenPegasus, without them it is the embedded CIM server")
endif()

if(NOT VELMAR_REAL_PEGASUS)
    add_subdirectory(server)
    return()
endif()
if(NOT PEGASUS_ROOT OR NOT PEGASUS_HOME)
    message(FATAL_ERROR "PEGASUS_ROOT (source tree) and PEGASUS_HOME (build output) belong together; "
                        "one of them is missing")
endif()

if(NOT EXISTS "${PEGASUS_ROOT}/src/Pegasus/Common/Config.h")
    message(FATAL_ERROR "PEGASUS_ROOT=${PEGASUS_ROOT}: no src/Pegasus/Common/Config.h in it; "
                        "give the OpenPegasus source tree")
endif()
if(NOT PEGASUS_PLATFORM)
    string(TOUPPER "${CMAKE_SYSTEM_PROCESSOR}" _processor)
    if(_processor STREQUAL "AMD64")
        set(_processor X86_64)
    elseif(_processor MATCHES "^I[3-6]86$")
        set(_processor IX86)
    endif()
    set(PEGASUS_PLATFORM "LINUX_${_processor}_GNU")
endif()
message(STATUS "OpenPegasus: ${PEGASUS_ROOT}, platform ${PEGASUS_PLATFORM}")

set(VELMAR_PEGASUS_LIBRARIES "")
foreach(_name pegclient pegprovider pegcommon)
    find_library(VELMAR_${_name} ${_name} PATHS "${PEGASUS_HOME}/lib" NO_DEFAULT_PATH)
    if(NOT VELMAR_${_name})
        message(FATAL_ERROR "PEGASUS_HOME=${PEGASUS_HOME}: no lib${_name} in its lib folder; "
                            "give the build output of OpenPegasus")
    endif()
    list(APPEND VELMAR_PEGASUS_LIBRARIES "${VELMAR_${_name}}")
endforeach()
