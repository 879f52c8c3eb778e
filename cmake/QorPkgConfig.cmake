# qor_ComLib.pc: relative to its own place, so that the installed tree may be moved; a directory
# that was given as an absolute path stays where it is.

# The directory as the .pc file names it.
function(qor_pc_directory variable directory)
    if(IS_ABSOLUTE "${directory}")
        set(${variable} "${directory}" PARENT_SCOPE)
    else()
        set(${variable} "\${prefix}/${directory}" PARENT_SCOPE)
    endif()
endfunction()

set(QOR_PC_DIRECTORY "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
    set(QOR_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
else()
    file(RELATIVE_PATH QOR_PC_PREFIX "/${QOR_PC_DIRECTORY}" "/")
    string(REGEX REPLACE "/$" "" QOR_PC_PREFIX "\${pcfiledir}/${QOR_PC_PREFIX}")
endif()
qor_pc_directory(QOR_PC_LIBDIR "${CMAKE_INSTALL_LIBDIR}")
qor_pc_directory(QOR_PC_INCLUDEDIR "${CMAKE_INSTALL_INCLUDEDIR}")

configure_file("${CMAKE_CURRENT_LIST_DIR}/qor_ComLib.pc.in" "${PROJECT_BINARY_DIR}/qor_ComLib.pc"
               @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/qor_ComLib.pc" DESTINATION "${QOR_PC_DIRECTORY}")
