# Runs as a CTest script: an umbrella header must include every header of its folder (and the
# extra ones named), and nothing that does not exist.
#   -DUMBRELLA=<file> -DHEADER_DIR=<folder> -DINCLUDE_PREFIX=qorcommon/ or qorcommon/c/
#   -DEXTRA=<include names made elsewhere, ;-separated>
cmake_minimum_required(VERSION 3.25)
file(GLOB headers RELATIVE ${HEADER_DIR} ${HEADER_DIR}/*.h)
get_filename_component(umbrella_name ${UMBRELLA} NAME)
list(REMOVE_ITEM headers ${umbrella_name})
set(expected "")
foreach(header IN LISTS headers)
  list(APPEND expected "${INCLUDE_PREFIX}${header}")
endforeach()
list(APPEND expected ${EXTRA})

file(STRINGS ${UMBRELLA} lines REGEX "^#include ")
set(included "")
foreach(line IN LISTS lines)
  if(line MATCHES "^#include [\"<]([^\">]+)[\">]")
    list(APPEND included "${CMAKE_MATCH_1}")
  endif()
endforeach()

set(missing ${expected})
list(REMOVE_ITEM missing ${included})
set(unknown ${included})
list(REMOVE_ITEM unknown ${expected})
if(missing OR unknown)
  message(FATAL_ERROR "${UMBRELLA} is out of date.\n  not included: ${missing}\n  no such public header: ${unknown}")
endif()
list(LENGTH included count)
message(STATUS "${umbrella_name} includes all ${count} headers")
