# SPDX-FileCopyrightText: The velmar_remote authors
# SPDX-License-Identifier: MIT
#
# One place for the flags that every target of the project gets and no user of it: the target
# velmar_flags, and, where VELMAR_SANITIZE asks for them, the sanitizers.
add_library(velmar_flags INTERFACE)
target_compile_options(velmar_flags INTERFACE -Wall -Wextra -Wshadow -Wsuggest-override
                       -Wnon-virtual-dtor -Woverloaded-virtual)
if(CMAKE_UNITY_BUILD)
    # Several sources in one unit: what is private to a source is not taken for a header's.
    target_compile_options(velmar_flags INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>)
endif()
if(VELMAR_WERROR)
    target_compile_options(velmar_flags INTERFACE -Werror)
endif()
# Hardened as Debian builds its own; what the packager's flags say counts.
if(NOT VELMAR_SANITIZE)
    set(_optimised "$<CONFIG:Release,RelWithDebInfo,MinSizeRel>")
    target_compile_options(velmar_flags INTERFACE -fstack-protector-strong -Werror=format-security)
    if(NOT CMAKE_CXX_FLAGS MATCHES "_FORTIFY_SOURCE")
        target_compile_definitions(velmar_flags INTERFACE "$<${_optimised}:_FORTIFY_SOURCE=2>")
    endif()
    target_link_options(velmar_flags INTERFACE LINKER:-z,relro,-z,now)
endif()
if(VELMAR_SANITIZE)
    add_compile_options(-fsanitize=${VELMAR_SANITIZE} -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${VELMAR_SANITIZE})
endif()
