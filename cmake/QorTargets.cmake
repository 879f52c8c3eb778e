# Flags that every target of this project carries: warnings, hardening, sanitizers.

function(qor_configure_target target)
    target_compile_options(${target} PRIVATE
        -Wall -Wextra -Wpedantic -Wshadow -Wconversion
        -Wnon-virtual-dtor
        $<$<BOOL:${QOR_WARNINGS_AS_ERRORS}>:-Werror>)
    if(QOR_COVERAGE)
        # Atomic: threads and children count in the same files.
        target_compile_options(${target} PRIVATE
            --coverage -fprofile-update=atomic -fprofile-abs-path)
        target_link_options(${target} PRIVATE --coverage)
    endif()
    if(QOR_SANITIZE)
        # The vptr check asks by a pipe(2) of its own whether an address can be read, which tests
        # that run out of descriptors would see.
        target_compile_options(${target} PRIVATE
            -fsanitize=${QOR_SANITIZE} -fno-sanitize=vptr -fno-sanitize-recover=all
            -fno-omit-frame-pointer)
        target_link_options(${target} PRIVATE -fsanitize=${QOR_SANITIZE})
        get_target_property(type ${target} TYPE)
        if(QOR_SANITIZE MATCHES "address" AND type STREQUAL "EXECUTABLE")
            qor_allow_intended_leaks(${target})
        endif()
        if(QOR_SANITIZE MATCHES "integer|implicit-conversion")
            # Clang's groups report what the language defines, too.
            target_compile_options(${target} PRIVATE
                "-fsanitize-ignorelist=${CMAKE_CURRENT_FUNCTION_LIST_DIR}/integer-sanitizer.ignore")
        endif()
    else()
        qor_harden_target(${target})
    endif()
endfunction()

# The program does not report memory that stays by contract.
function(qor_allow_intended_leaks target)
    if(NOT TARGET qor_intended_leaks)
        add_library(qor_intended_leaks OBJECT
            "${CMAKE_CURRENT_FUNCTION_LIST_DIR}/../tests/support/IntendedLeaks.cpp")
        qor_configure_target(qor_intended_leaks)
    endif()
    target_link_libraries(${target} PRIVATE qor_intended_leaks)
endfunction()

# Release builds only: fortified C library calls need optimisation, and sanitizers bring
# checks of their own. Who chooses a level of _FORTIFY_SOURCE keeps it.
function(qor_harden_target target)
    set(release $<OR:$<CONFIG:Release>,$<CONFIG:RelWithDebInfo>>)
    string(TOUPPER "CMAKE_CXX_FLAGS_${CMAKE_BUILD_TYPE}" flags)
    if(NOT "${CMAKE_CXX_FLAGS} ${${flags}}" MATCHES "_FORTIFY_SOURCE")
        target_compile_options(${target} PRIVATE
            $<${release}:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>)
    endif()
    target_compile_options(${target} PRIVATE
        $<${release}:-fstack-protector-strong;-fstack-clash-protection>
        $<$<AND:${release},$<STREQUAL:${CMAKE_SYSTEM_PROCESSOR},x86_64>>:-fcf-protection>)
    target_link_options(${target} PRIVATE
        $<${release}:-Wl,-z,relro,-z,now,-z,noexecstack,-z,text>)
endfunction()
