# libyuv; Debian's package brings neither a CMake configuration nor a .pc file.
# Defines the target Morvik::LibYUV.
find_path(LibYUV_INCLUDE_DIR libyuv/convert.h)
find_library(LibYUV_LIBRARY yuv)
if(LibYUV_INCLUDE_DIR)
  file(STRINGS ${LibYUV_INCLUDE_DIR}/libyuv/version.h LibYUV_VERSION REGEX "define LIBYUV_VERSION ")
  string(REGEX MATCH "[0-9]+" LibYUV_VERSION "${LibYUV_VERSION}")
endif()
mark_as_advanced(LibYUV_INCLUDE_DIR LibYUV_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(LibYUV
  REQUIRED_VARS LibYUV_LIBRARY LibYUV_INCLUDE_DIR VERSION_VAR LibYUV_VERSION)
if(LibYUV_FOUND AND NOT TARGET Morvik::LibYUV)
  add_library(Morvik::LibYUV INTERFACE IMPORTED)
  set_target_properties(Morvik::LibYUV PROPERTIES
    INTERFACE_INCLUDE_DIRECTORIES "${LibYUV_INCLUDE_DIR}"
    INTERFACE_LINK_LIBRARIES "${LibYUV_LIBRARY}")
endif()
