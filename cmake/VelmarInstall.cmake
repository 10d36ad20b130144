# Installs the library with a package config so another project can
# find_package(velmar) and link velmar::velmar.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/velmar DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(TARGETS velmar ${VELMAR_MODULES} EXPORT velmarTargets
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(EXPORT velmarTargets NAMESPACE velmar:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/velmar)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/velmarConfig.cmake.in
    ${PROJECT_BINARY_DIR}/velmarConfig.cmake INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/velmar)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/velmarConfigVersion.cmake
    COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/velmarConfig.cmake ${PROJECT_BINARY_DIR}/velmarConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/velmar)
install(FILES ${PROJECT_SOURCE_DIR}/data/units.json DESTINATION ${CMAKE_INSTALL_DATADIR}/velmar)
# The plug-in contract package (kivara.tools) the embedded interpreter imports.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/python/kivara DESTINATION ${CMAKE_INSTALL_DATADIR}/velmar/python
        PATTERN "__pycache__" EXCLUDE)
