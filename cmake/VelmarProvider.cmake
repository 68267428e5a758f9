# SPDX-FileCopyrightText: The velmar_remote authors
# SPDX-License-Identifier: MIT
#
# Typed classes, and provider libraries made of a schema and what its user has written.
#
#   velmar_add_provider(NAME MOF...
#       CLASSES CLASS...            classes that the library serves
#       SOURCES FILE...             the providers: NAME_OF_CLASSProvider.h and .cpp
#       [CPP_NAMESPACE NAMESPACE]   of the generated classes; NAME in small letters without it
#       [CIM_NAMESPACE NAMESPACE]   root/velmar_remote without it
#       [NO_ENRICHMENT]             alerts are not enriched from the CIM model
#       [INCLUDES FOLDER...]        searched for MOF files that others include; installed with them
#       [CLIENTS_MAY create,delete CLASS...]  what clients may do with instances beside reading them
#       [WATCHER CLASS])            in CLASS.h: watches the device for all of the module's providers
#
# makes the module NAME, the object library NAME_objects for tests, and install rules: the module into
# VELMAR_PROVIDER_DIR (a real server's providerDir), MOF and the script `register`, which brings the
# package into a real server and out again, into share/NAME. The typed classes, provider bases,
# factory and registration are generated into NAME-generated in the build folder whenever a MOF file
# changes, by the command velmar, which VELMAR_COMMAND names.
#
#   velmar_add_provider_test(NAME FILE...)
#
# makes test_NAME of GoogleTest tests, which see the package as PACKAGE_SCHEMA, PACKAGE_REGISTRATION
# and PACKAGE_MODULES.
#
#   velmar_add_classes(NAME MOF... CLASSES CLASS... [CPP_NAMESPACE NAMESPACE]
#                      [CIM_NAMESPACE NAMESPACE] [NO_ENRICHMENT] [INCLUDES ...] [CLIENTS_MAY ...])
#
# makes the interface library NAME: typed classes and provider bases only, for clients, and for
# providers with a module, a factory and a registration made by hand.
#
#   velmar_close_module(NAME)
#
# makes the module NAME show a server PegasusCreateProvider and nothing else, as velmar_add_provider
# does: a server that closes the module lets go of it, and later opens what lies there then.
set(VELMAR_PROVIDER_DIR "" CACHE PATH
    "Folder in which a CIM server looks for provider libraries; empty: the library folder")
set(_velmar_provider_folder "${CMAKE_CURRENT_LIST_DIR}")

# The command: this build's own, or an installed one, beside this file or elsewhere on the host.
function(_velmar_command result)
    if(TARGET velmar)
        set(${result} "$<TARGET_FILE:velmar>" PARENT_SCOPE)
        return()
    endif()
    find_program(VELMAR_COMMAND velmar HINTS "${velmar_remote_PREFIX}/bin"
                 DOC "The velmar command, which generates code from schemas")
    if(NOT VELMAR_COMMAND)
        set(_places "on the PATH")
        if(velmar_remote_PREFIX)
            string(PREPEND _places "in ${velmar_remote_PREFIX}/bin or ")
        endif()
        message(FATAL_ERROR "${_name}: found no command velmar ${_places}. It comes with "
            "the library's build for the embedded server: install that, too (where the library is a "
            "subproject, set VELMAR_BUILD_CLI=ON), or name the command with "
            "-DVELMAR_COMMAND=/path/to/velmar.")
    endif()
    set(${result} "${VELMAR_COMMAND}" PARENT_SCOPE)
endfunction()

# The lines that velmar prints.
function(_velmar_ask result)
    execute_process(COMMAND ${ARGN} OUTPUT_VARIABLE _lines ERROR_VARIABLE _error
                    RESULT_VARIABLE _status WORKING_DIRECTORY "${CMAKE_CURRENT_SOURCE_DIR}")
    if(NOT _status EQUAL 0)
        message(FATAL_ERROR "${_name}: ${_error}")
    endif()
    string(REGEX REPLACE "\n$" "" _lines "${_lines}")
    string(REPLACE "\n" ";" _lines "${_lines}")
    set(${result} "${_lines}" PARENT_SCOPE)
endfunction()

# All MOF files that the schemas read: a depfile alone tells them after the first build only, and
# Makefiles forget it at each configuration. Where velmar cannot be asked yet, the depfile of an
# earlier build says what is known.
function(_velmar_inputs result command depfile)
    if(TARGET velmar)
        set(_files ${_schemas})
        if(EXISTS "${depfile}")
            file(READ "${depfile}" _known)
            string(REGEX REPLACE " \\\\\n *" ";" _known "${_known}")
            string(REGEX REPLACE "\\\\([ #])" "\\1" _known "${_known}")
            string(REGEX REPLACE "\n$" "" _known "${_known}")
            foreach(_file IN LISTS _known)
                if(IS_ABSOLUTE "${_file}" AND EXISTS "${_file}")  # not the target, nor what is gone
                    list(APPEND _files "${_file}")
                endif()
            endforeach()
        endif()
        list(REMOVE_DUPLICATES _files)
    else()
        _velmar_ask(_files ${command} --list-schemas)
    endif()
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${_files})
    set(${result} "${_files}" PARENT_SCOPE)
endfunction()

# What velmar will write. Where it cannot be asked yet, all classes are taken to be served.
function(_velmar_outputs result folder command)
    if(TARGET velmar)
        set(_names Paths.h)
        if(_module)
            list(APPEND _names Factory.cpp ${_module}Registration.mof)
        endif()
        foreach(_class IN LISTS _arg_CLASSES)
            list(APPEND _names ${_class}.h ${_class}ProviderBase.h)
        endforeach()
    else()
        _velmar_ask(_names ${command} --list)
    endif()
    list(TRANSFORM _names PREPEND "${folder}/")
    set(${result} "${_names}" PARENT_SCOPE)
endfunction()

# Names reach shell scripts, CMake's own files and C++. Whatever stands for something else there is
# refused; all others are quoted.
function(_velmar_check_names function)
    foreach(_text IN LISTS _name _arg_CPP_NAMESPACE _arg_CIM_NAMESPACE _arg_CLASSES)
        if(_text MATCHES "[ -,.:-@[-^`{-~\n\r\t]")
            message(FATAL_ERROR "${function}(${_name}): \"${_text}\" is neither a module's name nor "
                                "that of a class or namespace")
        endif()
    endforeach()
    foreach(_path IN LISTS _schemas _arg_INCLUDES ITEMS "${CMAKE_CURRENT_BINARY_DIR}")
        if(_path MATCHES "[]\"\\$[\n\r\t;]|/-[^/]*$")
            message(FATAL_ERROR "${function}(${_name}): the name of ${_path} has one of the characters "
                                "\" \\ $ [ ] or a line break, or begins with -, which tools do not take "
                                "for a name; rename it")
        endif()
    endforeach()
endfunction()

# `text` as one word of a shell script.
function(_velmar_shell_word result text)
    string(REPLACE "'" "'\\''" text "${text}")
    set(${result} "'${text}'" PARENT_SCOPE)
endfunction()

# What is generated for NAME, into _folder; _stamp follows it. The factory and the registration are
# those of _module, none where that is empty. Sets what it reads for its caller, too.
macro(_velmar_generate _function)
    cmake_parse_arguments(_arg "NO_ENRICHMENT" "CPP_NAMESPACE;CIM_NAMESPACE;WATCHER"
                          "CLASSES;SOURCES;INCLUDES;CLIENTS_MAY"
                          ${ARGN})
    set(_schemas ${_arg_UNPARSED_ARGUMENTS})
    foreach(_needed _schemas _arg_CLASSES)
        if(NOT ${_needed})
            message(FATAL_ERROR "${_function}(${_name}): MOF files and CLASSES are both needed; see "
                                "the head of VelmarProvider.cmake")
        endif()
    endforeach()
    if(NOT _arg_CPP_NAMESPACE)
        string(TOLOWER "${_name}" _arg_CPP_NAMESPACE)
    endif()
    if(NOT _arg_CIM_NAMESPACE)
        set(_arg_CIM_NAMESPACE root/velmar_remote)
    endif()
    foreach(_paths _schemas _arg_INCLUDES)
        list(TRANSFORM ${_paths} PREPEND "${CMAKE_CURRENT_SOURCE_DIR}/" REGEX "^[^/]")
    endforeach()
    _velmar_check_names(${_function})

    set(_folder "${CMAKE_CURRENT_BINARY_DIR}/${_name}-generated")
    _velmar_command(_velmar)
    set(_command "${_velmar}" generate --schema ${_schemas} --class ${_arg_CLASSES}
        --cpp-namespace ${_arg_CPP_NAMESPACE} --namespace ${_arg_CIM_NAMESPACE}
        --output "${_folder}")
    foreach(_include IN LISTS _arg_INCLUDES)
        list(APPEND _command --include "${_include}")
    endforeach()
    if(_module)
        list(APPEND _command --module ${_module})
    endif()
    if(_arg_CLIENTS_MAY)
        list(APPEND _command --clients-may ${_arg_CLIENTS_MAY})
    endif()
    if(_arg_WATCHER)
        list(APPEND _command --watcher ${_arg_WATCHER})
    endif()
    if(_arg_NO_ENRICHMENT)
        list(APPEND _command --no-enrichment)
    endif()
    set(_stamp "${_folder}/generated")
    _velmar_inputs(_inputs "${_command}" "${_stamp}.d")
    _velmar_outputs(_outputs "${_folder}" "${_command}")
    add_custom_command(OUTPUT "${_stamp}" BYPRODUCTS ${_outputs}
                       COMMAND ${_command} --depfile "${_stamp}.d" --depfile-target "${_stamp}"
                       COMMAND "${CMAKE_COMMAND}" -E touch "${_stamp}"
                       DEPENDS "${_velmar}" ${_inputs} DEPFILE "${_stamp}.d"
                       COMMENT "Generating ${_name} from its schema" VERBATIM)
endmacro()

function(velmar_add_classes _name)
    set(_module "")
    _velmar_generate(velmar_add_classes ${ARGN})
    if(_arg_SOURCES)
        message(FATAL_ERROR "velmar_add_classes(${_name}): makes no library of SOURCES; "
                            "velmar_add_provider does")
    endif()
    add_custom_target(${_name}_generated DEPENDS "${_stamp}")
    add_library(${_name} INTERFACE)
    add_dependencies(${_name} ${_name}_generated)
    target_link_libraries(${_name} INTERFACE velmar_remote::velmar_remote)
    target_include_directories(${_name} INTERFACE "${_folder}")
endfunction()

function(velmar_add_provider _name)
    set(_module "${_name}")
    _velmar_generate(velmar_add_provider ${ARGN})
    if(NOT _arg_SOURCES)
        message(FATAL_ERROR "velmar_add_provider(${_name}): SOURCES are needed; see the head of "
                            "VelmarProvider.cmake")
    endif()
    add_library(${_name}_objects OBJECT ${_arg_SOURCES} "${_folder}/Factory.cpp" "${_stamp}")
    target_link_libraries(${_name}_objects PUBLIC velmar_remote::velmar_remote)
    target_include_directories(${_name}_objects PUBLIC "${_folder}")
    foreach(_source IN LISTS _arg_SOURCES)
        get_filename_component(_source "${_source}" ABSOLUTE)
        get_filename_component(_source "${_source}" DIRECTORY)
        target_include_directories(${_name}_objects PUBLIC "${_source}")
    endforeach()
    set_target_properties(${_name}_objects PROPERTIES POSITION_INDEPENDENT_CODE ON)
    add_library(${_name} MODULE)
    target_link_libraries(${_name} PRIVATE ${_name}_objects)
    velmar_close_module(${_name})
    set_target_properties(${_name} PROPERTIES
        INSTALL_RPATH_USE_LINK_PATH ON
        VELMAR_SCHEMAS "${_schemas}" VELMAR_REGISTRATION "${_folder}/${_name}Registration.mof")
    _velmar_install_provider()
endfunction()

# Uses the variables of its caller.
function(_velmar_install_provider)
    include(GNUInstallDirs)
    set(_providers "${VELMAR_PROVIDER_DIR}")
    if(NOT _providers)
        set(_providers "${CMAKE_INSTALL_LIBDIR}")
    endif()
    set(_share "${CMAKE_INSTALL_DATADIR}/${_name}")
    install(TARGETS ${_name} LIBRARY DESTINATION "${_providers}")
    # Side by side, where cimmof finds them; the first of a name is the one in use, so it comes last.
    set(_folders "")
    foreach(_schema IN LISTS _schemas)
        get_filename_component(_mof "${_schema}" DIRECTORY)
        list(APPEND _folders "${_mof}")
    endforeach()
    list(APPEND _folders ${_arg_INCLUDES})
    list(REVERSE _folders)
    foreach(_mof IN LISTS _folders)
        install(DIRECTORY "${_mof}/" DESTINATION "${_share}/mof" FILES_MATCHING PATTERN "*.mof"
                PATTERN "${_name}-generated" EXCLUDE)
    endforeach()
    install(FILES "${_folder}/${_name}Registration.mof" DESTINATION "${_share}/mof")
    set(_script_schemas "")
    foreach(_schema IN LISTS _schemas)
        get_filename_component(_schema "${_schema}" NAME)
        _velmar_shell_word(_schema "${_schema}")
        string(APPEND _script_schemas " ${_schema}")
    endforeach()
    list(JOIN _arg_CLASSES " " _script_classes)
    configure_file("${_velmar_provider_folder}/register.in" "${_folder}/register" @ONLY)
    install(PROGRAMS "${_folder}/register" DESTINATION "${_share}")
endfunction()

function(velmar_close_module _name)
    # Static, the embedded server's parts are in the module as well, and must find the program's own.
    get_target_property(_type velmar_remote::velmar_remote TYPE)
    if(NOT _type STREQUAL "STATIC_LIBRARY")
        target_link_options(${_name} PRIVATE
                            "LINKER:--version-script,${_velmar_provider_folder}/Module.map")
    endif()
endfunction()

function(velmar_add_provider_test _name)
    if(NOT TARGET ${_name}_objects)
        message(FATAL_ERROR "velmar_add_provider_test(${_name}): velmar_add_provider(${_name} ...) "
                            "comes first")
    endif()
    find_package(GTest REQUIRED)
    include(GoogleTest)
    add_executable(test_${_name} ${ARGN})
    # The tests of different classes have helpers of the same names.
    set_target_properties(test_${_name} PROPERTIES UNITY_BUILD OFF)
    add_dependencies(test_${_name} ${_name})
    target_link_libraries(test_${_name} PRIVATE ${_name}_objects velmar_remote::testing
                          GTest::gtest_main)
    # A list of files is one initializer: {PACKAGE_SCHEMA}.
    get_target_property(_schemas ${_name} VELMAR_SCHEMAS)
    list(TRANSFORM _schemas REPLACE "(.+)" "\"\\1\"")
    list(JOIN _schemas "," _schemas)
    get_target_property(_registration ${_name} VELMAR_REGISTRATION)
    target_compile_definitions(test_${_name} PRIVATE "PACKAGE_SCHEMA=${_schemas}"
                               PACKAGE_REGISTRATION="${_registration}"
                               PACKAGE_MODULES="$<TARGET_FILE_DIR:${_name}>")
    gtest_discover_tests(test_${_name} DISCOVERY_TIMEOUT 60)
endfunction()
