include(CMakePackageConfigHelpers)

# Installed, the display library finds the demosaicing library beside itself, wherever the
# package lies: an application's own run path reaches only the libraries it links directly.
set_target_properties(BrxDisplayQt BrxDemosaicing PROPERTIES INSTALL_RPATH "$ORIGIN")

install(TARGETS BrxDisplayQt BrxDemosaicing EXPORT BrxDisplayQtTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/brx DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(config_dir ${CMAKE_INSTALL_LIBDIR}/cmake/BrxDisplayQt)
install(EXPORT BrxDisplayQtTargets NAMESPACE BrxDisplayQt:: DESTINATION ${config_dir})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/BrxDisplayQtConfig.cmake.in
    ${PROJECT_BINARY_DIR}/BrxDisplayQtConfig.cmake INSTALL_DESTINATION ${config_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/BrxDisplayQtConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/BrxDisplayQtConfig.cmake
    ${PROJECT_BINARY_DIR}/BrxDisplayQtConfigVersion.cmake DESTINATION ${config_dir})

# The .pc file finds its prefix from its own place, so that the package can be moved.
file(RELATIVE_PATH pc_to_prefix /root/${CMAKE_INSTALL_LIBDIR}/pkgconfig /root)
configure_file(${PROJECT_SOURCE_DIR}/cmake/brxdisplayqt.pc.in
    ${PROJECT_BINARY_DIR}/brxdisplayqt.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/brxdisplayqt.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# cpack -G DEB: a Debian package of the libraries, the headers and the tools. The libraries'
# own dependencies come from dpkg-shlibdeps; the fonts the library names (Cambria, Calibri,
# Courier New) are found through their metric-compatible Debian faces.
set(CPACK_PACKAGE_NAME brxdisplayqt)
set(CPACK_PACKAGE_CONTACT "BrxDisplayQt developers")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
    "Display and conversion of machine-vision camera images in Qt 5 applications")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS
    "fonts-crosextra-caladea, fonts-crosextra-carlito, fonts-liberation")
include(CPack)
