# Finds cxxtools' base library, which contains its JSON reader, without pkg-config.
# Defines the target Cxxtools::Cxxtools.
find_path(Cxxtools_INCLUDE_DIR cxxtools/jsondeserializer.h)
find_library(Cxxtools_LIBRARY cxxtools)
mark_as_advanced(Cxxtools_INCLUDE_DIR Cxxtools_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(Cxxtools
  REQUIRED_VARS Cxxtools_LIBRARY Cxxtools_INCLUDE_DIR
  REASON_FAILURE_MESSAGE "Debian and Ubuntu: apt-get install libcxxtools-dev")

if(Cxxtools_FOUND AND NOT TARGET Cxxtools::Cxxtools)
  add_library(Cxxtools::Cxxtools UNKNOWN IMPORTED)
  set_target_properties(Cxxtools::Cxxtools PROPERTIES
    IMPORTED_LOCATION "${Cxxtools_LIBRARY}"
    INTERFACE_INCLUDE_DIRECTORIES "${Cxxtools_INCLUDE_DIR}")
endif()
