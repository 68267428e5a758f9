# SPDX-FileCopyrightText: The velmar_remote authors
# SPDX-License-Identifier: MIT
#
# Installation: libraries, headers, the CMake package and a pkg-config file.
include(CMakePackageConfigHelpers)
set(_package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/velmar_remote")

# Private headers of Common/ stay private.
file(GLOB _public_headers CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/Common/*.h")
list(FILTER _public_headers EXCLUDE REGEX "Internal\\.h$")
install(FILES ${_public_headers} DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/velmar_remote/Common")
install(TARGETS velmar_remote EXPORT velmar_remoteTargets
        LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}"
        RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")

install(TARGETS velmar_kit EXPORT velmar_remoteTargets)
install(FILES "${PROJECT_SOURCE_DIR}/kit/RecordingHandlers.h"
        DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/velmar_remote/kit/velmar_kit")

if(VELMAR_REAL_PEGASUS)
    set(VELMAR_PC_CFLAGS "-isystem ${PEGASUS_ROOT}/src -DPEGASUS_PLATFORM_${PEGASUS_PLATFORM}")
    set(VELMAR_PC_LIBS "-L${PEGASUS_HOME}/lib -lpegclient -lpegprovider -lpegcommon")
else()
    install(TARGETS velmar_embedded EXPORT velmar_remoteTargets
            LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
            ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}"
            RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
    install(DIRECTORY "${PROJECT_SOURCE_DIR}/embedded/Pegasus"
            DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/velmar_remote/embedded"
            FILES_MATCHING PATTERN "*.h")
    install(FILES "${PROJECT_SOURCE_DIR}/embedded/Server.h"
                  "${PROJECT_SOURCE_DIR}/embedded/ServerTypes.h"
            DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/velmar_remote/embedded/velmar_embedded")
    install(FILES "${PROJECT_SOURCE_DIR}/embedded/schema/Repository.h"
                  "${PROJECT_SOURCE_DIR}/embedded/schema/Mof.h"
            DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/velmar_remote/embedded/velmar_embedded/schema")
    set(VELMAR_PC_CFLAGS "-I\${includedir}/velmar_remote/embedded")
    set(VELMAR_PC_LIBS "-lvelmar_embedded -lpthread -ldl")
    if(NOT BUILD_SHARED_LIBS)
        string(APPEND VELMAR_PC_LIBS " -rdynamic")
    endif()
endif()

install(EXPORT velmar_remoteTargets NAMESPACE velmar_remote:: DESTINATION "${_package_dir}")
configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/velmar_remoteConfig.cmake.in"
    "${PROJECT_BINARY_DIR}/velmar_remoteConfig.cmake" INSTALL_DESTINATION "${_package_dir}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/velmar_remoteConfigVersion.cmake"
                                 COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/velmar_remoteConfig.cmake"
              "${PROJECT_BINARY_DIR}/velmar_remoteConfigVersion.cmake"
        DESTINATION "${_package_dir}")
# The file finds the installation from where it lies, wherever --prefix has put it.
file(RELATIVE_PATH VELMAR_PC_PREFIX "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig"
     "${CMAKE_INSTALL_PREFIX}")
configure_file("${PROJECT_SOURCE_DIR}/cmake/velmar_remote.pc.in"
               "${PROJECT_BINARY_DIR}/velmar_remote.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/velmar_remote.pc"
        DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
