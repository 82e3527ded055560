include(CMakePackageConfigHelpers)

set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/quarnel")

install(FILES ${QUARNEL_PUBLIC_HEADERS} DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/quarnel")
install(
  TARGETS ${QUARNEL_TARGETS}
  EXPORT quarnelTargets
  INCLUDES
  DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}"
)
install(EXPORT quarnelTargets NAMESPACE quarnel:: DESTINATION "${package_dir}")

configure_package_config_file(
  cmake/quarnelConfig.cmake.in "${CMAKE_CURRENT_BINARY_DIR}/quarnelConfig.cmake"
  INSTALL_DESTINATION "${package_dir}"
)
# Before 1.0 a minor version may change the interface.
write_basic_package_version_file(
  "${CMAKE_CURRENT_BINARY_DIR}/quarnelConfigVersion.cmake" COMPATIBILITY SameMinorVersion
)
install(
  FILES "${CMAKE_CURRENT_BINARY_DIR}/quarnelConfig.cmake"
        "${CMAKE_CURRENT_BINARY_DIR}/quarnelConfigVersion.cmake"
  DESTINATION "${package_dir}"
)

# The prefix is written relative to the .pc file, so that an installed tree can be moved.
file(RELATIVE_PATH QUARNEL_PC_PREFIX "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig"
     "${CMAKE_INSTALL_PREFIX}"
)
# cmake_path(APPEND) lets an absolute directory stand for itself.
set(QUARNEL_PC_INCLUDEDIR "\${prefix}")
cmake_path(APPEND QUARNEL_PC_INCLUDEDIR "${CMAKE_INSTALL_INCLUDEDIR}")
set(QUARNEL_PC_LIBDIR "\${prefix}")
cmake_path(APPEND QUARNEL_PC_LIBDIR "${CMAKE_INSTALL_LIBDIR}")
configure_file(cmake/quarnel.pc.in "${CMAKE_CURRENT_BINARY_DIR}/quarnel.pc" @ONLY)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/quarnel.pc"
        DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig"
)

configure_file(docs/man/quarnel.3.in "${CMAKE_CURRENT_BINARY_DIR}/quarnel.3" @ONLY)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/quarnel.3" DESTINATION "${CMAKE_INSTALL_MANDIR}/man3")
configure_file(docs/man/quarnel.conf.5.in "${CMAKE_CURRENT_BINARY_DIR}/quarnel.conf.5" @ONLY)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/quarnel.conf.5"
        DESTINATION "${CMAKE_INSTALL_MANDIR}/man5"
)
