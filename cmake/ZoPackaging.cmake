# Debian packages (cpack -G DEB in the build directory), one per install component:
#   libzoserver<soversion>  runtime: libzoserver.so.<soversion>, LICENSE, CHANGELOG.md
#   libzoserver-dev         headers, static libraries, CMake package files, zoserver.pc
#   zoserver-tools          zo-server and zo-schema (serving the demo application) and
#                           zo-client; depends on the runtime package only
# Run-time dependencies come from dpkg-shlibdeps; the -dev package names what an
# application's build needs (the public headers use nlohmann::json; the static libraries
# link fmt, OpenSSL and the Firebird client).
set(CPACK_PACKAGE_NAME zoserver)
set(CPACK_PACKAGE_VENDOR "ZoServer developers")
set(CPACK_PACKAGE_CONTACT "ZoServer developers <zoserver@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)  # debug information stays in the build tree

set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime dev tools)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The tools find libzoserver.so in the runtime package, not in any installed one.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libzoserver${ZO_SOVERSION})
set(CPACK_DEBIAN_DEV_PACKAGE_NAME libzoserver-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS
    "nlohmann-json3-dev, libfmt-dev, libssl-dev, firebird-dev")
set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME zoserver-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION database)

set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "ZoServer library (run time)")
set(CPACK_COMPONENT_DEV_DESCRIPTION
    "ZoServer development files: headers, static libraries, CMake and pkg-config files")
set(CPACK_COMPONENT_TOOLS_DESCRIPTION
    "ZoServer programs: zo-server and zo-schema for the demo application, zo-client")
set(CPACK_COMPONENT_DEV_DEPENDS runtime)
set(CPACK_COMPONENT_TOOLS_DEPENDS runtime)

include(CPack)
