# SPDX-FileCopyrightText: The velmar_remote authors
# SPDX-License-Identifier: MIT
#
# One place for the flags that every target of the project gets and no user of it: the target
# velmar_flags, and, where VELMAR_SANITIZE asks for them, the sanitizers.
add_library(velmar_flags INTERFACE)
target_compile_options(velmar_flags INTERFACE -Wall -Wextra -Wshadow -Wsuggest-override
                       -Wnon-virtual-dtor -Woverloaded-virtual)
if(VELMAR_WERROR)
    target_compile_options(velmar_flags INTERFACE -Werror)
endif()
if(VELMAR_SANITIZE)
    add_compile_options(-fsanitize=${VELMAR_SANITIZE} -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${VELMAR_SANITIZE})
endif()
