# SPDX-License-Identifier: MIT
# Install rules: the header, the shared library (with its soname links on Linux, the DLL and its
# import library on Windows), a CMake package (find_package(qmath 3) gives qmath::qmath) and
# qmath.pc for pkg-config.
include(CMakePackageConfigHelpers)

set(QMATH_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/qmath)

install(TARGETS qmath EXPORT qmathTargets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} NAMELINK_COMPONENT Development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES ${PROJECT_SOURCE_DIR}/include/qmath/qmath.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/qmath)
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/qmath)

install(EXPORT qmathTargets NAMESPACE qmath:: DESTINATION ${QMATH_CMAKE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/qmathConfig.cmake.in
  ${PROJECT_BINARY_DIR}/qmathConfig.cmake INSTALL_DESTINATION ${QMATH_CMAKE_DIR})
# 3.x hosts keep working with any later 3.y: the binary interface is fixed.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/qmathConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/qmathConfig.cmake ${PROJECT_BINARY_DIR}/qmathConfigVersion.cmake
  DESTINATION ${QMATH_CMAKE_DIR})

# pkg-config: paths relative to the .pc file's own place, so a moved prefix still works.
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  message(FATAL_ERROR "qmath.pc needs CMAKE_INSTALL_LIBDIR relative to the prefix")
endif()
file(RELATIVE_PATH QMATH_PC_PREFIX_FROM_PC "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
string(REGEX REPLACE "/$" "" QMATH_PC_PREFIX_FROM_PC "${QMATH_PC_PREFIX_FROM_PC}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/qmath.pc.in ${PROJECT_BINARY_DIR}/qmath.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/qmath.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
