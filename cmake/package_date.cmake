# Read by cpack. Files in packages carry the date of the last commit, so that the same sources give
# the same packages; SOURCE_DATE_EPOCH overrides it.
if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
  execute_process(COMMAND git log -1 --format=%ct WORKING_DIRECTORY ${CPACK_MORVIK_SOURCE_DIR}
                  OUTPUT_VARIABLE date OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
  if(date)
    set(ENV{SOURCE_DATE_EPOCH} ${date})
  endif()
endif()
