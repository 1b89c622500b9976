# cmake -D BUILD_DIR=... -D SOURCE_DIR=... -D WORK_DIR=... -D GENERATOR=... -D CXX=... -D LIBDIR=... -P consumer_test.cmake
#
# Installs BUILD_DIR, moves what it installed, and builds and runs the consumer against that place twice: through the
# CMake package and through pkg-config. The move proves that nothing in the installed tree names where it was put.

function(run)
  execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY COMMAND_ECHO STDOUT)
endfunction()

file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR})
run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${WORK_DIR}/first)
file(RENAME ${WORK_DIR}/first ${WORK_DIR}/installed)
set(prefix ${WORK_DIR}/installed)

# Each header shows something of the library, or another one needs it; and all of them are there.
file(GLOB_RECURSE headers RELATIVE ${prefix}/include ${prefix}/include/*.h)
set(texts "")
foreach(header ${headers})
  file(READ ${prefix}/include/${header} text)
  string(APPEND texts "${text}")
  file(APPEND ${WORK_DIR}/headers.cpp "#include \"${header}\"\n")
endforeach()
foreach(header ${headers})
  file(READ ${prefix}/include/${header} text)
  string(FIND "${texts}" "#include \"${header}\"" needed)
  if(NOT text MATCHES "KELDB_API" AND needed EQUAL -1)
    message(FATAL_ERROR "installed, but the library's own: ${header}")
  endif()
endforeach()
run(${CXX} -std=c++20 -fsyntax-only -I ${prefix}/include ${WORK_DIR}/headers.cpp)

run(${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${WORK_DIR}/package -G ${GENERATOR}
  -D CMAKE_CXX_COMPILER=${CXX} -D CMAKE_PREFIX_PATH=${prefix} -D CMAKE_BUILD_TYPE=Debug)
run(${CMAKE_COMMAND} --build ${WORK_DIR}/package)
run(${WORK_DIR}/package/consumer)

set(ENV{PKG_CONFIG_PATH} ${prefix}/${LIBDIR}/pkgconfig)
execute_process(COMMAND pkg-config --cflags --libs "keldb >= 0.1"
  OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
separate_arguments(flags UNIX_COMMAND "${flags}")
run(${CXX} -std=c++20 ${SOURCE_DIR}/main.cpp -o ${WORK_DIR}/through_pkg_config ${flags})
set(ENV{LD_LIBRARY_PATH} ${prefix}/${LIBDIR})
run(${WORK_DIR}/through_pkg_config)

unset(ENV{LD_LIBRARY_PATH})
if(EXISTS ${prefix}/bin/keldb)
  run(${prefix}/bin/keldb --version)
endif()
