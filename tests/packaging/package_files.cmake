# Makes the package of a build tree and compares its files with a list, one path a line.
#
#   cmake -DCONFIG=CPackConfig.cmake -DLIST=files.txt -DFOLDER=scratch -P package_files.cmake

file(REMOVE_RECURSE "${FOLDER}")
execute_process(
  COMMAND "${CMAKE_CPACK_COMMAND}" --config "${CONFIG}" -B "${FOLDER}/made" COMMAND_ERROR_IS_FATAL ANY
)
file(GLOB package "${FOLDER}/made/*.tar.xz" "${FOLDER}/made/*.zip")
list(LENGTH package count)
if(NOT count EQUAL 1)
  message(FATAL_ERROR "Not one package but ${count}: ${package}")
endif()
file(ARCHIVE_EXTRACT INPUT "${package}" DESTINATION "${FOLDER}/unpacked")
file(GLOB_RECURSE found LIST_DIRECTORIES false RELATIVE "${FOLDER}/unpacked" "${FOLDER}/unpacked/*")
# A system's libraries have the number of its version.
list(TRANSFORM found REPLACE "(\\.so)\\.[0-9.]+$" "\\1.N")
file(STRINGS "${LIST}" expected)

include("${CMAKE_CURRENT_LIST_DIR}/compare_files.cmake")
compare_files("in the package")

file(GLOB_RECURSE files LIST_DIRECTORIES false "${FOLDER}/unpacked/*")
foreach(file IN LISTS files)
  file(SIZE "${file}" size)
  if(size EQUAL 0)
    message(FATAL_ERROR "Empty in the package: ${file}")
  endif()
endforeach()
