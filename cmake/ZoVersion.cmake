# zo/version.h is generated into the build tree and installed with the public headers.
# While the major version is 0 every minor release may break the ABI and the API, so the
# shared library's SONAME and the package-version check follow major.minor; from 1.0 on they
# follow the major version alone.
if(PROJECT_VERSION_MAJOR EQUAL 0)
  set(ZO_SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
  set(ZO_VERSION_COMPATIBILITY SameMinorVersion)
else()
  set(ZO_SOVERSION ${PROJECT_VERSION_MAJOR})
  set(ZO_VERSION_COMPATIBILITY SameMajorVersion)
endif()

set(ZO_GENERATED_INCLUDE_DIR ${PROJECT_BINARY_DIR}/include)
configure_file(${PROJECT_SOURCE_DIR}/cmake/version.h.in ${ZO_GENERATED_INCLUDE_DIR}/zo/version.h @ONLY)
