# SPDX-FileCopyrightText: The velmar_remote authors
# SPDX-License-Identifier: MIT
#
# Parts of the project that need more than a compiler.

# velmar_optional_part(VARIABLE DESCRIPTION): declares the variable that builds a part: ON, OFF, or
# AUTO, which builds it where its libraries are installed. As a subproject nothing is built unasked.
function(velmar_optional_part variable description)
    if(NOT DEFINED ${variable})
        set(_default OFF)
        if(VELMAR_TOP_LEVEL)
            set(_default AUTO)
        endif()
        set(${variable} ${_default} CACHE STRING "${description}: ON, OFF or AUTO")
        set_property(CACHE ${variable} PROPERTY STRINGS AUTO ON OFF)
    endif()
endfunction()

# velmar_part_is_missing(VARIABLE PART LIBRARY DEBIAN_PACKAGE): says that the part cannot be built
# for want of a library; an error where the part was asked for.
function(velmar_part_is_missing variable part library package)
    if("${${variable}}" STREQUAL "AUTO")
        message(STATUS "Not built: ${part}, which needs ${library} (Debian: apt-get install ${package})")
    else()
        message(FATAL_ERROR "${variable} is on, and ${library} is not installed, which ${part} needs; "
                            "install it (Debian: apt-get install ${package}) or set ${variable}=OFF")
    endif()
endfunction()
