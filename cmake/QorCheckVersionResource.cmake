# Runs as a CTest script: the DLL's resource section holds a version resource with the project's
# version as numbers (what Explorer and installers compare) and as texts.
#   -DLIBRARY=<dll> -DOBJDUMP=<objdump> -DMAJOR= -DMINOR= -DPATCH=
cmake_minimum_required(VERSION 3.25)
execute_process(COMMAND ${OBJDUMP} -h ${LIBRARY} OUTPUT_VARIABLE sections RESULT_VARIABLE rc)
# " n .rsrc  <size> <vma> <lma> <file offset> ..."
if(NOT rc EQUAL 0 OR NOT sections MATCHES "\\.rsrc +([0-9a-f]+) +[0-9a-f]+ +[0-9a-f]+ +([0-9a-f]+)")
  message(FATAL_ERROR "${LIBRARY} has no resource section")
endif()
math(EXPR size "0x${CMAKE_MATCH_1}")
math(EXPR offset "0x${CMAKE_MATCH_2}")
file(READ ${LIBRARY} resources HEX OFFSET ${offset} LIMIT ${size})

# Little-endian hex of a 16-bit number.
function(hex16 value out)
  math(EXPR low "${value} & 255" OUTPUT_FORMAT HEXADECIMAL)
  math(EXPR high "(${value} >> 8) & 255" OUTPUT_FORMAT HEXADECIMAL)
  string(REGEX REPLACE "^0x" "" low "${low}")
  string(REGEX REPLACE "^0x" "" high "${high}")
  string(LENGTH "${low}" n)
  if(n EQUAL 1)
    set(low "0${low}")
  endif()
  string(LENGTH "${high}" n)
  if(n EQUAL 1)
    set(high "0${high}")
  endif()
  set(${out} "${low}${high}" PARENT_SCOPE)
endfunction()

# VS_FIXEDFILEINFO: signature, structure version, then file and product version as two
# (minor, major) and (build, patch) pairs each.
hex16(${MAJOR} major)
hex16(${MINOR} minor)
hex16(${PATCH} patch)
set(numbers "${minor}${major}0000${patch}")
set(fixed "bd04effe00000100${numbers}${numbers}")
string(FIND "${resources}" "${fixed}" at)
if(at LESS 0)
  message(FATAL_ERROR "no version resource with file and product version ${MAJOR}.${MINOR}.${PATCH}.0 in ${LIBRARY}")
endif()

# The texts are UTF-16LE.
function(utf16 text out)
  string(HEX "${text}" ascii)
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "\\100" wide "${ascii}")
  set(${out} "${wide}" PARENT_SCOPE)
endfunction()
foreach(text "FileVersion" "${MAJOR}.${MINOR}.${PATCH}" "ProductName" "QorCommon" "LegalCopyright"
             "OriginalFilename" "QorCommon${MAJOR}.dll" "FileDescription")
  utf16("${text}" wide)
  string(FIND "${resources}" "${wide}" at)
  if(at LESS 0)
    message(FATAL_ERROR "the version resource of ${LIBRARY} lacks \"${text}\"")
  endif()
endforeach()
message(STATUS "version resource ${MAJOR}.${MINOR}.${PATCH} present")
