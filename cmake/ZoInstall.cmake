# Install rules: the libraries and their exported targets (ZoServer::zoserver,
# ZoServer::rpc, ZoServer::appserver, ZoServer::schematool), the public headers with the
# generated zo/version.h, the CMake package files and zoserver.pc. Internal headers (beside
# the sources) are never installed.
include(CMakePackageConfigHelpers)

set(ZO_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/ZoServer)

install(TARGETS zoserver EXPORT ZoServerTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev)
install(TARGETS zorpc zoappserver zoschematool EXPORT ZoServerTargets
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/zo ${ZO_GENERATED_INCLUDE_DIR}/zo
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev FILES_MATCHING PATTERN "*.h")

install(EXPORT ZoServerTargets NAMESPACE ZoServer:: DESTINATION ${ZO_CMAKE_DIR} COMPONENT dev)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/ZoServerConfig.cmake.in
  ${PROJECT_BINARY_DIR}/ZoServerConfig.cmake INSTALL_DESTINATION ${ZO_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ZoServerConfigVersion.cmake
  COMPATIBILITY ${ZO_VERSION_COMPATIBILITY})
install(FILES ${PROJECT_BINARY_DIR}/ZoServerConfig.cmake ${PROJECT_BINARY_DIR}/ZoServerConfigVersion.cmake
  DESTINATION ${ZO_CMAKE_DIR} COMPONENT dev)

install(FILES ${PROJECT_SOURCE_DIR}/LICENSE ${PROJECT_SOURCE_DIR}/CHANGELOG.md
  DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT runtime)

if(ZO_BUILD_TOOLS)
  # The programs find libzoserver.so beside them in any prefix (bin/../lib).
  file(RELATIVE_PATH zo_bin_to_lib /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
  set_target_properties(zo-server zo-schema PROPERTIES INSTALL_RPATH "$ORIGIN/${zo_bin_to_lib}")
  install(TARGETS zo-server zo-schema zo-client RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
    COMPONENT tools)
  # The service unit where systemd looks for a package's units, and the operator's guide its
  # Documentation= line names.
  install(FILES ${PROJECT_SOURCE_DIR}/packaging/zo-server.service
    DESTINATION lib/systemd/system COMPONENT tools)
  install(FILES ${PROJECT_SOURCE_DIR}/docs/operations.md ${PROJECT_SOURCE_DIR}/docs/console.md
    DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT tools)
endif()

# pkg-config file of the core library, relocatable: the prefix is found from the file's own
# place, so the same file serves a Debian package and a private --prefix.
file(RELATIVE_PATH ZO_PC_PREFIX_FROM_PCDIR /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" ZO_PC_PREFIX_FROM_PCDIR "${ZO_PC_PREFIX_FROM_PCDIR}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/zoserver.pc.in ${PROJECT_BINARY_DIR}/zoserver.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/zoserver.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
  COMPONENT dev)
