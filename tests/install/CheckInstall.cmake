# Installs the built library into a fresh prefix (or uses an installed one) and builds and runs a small client
# against it twice: once through find_package(Plenar), once through pkg-config.
# Any failure (a missing header, a broken package file, an unexported symbol)
# fails the test.
cmake_minimum_required(VERSION 3.25)

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "command failed (${rc}): ${ARGN}\n${out}\n${err}")
  endif()
  set(LAST_OUTPUT "${out}" PARENT_SCOPE)
endfunction()

string(REPLACE ";" " " client_flags "${CLIENT_FLAGS}")
file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR})

# With INSTALLED_PREFIX the package is already installed there (for instance by
# the Debian package); otherwise install the build tree into a fresh prefix.
if(INSTALLED_PREFIX)
  set(prefix ${INSTALLED_PREFIX})
else()
  set(prefix ${WORK_DIR}/prefix)
  run(${CMAKE_COMMAND} --install ${PLENAR_BUILD_DIR} --prefix ${prefix})
endif()

# 1. CMake package
run(${CMAKE_COMMAND} -S ${CLIENT_SOURCE_DIR} -B ${WORK_DIR}/cmake-client
    -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_CXX_COMPILER=${CXX_COMPILER}
    "-DCMAKE_CXX_FLAGS=${client_flags}" "-DCMAKE_EXE_LINKER_FLAGS=${client_flags}")
run(${CMAKE_COMMAND} --build ${WORK_DIR}/cmake-client)
run(${WORK_DIR}/cmake-client/plenar_client)
message(STATUS "find_package client: ${LAST_OUTPUT}")

# 2. pkg-config
set(ENV{PKG_CONFIG_PATH} ${prefix}/${LIBDIR}/pkgconfig)
find_program(PKG_CONFIG NAMES pkg-config pkgconf REQUIRED)
run(${PKG_CONFIG} --cflags --libs plenar)
string(STRIP "${LAST_OUTPUT}" pc_flags)
separate_arguments(pc_flags UNIX_COMMAND "${pc_flags}")
separate_arguments(extra UNIX_COMMAND "${client_flags}")
run(${CXX_COMPILER} ${extra} ${CLIENT_SOURCE_DIR}/main.cpp ${pc_flags} -Wl,-rpath,${prefix}/${LIBDIR}
    -o ${WORK_DIR}/pkgconfig_client)
run(${WORK_DIR}/pkgconfig_client)
message(STATUS "pkg-config client: ${LAST_OUTPUT}")
