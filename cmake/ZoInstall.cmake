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

if(ZO_BUILD_TOOLS)
  install(TARGETS zo-server zo-schema zo-client RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
    COMPONENT tools)
endif()
