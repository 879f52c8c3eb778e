# qor_ComLib.pc: relative to its own place, so that the installed tree may be moved; a directory
# that was given as an absolute path stays where it is. In a prefix of the system's, which nobody
# moves, all paths are absolute, and plain to read.

# The directory as the .pc file names it.
function(qor_pc_directory variable directory)
    if(IS_ABSOLUTE "${directory}")
        set(${variable} "${directory}" PARENT_SCOPE)
    else()
        set(${variable} "\${prefix}/${directory}" PARENT_SCOPE)
    endif()
endfunction()

set(QOR_PC_DIRECTORY "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
qor_pc_directory(QOR_PC_LIBDIR "${CMAKE_INSTALL_LIBDIR}")
qor_pc_directory(QOR_PC_INCLUDEDIR "${CMAKE_INSTALL_INCLUDEDIR}")

# For each prefix a file of its own: the prefix is known when it is installed.
foreach(prefix IN ITEMS "/usr" "/usr/local" "")
    if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
        set(QOR_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
    elseif(prefix)
        set(QOR_PC_PREFIX "${prefix}")
    else()
        file(RELATIVE_PATH QOR_PC_PREFIX "/${QOR_PC_DIRECTORY}" "/")
        string(REGEX REPLACE "/$" "" QOR_PC_PREFIX "\${pcfiledir}/${QOR_PC_PREFIX}")
    endif()
    configure_file("${CMAKE_CURRENT_LIST_DIR}/qor_ComLib.pc.in"
                   "${PROJECT_BINARY_DIR}/pkgconfig${prefix}/qor_ComLib.pc" @ONLY)
endforeach()
set(destination "${QOR_PC_DIRECTORY}")
if(NOT IS_ABSOLUTE "${destination}")
    string(PREPEND destination "\${CMAKE_INSTALL_PREFIX}/")
endif()
install(CODE "
    set(prefix \"\${CMAKE_INSTALL_PREFIX}\")
    if(NOT prefix STREQUAL \"/usr\" AND NOT prefix STREQUAL \"/usr/local\")
        set(prefix \"\")
    endif()
    file(INSTALL \"${PROJECT_BINARY_DIR}/pkgconfig\${prefix}/qor_ComLib.pc\"
         DESTINATION \"${destination}\")")
