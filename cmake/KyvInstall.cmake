# What `cmake --install` puts where: libraries, tool, headers, and two ways to find them, the CMake package
# kyv_adapter_util (target kyv::adapter_util) and the pkg-config file kyv_adapter_util.pc. All of it may be moved to
# another place as one: libraries find each other by $ORIGIN, both packages find theirs by their own place.

include(CMakePackageConfigHelpers)

set(KYV_INSTALL_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/kyv_adapter_util)
file(RELATIVE_PATH KYV_BIN_TO_LIB /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
file(RELATIVE_PATH KYV_PKGCONFIG_TO_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)

set_target_properties(kyv_system kyv_sdk kyv_adapter_util PROPERTIES INSTALL_RPATH "$ORIGIN")
set_target_properties(kyv_system PROPERTIES EXPORT_NAME system)
set_target_properties(kyv_sdk PROPERTIES EXPORT_NAME sdk)
set_target_properties(kyv PROPERTIES INSTALL_RPATH "$ORIGIN/${KYV_BIN_TO_LIB}")

# The system library and the SDK are private dependencies: who uses only the adapter library does not link them, but the
# linker must find them. Their headers, messages and stores are installed by their own folders.
install(TARGETS kyv_adapter_util kyv_sdk kyv_system EXPORT kyv_adapter_util_targets)
install(TARGETS kyv)
install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

install(
  EXPORT kyv_adapter_util_targets
  NAMESPACE kyv::
  DESTINATION ${KYV_INSTALL_CMAKE_DIR})
write_basic_package_version_file(kyv_adapter_utilConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES cmake/kyv_adapter_utilConfig.cmake ${PROJECT_BINARY_DIR}/kyv_adapter_utilConfigVersion.cmake
        DESTINATION ${KYV_INSTALL_CMAKE_DIR})

configure_file(cmake/kyv_adapter_util.pc.in kyv_adapter_util.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/kyv_adapter_util.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
