# The core library. Its sources are compiled once, into an object library, with hidden
# visibility: the shared library libzoserver.so exports only what the public headers mark
# ZO_EXPORT, while the static archive zoserver_static, made from the same objects, lets the
# tests (and benchmarks) reach internal functions without a second compilation.
#
# Every subsystem folder contributes its sources. Folders are globbed so that adding a file
# never means touching this list.
set(ZO_LIBRARY_DIRS core platform/db platform/json platform/script
    persistence mapping dbstruct schema dao server)
set(ZO_LIBRARY_SOURCES)
foreach(dir IN LISTS ZO_LIBRARY_DIRS)
  file(GLOB dir_sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${dir}/*.cpp)
  list(APPEND ZO_LIBRARY_SOURCES ${dir_sources})
endforeach()

add_library(zoserver_objects OBJECT ${ZO_LIBRARY_SOURCES})
set_target_properties(zoserver_objects PROPERTIES
  POSITION_INDEPENDENT_CODE ON
  CXX_VISIBILITY_PRESET hidden
  VISIBILITY_INLINES_HIDDEN ON)
# Public headers live under include/zo/ and are what an application includes (<zo/...>);
# internal headers stay beside their sources and are reached from the source root.
target_include_directories(zoserver_objects PUBLIC
  ${PROJECT_SOURCE_DIR}/include ${ZO_GENERATED_INCLUDE_DIR} ${PROJECT_SOURCE_DIR}
  ${FIREBIRD_INCLUDE_DIR})
target_link_libraries(zoserver_objects PUBLIC
  nlohmann_json::nlohmann_json fmt::fmt Threads::Threads OpenSSL::Crypto ${FBCLIENT_LIBRARY})

add_library(zoserver SHARED)
add_library(ZoServer::zoserver ALIAS zoserver)
target_link_libraries(zoserver PRIVATE $<BUILD_INTERFACE:zoserver_objects>)
set_target_properties(zoserver PROPERTIES
  VERSION ${PROJECT_VERSION} SOVERSION ${ZO_SOVERSION} EXPORT_NAME zoserver)
# Only nlohmann::json appears in the public headers; fmt, Firebird and OpenSSL stay inside.
# The source root is visible in the build tree so that in-tree programs reach their own
# headers (apps/..., examples/...); it is never part of the installed interface.
target_include_directories(zoserver PUBLIC
  $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
  $<BUILD_INTERFACE:${ZO_GENERATED_INCLUDE_DIR}>
  $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
  $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
target_link_libraries(zoserver PUBLIC nlohmann_json::nlohmann_json)

add_library(zoserver_static STATIC)
target_link_libraries(zoserver_static PUBLIC zoserver_objects)

# What a library built on the core links: the shared library, or the static archive when the
# program being linked sets ZO_STATIC_CORE (zo_link_static_core below). The choice is made
# per program, so a test never gets both copies (and so two sets of start-up registries).
set(ZO_CORE
  "$<BUILD_INTERFACE:$<IF:$<BOOL:$<TARGET_PROPERTY:ZO_STATIC_CORE>>,zoserver_static,zoserver>>"
  "$<INSTALL_INTERFACE:ZoServer::zoserver>")

function(zo_link_static_core target)
  set_target_properties(${target} PROPERTIES ZO_STATIC_CORE ON)
endfunction()

# The remote-method transport and clients (Boost.Beast): a static library of its own, so only
# programs that serve or call pay Beast's build cost. Installed as ZoServer::rpc and linked by
# ZoServer::appserver. Boost is header-only here and never reaches the public headers.
file(GLOB ZO_RPC_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/platform/rpc/*.cpp)
add_library(zorpc STATIC ${ZO_RPC_SOURCES})
add_library(ZoServer::rpc ALIAS zorpc)
set_target_properties(zorpc PROPERTIES POSITION_INDEPENDENT_CODE ON EXPORT_NAME rpc)
target_link_libraries(zorpc
  PUBLIC ${ZO_CORE} nlohmann_json::nlohmann_json
  PRIVATE $<BUILD_INTERFACE:Boost::boost> fmt::fmt OpenSSL::SSL OpenSSL::Crypto Threads::Threads)
