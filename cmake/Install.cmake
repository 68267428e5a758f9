# SPDX-FileCopyrightText: The velmar_remote authors
# SPDX-License-Identifier: MIT
#
# Installation: libraries, headers, the CMake package and a pkg-config file, in components. The
# builds for the two kinds of server share headers and the package's entry; everything else has
# names of its own, so that both fit into one prefix.
include(CMakePackageConfigHelpers)
set(_package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/velmar_remote")
set(_include_dir "${CMAKE_INSTALL_INCLUDEDIR}/velmar_remote")
set(_export velmar_remote-${VELMAR_SERVER}-targets)

# velmar_install(TARGET RUNTIME_COMPONENT DEVELOPMENT_COMPONENT [PUBLIC_HEADER_DIRECTORY])
function(velmar_install target runtime development)
    install(TARGETS ${target} EXPORT ${_export}
            RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT ${runtime}
            LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT ${runtime}
                NAMELINK_COMPONENT ${development}
            ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT ${development}
            PUBLIC_HEADER DESTINATION "${_include_dir}/Common" COMPONENT ${development})
endfunction()

# velmar_install_headers(COMPONENT FOLDER DESTINATION [OPTION...]): options of install(DIRECTORY).
function(velmar_install_headers component folder destination)
    install(DIRECTORY "${PROJECT_SOURCE_DIR}/${folder}/" COMPONENT ${component}
            DESTINATION "${_include_dir}/${destination}" ${ARGN})
endfunction()

velmar_install(velmar_remote velmar_remote_runtime velmar_remote_development)
velmar_install_headers(velmar_remote_development generate/typed "")
velmar_install(velmar_testing velmar_remote_testing velmar_remote_testing)
if(VELMAR_REAL_PEGASUS)  # ServedPackage.h serves a package from the embedded CIM server
    velmar_install_headers(velmar_remote_testing testing/include testing
                           PATTERN ServedPackage.h EXCLUDE)
else()
    velmar_install_headers(velmar_remote_testing testing/include testing)
endif()
install(FILES "${PROJECT_SOURCE_DIR}/LICENSE" DESTINATION "${CMAKE_INSTALL_DOCDIR}"
        COMPONENT velmar_remote_runtime)
if(NOT VELMAR_REAL_PEGASUS)
    velmar_install(velmar_embedded velmar_remote_runtime velmar_remote_embedded)
    if(BUILD_SHARED_LIBS)
        velmar_install(velmar_embedded_guard velmar_remote_runtime velmar_remote_runtime)
    endif()
    velmar_install_headers(velmar_remote_embedded server/include embedded)
endif()
if(TARGET velmar_wire)
    velmar_install(velmar_wire velmar_remote_runtime velmar_remote_wire)
    velmar_install_headers(velmar_remote_wire server/http/include wire)
endif()
if(TARGET velmar AND NOT VELMAR_REAL_PEGASUS)
    set_target_properties(velmar PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
    install(TARGETS velmar DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT velmar_remote_cli)
    install(DIRECTORY "${PROJECT_SOURCE_DIR}/generate/mof"
            DESTINATION "${CMAKE_INSTALL_DATADIR}/velmar_remote" COMPONENT velmar_remote_cli)
    install(FILES "${PROJECT_SOURCE_DIR}/cli/completion.bash" RENAME velmar
            DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions"
            COMPONENT velmar_remote_cli)
    get_target_property(_pages velmar VELMAR_MAN_PAGES)
    if(_pages)
        install(FILES ${_pages} DESTINATION "${CMAKE_INSTALL_MANDIR}/man1"
                COMPONENT velmar_remote_cli)
    endif()
endif()

install(EXPORT ${_export} NAMESPACE velmar_remote:: DESTINATION "${_package_dir}"
        COMPONENT velmar_remote_development)
configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/velmar_remoteConfig.cmake.in"
    "${PROJECT_BINARY_DIR}/velmar_remoteConfig.cmake" INSTALL_DESTINATION "${_package_dir}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/velmar_remoteConfigVersion.cmake"
                                 COMPATIBILITY SameMinorVersion)
configure_file("${PROJECT_SOURCE_DIR}/cmake/velmar_remote-server.cmake.in"
               "${PROJECT_BINARY_DIR}/velmar_remote-${VELMAR_SERVER}.cmake" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/velmar_remoteConfig.cmake"
              "${PROJECT_BINARY_DIR}/velmar_remoteConfigVersion.cmake"
              "${PROJECT_BINARY_DIR}/velmar_remote-${VELMAR_SERVER}.cmake"
              "${PROJECT_SOURCE_DIR}/cmake/VelmarProvider.cmake"
              "${PROJECT_SOURCE_DIR}/cmake/register.in"
              "${PROJECT_SOURCE_DIR}/cmake/Module.map"
        DESTINATION "${_package_dir}" COMPONENT velmar_remote_development)

# The pkg-config file has the name of the library. It finds the installation from where it lies,
# wherever --prefix has put it.
get_target_property(VELMAR_PC_NAME velmar_remote OUTPUT_NAME)
set(VELMAR_PC_LIBS_PRIVATE "")
set(VELMAR_PC_PLACES "")
if(VELMAR_REAL_PEGASUS)
    set(VELMAR_PC_NAME velmar_remote)
    # pkg-config --define-variable=pegasus_root=PATH names others.
    set(VELMAR_PC_PLACES "pegasus_root=${PEGASUS_ROOT}\npegasus_home=${PEGASUS_HOME}\n")
    set(VELMAR_PC_CFLAGS "-isystem \${pegasus_root}/src -DPEGASUS_PLATFORM_${PEGASUS_PLATFORM}")
    set(VELMAR_PC_LIBS "-L\${pegasus_home}/lib -lpegclient -lpegprovider -lpegcommon")
else()
    set(VELMAR_PC_CFLAGS "-I\${includedir}/velmar_remote/embedded")
    set(VELMAR_PC_LIBS "-lvelmar_embedded")
    if(BUILD_SHARED_LIBS)
        set(VELMAR_PC_LIBS_PRIVATE "-lpthread -ldl")
    else()
        string(APPEND VELMAR_PC_LIBS " -lpthread -ldl -rdynamic -Wl,--defsym="
               velmar_remote_this_module_was_built_for_the_embedded_CIM_server=1)
    endif()
endif()
file(RELATIVE_PATH VELMAR_PC_PREFIX "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig"
     "${CMAKE_INSTALL_PREFIX}")
configure_file("${PROJECT_SOURCE_DIR}/cmake/velmar_remote.pc.in"
               "${PROJECT_BINARY_DIR}/${VELMAR_PC_NAME}.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/${VELMAR_PC_NAME}.pc"
        DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT velmar_remote_development)
if(TARGET velmar_wire)
    # Shared, it brings what it needs itself.
    if(BUILD_SHARED_LIBS)
        set(VELMAR_PC_WIRE_REQUIRES "")
    else()
        set(VELMAR_PC_WIRE_REQUIRES ", cpp-httplib, pugixml, openssl")
    endif()
    configure_file("${PROJECT_SOURCE_DIR}/cmake/velmar_wire.pc.in"
                   "${PROJECT_BINARY_DIR}/velmar_wire.pc" @ONLY)
    install(FILES "${PROJECT_BINARY_DIR}/velmar_wire.pc"
            DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT velmar_remote_wire)
endif()
