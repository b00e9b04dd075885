include(CMakePackageConfigHelpers)

install(TARGETS ml
    EXPORT mlTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES ${ML_PUBLIC_HEADERS} ${PROJECT_BINARY_DIR}/include/ml/ml_export.h
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/ml)

set(ML_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/ml)
install(EXPORT mlTargets NAMESPACE ml:: DESTINATION ${ML_CMAKE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/mlConfig.cmake.in
    ${PROJECT_BINARY_DIR}/mlConfig.cmake
    INSTALL_DESTINATION ${ML_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/mlConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/mlConfig.cmake ${PROJECT_BINARY_DIR}/mlConfigVersion.cmake
    DESTINATION ${ML_CMAKE_DIR})

# The pkg-config file locates the prefix from its own directory, so an installed tree can be moved.
file(RELATIVE_PATH ML_PC_PREFIX_FROM_PCDIR "/root/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/root")
configure_file(${PROJECT_SOURCE_DIR}/cmake/ml.pc.in ${PROJECT_BINARY_DIR}/ml.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/ml.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
