# OpenCV core and imgproc alone. Debian's libopencv-core-dev and libopencv-imgproc-dev bring neither
# a CMake configuration nor a .pc file, so the headers and the two libraries are looked up by name.
# Defines the target Morvik::OpenCV.
find_path(MorvikOpenCV_INCLUDE_DIR opencv2/imgproc.hpp PATH_SUFFIXES opencv4)
find_library(MorvikOpenCV_CORE_LIBRARY opencv_core)
find_library(MorvikOpenCV_IMGPROC_LIBRARY opencv_imgproc)
if(MorvikOpenCV_INCLUDE_DIR)
  file(STRINGS ${MorvikOpenCV_INCLUDE_DIR}/opencv2/core/version.hpp numbers
       REGEX "define CV_VERSION_(MAJOR|MINOR|REVISION)")
  string(REGEX MATCHALL "[0-9]+" numbers "${numbers}")
  list(JOIN numbers "." MorvikOpenCV_VERSION)
endif()
mark_as_advanced(MorvikOpenCV_INCLUDE_DIR MorvikOpenCV_CORE_LIBRARY MorvikOpenCV_IMGPROC_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(MorvikOpenCV REQUIRED_VARS
  MorvikOpenCV_CORE_LIBRARY MorvikOpenCV_IMGPROC_LIBRARY MorvikOpenCV_INCLUDE_DIR
  VERSION_VAR MorvikOpenCV_VERSION)
if(MorvikOpenCV_FOUND AND NOT TARGET Morvik::OpenCV)
  add_library(Morvik::OpenCV INTERFACE IMPORTED)
  set_target_properties(Morvik::OpenCV PROPERTIES
    INTERFACE_INCLUDE_DIRECTORIES "${MorvikOpenCV_INCLUDE_DIR}"
    INTERFACE_LINK_LIBRARIES "${MorvikOpenCV_IMGPROC_LIBRARY};${MorvikOpenCV_CORE_LIBRARY}")
endif()
