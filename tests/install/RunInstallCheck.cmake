# Installs the build tree into WORK_DIR/prefix, then builds and runs a consumer through
# find_package(Pellium) and another through pkg-config. Any failure fails the test.
function(run_checked)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "command failed (${result}): ${ARGN}\n${output}")
  endif()
endfunction()

file(REMOVE_RECURSE "${WORK_DIR}")
set(prefix "${WORK_DIR}/prefix")
run_checked("${CMAKE_COMMAND}" --install "${BUILD_DIR}" --prefix "${prefix}")

file(GLOB_RECURSE sonames "${prefix}/*/libPellium.so.12")
if(NOT sonames)
  message(FATAL_ERROR "libPellium.so.12 was not installed")
endif()

# Every installed header must compile from the installed tree alone: a header that includes a
# private one would break consumers only when they include it.
file(GLOB_RECURSE installed_headers RELATIVE "${prefix}/include" "${prefix}/include/pellium/*.h")
foreach(header IN LISTS installed_headers)
  file(STRINGS "${prefix}/include/${header}" includes REGEX "^#include \"pellium/")
  foreach(line IN LISTS includes)
    string(REGEX REPLACE "^#include \"([^\"]+)\".*" "\\1" included "${line}")
    if(NOT EXISTS "${prefix}/include/${included}")
      message(FATAL_ERROR "${header} includes ${included}, which is not installed")
    endif()
  endforeach()
endforeach()

run_checked("${CMAKE_COMMAND}" -S "${CONSUMER_DIR}" -B "${WORK_DIR}/cmake-consumer" -G Ninja
  "-DCMAKE_PREFIX_PATH=${prefix}" "-DCMAKE_CXX_COMPILER=${CXX_COMPILER}" "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}")
run_checked("${CMAKE_COMMAND}" --build "${WORK_DIR}/cmake-consumer")
run_checked("${WORK_DIR}/cmake-consumer/consumer")

file(GLOB_RECURSE pc_files "${prefix}/*/pellium.pc")
list(GET pc_files 0 pc_file)
get_filename_component(pc_dir "${pc_file}" DIRECTORY)
set(ENV{PKG_CONFIG_PATH} "${pc_dir}")
execute_process(COMMAND pkg-config --cflags --libs pellium
  RESULT_VARIABLE result OUTPUT_VARIABLE pkg_flags OUTPUT_STRIP_TRAILING_WHITESPACE)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "pkg-config does not know pellium")
endif()
separate_arguments(pkg_flags UNIX_COMMAND "${pkg_flags}")
separate_arguments(extra_flags UNIX_COMMAND "${CXX_FLAGS}")
list(GET sonames 0 soname)
get_filename_component(lib_dir "${soname}" DIRECTORY)
run_checked("${CXX_COMPILER}" ${extra_flags} "${CONSUMER_DIR}/main.cpp" ${pkg_flags}
  "-Wl,-rpath,${lib_dir}" -o "${WORK_DIR}/pkg-config-consumer")
run_checked("${WORK_DIR}/pkg-config-consumer")
