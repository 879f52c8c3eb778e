# Installation: the shared library, the headers in a folder of their own, a CMake package.
include(CMakePackageConfigHelpers)

install(TARGETS qor_ComLib EXPORT qor_ComLibTargets
        LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}")
install(DIRECTORY "${PROJECT_SOURCE_DIR}/include/" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/qor")
install(EXPORT qor_ComLibTargets NAMESPACE qor::
        DESTINATION "${CMAKE_INSTALL_LIBDIR}/cmake/qor_ComLib")

configure_package_config_file(
    "${PROJECT_SOURCE_DIR}/cmake/qor_ComLibConfig.cmake.in"
    "${PROJECT_BINARY_DIR}/qor_ComLibConfig.cmake"
    INSTALL_DESTINATION "${CMAKE_INSTALL_LIBDIR}/cmake/qor_ComLib")
write_basic_package_version_file(
    "${PROJECT_BINARY_DIR}/qor_ComLibConfigVersion.cmake" COMPATIBILITY SameMajorVersion)
install(FILES
    "${PROJECT_BINARY_DIR}/qor_ComLibConfig.cmake"
    "${PROJECT_BINARY_DIR}/qor_ComLibConfigVersion.cmake"
    DESTINATION "${CMAKE_INSTALL_LIBDIR}/cmake/qor_ComLib")

include(QorPkgConfig)

# What lnav needs to know of the logs: lnav -i FILE.
install(FILES "${PROJECT_SOURCE_DIR}/packaging/lnav/qor_log.json"
        DESTINATION "${CMAKE_INSTALL_DATADIR}/qor_ComLib/lnav")

# What a host needs that runs programs of the library: "cmake --install BUILD --component host". Packages
# bring it by themselves.
install(FILES "${PROJECT_SOURCE_DIR}/packaging/tmpfiles.d/qor-comlib.conf"
        DESTINATION lib/tmpfiles.d COMPONENT host EXCLUDE_FROM_ALL)
install(FILES "${PROJECT_SOURCE_DIR}/packaging/sysusers.d/qor-comlib.conf"
        DESTINATION lib/sysusers.d COMPONENT host EXCLUDE_FROM_ALL)
install(FILES "${PROJECT_SOURCE_DIR}/packaging/systemd/qor-som.service"
        DESTINATION lib/systemd/system COMPONENT host EXCLUDE_FROM_ALL)
install(FILES "${PROJECT_SOURCE_DIR}/packaging/systemd/qor-hardening.conf"
        DESTINATION lib/systemd/system/qor-som.service.d COMPONENT host EXCLUDE_FROM_ALL)
