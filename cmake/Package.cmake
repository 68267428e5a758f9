# SPDX-FileCopyrightText: The velmar_remote authors
# SPDX-License-Identifier: MIT
#
# Debian and RPM packages and a tarball of what is installed, by CPack; tools/package makes them. The builds
# for the two kinds of server make packages that can be installed together: the one for a real
# server has its library and what finds it, and depends on the other's headers.
set(_library libvelmar-remote-embedded${VELMAR_SOVERSION})
set(_development libvelmar-remote-dev)
if(VELMAR_REAL_PEGASUS)
    set(_library libvelmar-remote${VELMAR_SOVERSION})
    set(_development libvelmar-remote-pegasus-dev)
endif()

set(CPACK_PACKAGE_NAME velmar_remote)
set(CPACK_PACKAGE_VENDOR "The velmar_remote authors")
set(CPACK_PACKAGE_CONTACT "The velmar_remote authors <maintainers@velmar-remote.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_RESOURCE_FILE_LICENSE "${PROJECT_SOURCE_DIR}/LICENSE")
set(CPACK_PACKAGE_CHECKSUM SHA256)
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/cmake/PackageContents.cmake")
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_VELMAR_SOURCE "${PROJECT_SOURCE_DIR}")
set(CPACK_VELMAR_LIBDIR "${CMAKE_INSTALL_LIBDIR}")
set(CPACK_VELMAR_MAN_PAGES "")
if(TARGET velmar)
    get_target_property(_pages velmar VELMAR_MAN_PAGES)
    foreach(_page IN LISTS _pages)
        if(_page)
            get_filename_component(_name "${_page}" NAME)
            list(APPEND CPACK_VELMAR_MAN_PAGES "${_name}")
        endif()
    endforeach()
endif()
set(CPACK_VELMAR_REAL_PEGASUS "${VELMAR_REAL_PEGASUS}")
set(CPACK_VELMAR_PEGASUS_ROOT "${PEGASUS_ROOT}")
set(CPACK_VELMAR_PEGASUS_HOME "${PEGASUS_HOME}")
set(CPACK_VELMAR_PACKAGE_library ${_library})
set(CPACK_VELMAR_PACKAGE_development ${_development})
set(CPACK_VELMAR_PACKAGE_command velmar)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY "=")
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS OFF)
if(NOT VELMAR_REAL_PEGASUS)  # whose libraries belong to no package
    set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
    list(APPEND CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
         "${PROJECT_BINARY_DIR}/Common" "${PROJECT_BINARY_DIR}/server" "${PROJECT_BINARY_DIR}/server/http")
endif()

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME ${_library})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_DESCRIPTION "Caches, association and indication providers, and what they share, for
 provider libraries that an OpenPegasus CIM server loads.")
file(WRITE "${PROJECT_BINARY_DIR}/triggers" "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA "${PROJECT_BINARY_DIR}/triggers")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME ${_development})
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${_library} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "Headers, CMake and pkg-config files, what tests of providers use, and an
 embedded CIM server that provider libraries are built and tested with.")
if(VELMAR_REAL_PEGASUS)
    set(CPACK_DEBIAN_LIBRARY_PACKAGE_DEPENDS "libc6, libstdc++6")
    string(APPEND CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
           ", libvelmar-remote-dev (= ${PROJECT_VERSION})")
endif()
set(CPACK_DEBIAN_COMMAND_PACKAGE_NAME velmar)
set(CPACK_DEBIAN_COMMAND_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_COMMAND_PACKAGE_DEPENDS "${_library} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_COMMAND_DESCRIPTION "Loads a package of provider libraries into an embedded CIM server, says what
 is wrong with it, serves it to WBEM clients of this host, and writes new
 packages from a schema.")

set(CPACK_RPM_COMPONENT_INSTALL ON)
set(CPACK_RPM_FILE_NAME RPM-DEFAULT)
set(CPACK_RPM_PACKAGE_LICENSE MIT)
set(CPACK_RPM_SPEC_MORE_DEFINE "%define _build_id_links none")
set(CPACK_RPM_EXCLUDE_FROM_AUTO_FILELIST_ADDITION
    /usr/share/man /usr/share/man/man1 /usr/share/bash-completion
    /usr/share/bash-completion/completions)
set(CPACK_RPM_LIBRARY_POST_INSTALL_SCRIPT_FILE "${PROJECT_BINARY_DIR}/ldconfig")
set(CPACK_RPM_LIBRARY_POST_UNINSTALL_SCRIPT_FILE "${PROJECT_BINARY_DIR}/ldconfig")
file(WRITE "${PROJECT_BINARY_DIR}/ldconfig" "/sbin/ldconfig\n")
foreach(_group LIBRARY DEVELOPMENT COMMAND)
    foreach(_what NAME DEPENDS)
        set(_value "${CPACK_DEBIAN_${_group}_PACKAGE_${_what}}")
        string(REGEX REPLACE "[()]" "" _value "${_value}")
        string(REPLACE DEPENDS REQUIRES _what ${_what})
        set(CPACK_RPM_${_group}_PACKAGE_${_what} "${_value}")
    endforeach()
    set(CPACK_RPM_${_group}_PACKAGE_SUMMARY "${PROJECT_DESCRIPTION}")
    set(CPACK_RPM_${_group}_PACKAGE_DESCRIPTION "${CPACK_DEBIAN_${_group}_DESCRIPTION}")
endforeach()
set(CPACK_RPM_LIBRARY_PACKAGE_REQUIRES "")  # rpmbuild finds what libraries need

include(CPack)
foreach(_component runtime)
    cpack_add_component(velmar_remote_${_component} GROUP library)
endforeach()
foreach(_component development embedded testing wire)
    cpack_add_component(velmar_remote_${_component} GROUP development)
endforeach()
cpack_add_component(velmar_remote_cli GROUP command)
foreach(_group library development command)
    cpack_add_component_group(${_group})
endforeach()
