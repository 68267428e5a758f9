# SPDX-FileCopyrightText: The velmar_remote authors
# SPDX-License-Identifier: MIT
#
# Called by CPack before it packs what was installed: what Debian and RPM want of a package's files,
# and of the build for a real server only what the other build has not.
if(NOT CPACK_GENERATOR MATCHES "^(DEB|RPM)$")
    return()
endif()
find_program(GZIP gzip REQUIRED)

foreach(_group library development command)
    set(_root "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/${_group}/usr")
    if(NOT IS_DIRECTORY "${_root}")
        continue()
    endif()
    set(_libraries "${_root}/${CPACK_VELMAR_LIBDIR}")
    if(CPACK_VELMAR_REAL_PEGASUS)
        file(REMOVE_RECURSE "${_root}/include")
        set(_shared velmar_remoteConfig.cmake velmar_remoteConfigVersion.cmake VelmarProvider.cmake
                    register.in Module.map)
        list(TRANSFORM _shared PREPEND "${_libraries}/cmake/velmar_remote/")
        file(REMOVE ${_shared})
    endif()
    if(CPACK_VELMAR_REAL_PEGASUS AND _group STREQUAL "development")
        # Where OpenPegasus is on the builder's host says nothing of another one.
        foreach(_file pkgconfig/velmar_remote.pc cmake/velmar_remote/velmar_remote-pegasus.cmake)
            file(READ "${_libraries}/${_file}" _text)
            # The one may lie in the other.
            string(LENGTH "${CPACK_VELMAR_PEGASUS_ROOT}" _root_length)
            string(LENGTH "${CPACK_VELMAR_PEGASUS_HOME}" _home_length)
            set(_folders "${CPACK_VELMAR_PEGASUS_ROOT}" "${CPACK_VELMAR_PEGASUS_HOME}")
            if(_home_length GREATER _root_length)
                list(REVERSE _folders)
            endif()
            foreach(_folder IN LISTS _folders)
                string(REPLACE "${_folder}" "" _text "${_text}")
            endforeach()
            file(WRITE "${_libraries}/${_file}" "${_text}")
        endforeach()
    endif()
    # Where the libraries are, the loader knows.
    if(CPACK_VELMAR_REAL_PEGASUS AND _group STREQUAL "library")
        file(RPATH_REMOVE FILE "${_libraries}/libvelmar_remote.so.${CPACK_PACKAGE_VERSION}")
    endif()
    if(EXISTS "${_root}/bin/velmar")
        file(RPATH_REMOVE FILE "${_root}/bin/velmar")
    endif()
    file(REMOVE_RECURSE "${_root}/share/doc")
    set(_doc "${_root}/share/doc/${CPACK_VELMAR_PACKAGE_${_group}}")
    file(MAKE_DIRECTORY "${_doc}")
    configure_file("${CPACK_VELMAR_SOURCE}/LICENSE" "${_doc}/copyright" COPYONLY)
    string(TIMESTAMP _date "%a, %d %b %Y %H:%M:%S +0000" UTC)
    file(WRITE "${_doc}/changelog"
         "${CPACK_VELMAR_PACKAGE_${_group}} (${CPACK_PACKAGE_VERSION}) unstable; urgency=medium\n\n"
         "  * Release ${CPACK_PACKAGE_VERSION}.\n\n -- ${CPACK_PACKAGE_CONTACT}  ${_date}\n")
    set(_texts "${_doc}/changelog")
    if(_group STREQUAL "command")
        list(TRANSFORM CPACK_VELMAR_MAN_PAGES PREPEND "${_root}/share/man/man1/" OUTPUT_VARIABLE _pages)
        list(APPEND _texts ${_pages})
    endif()
    execute_process(COMMAND "${GZIP}" -9n ${_texts} COMMAND_ERROR_IS_FATAL ANY)
    file(CHMOD_RECURSE "${_root}/share" FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ
         DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
                               WORLD_READ WORLD_EXECUTE)
endforeach()
