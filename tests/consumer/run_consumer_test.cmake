# Runs as a CTest script: install, build a consumer with find_package and with pkg-config, run both.
# The pkg-config file is used as installed: it finds its prefix by itself.
file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)

function(run)
  execute_process(COMMAND ${ARGV} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "command failed (${rc}): ${ARGV}\n${out}\n${err}")
  endif()
  set(LAST_OUTPUT "${out}" PARENT_SCOPE)
endfunction()

run(${CMAKE_COMMAND} --install ${QOR_BINARY_DIR} --prefix ${prefix})
run(${CMAKE_COMMAND} -S ${QOR_SOURCE_DIR}/tests/consumer -B ${WORK_DIR}/build
    -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_RPATH=${prefix}/lib)
run(${CMAKE_COMMAND} --build ${WORK_DIR}/build)
run(${CMAKE_COMMAND} -E env LD_LIBRARY_PATH=${prefix}/lib ${WORK_DIR}/build/consumer)
if(NOT LAST_OUTPUT MATCHES "consumer: Hello, QorCommon 3.35.4")
  message(FATAL_ERROR "unexpected consumer output: ${LAST_OUTPUT}")
endif()

find_program(PKG_CONFIG pkg-config)
find_program(CXX_COMPILER NAMES c++ g++)
if(PKG_CONFIG AND CXX_COMPILER)
  execute_process(COMMAND ${CMAKE_COMMAND} -E env PKG_CONFIG_PATH=${prefix}/lib/pkgconfig
                  ${PKG_CONFIG} --cflags --libs qorcommon
                  OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE rc)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "pkg-config does not know qorcommon")
  endif()
  separate_arguments(flags UNIX_COMMAND "${flags}")
  run(${CXX_COMPILER} -std=c++17 ${QOR_SOURCE_DIR}/tests/consumer/consumer.cpp ${flags} -o ${WORK_DIR}/consumer_pc)
  run(${CMAKE_COMMAND} -E env LD_LIBRARY_PATH=${prefix}/lib ${WORK_DIR}/consumer_pc)
endif()
message(STATUS "installed package works: ${LAST_OUTPUT}")
