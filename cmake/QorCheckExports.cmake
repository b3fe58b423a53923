# Runs as a CTest script: lists the symbols the shared library exports and fails on any that is
# not part of the public faces. Allowed are C++ names in Orvane::Core (outside its Internal,
# Platform and CApi namespaces), C functions with the prefixes orv_, qor_, thr_ and gui_, and the
# standard library's template instances that the compiler emits with default visibility.
#   -DLIBRARY=<file> -DNM=<nm> (ELF) or -DOBJDUMP=<objdump> -DCXXFILT=<c++filt> (PE)
cmake_minimum_required(VERSION 3.25)
if(NM)
  execute_process(COMMAND ${NM} -D --defined-only -C ${LIBRARY}
    OUTPUT_VARIABLE listing RESULT_VARIABLE rc ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "${NM} failed on ${LIBRARY}: ${err}")
  endif()
  string(REPLACE ";" "\\;" listing "${listing}")
  string(REPLACE "\n" ";" lines "${listing}")
  set(symbols "")
  foreach(line IN LISTS lines)
    # "<address> <type> <name>"; the linker's own markers (_init, _end, ...) are absolute or
    # carry no C++ name and are left out below.
    if(line MATCHES "^[0-9a-fA-F]+ ([A-Za-z]) (.+)$")
      set(type "${CMAKE_MATCH_1}")
      set(name "${CMAKE_MATCH_2}")
      if(NOT type STREQUAL "A" AND NOT name MATCHES "^(_init|_fini|_edata|_end|__bss_start)$")
        list(APPEND symbols "${name}")
      endif()
    endif()
  endforeach()
else()
  execute_process(COMMAND ${OBJDUMP} -p ${LIBRARY}
    OUTPUT_VARIABLE listing RESULT_VARIABLE rc ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "${OBJDUMP} failed on ${LIBRARY}: ${err}")
  endif()
  # The export table: "[Ordinal/Name Pointer] Table" followed by "\t[   n] name" lines.
  string(FIND "${listing}" "[Ordinal/Name Pointer] Table" start)
  if(start LESS 0)
    message(FATAL_ERROR "${LIBRARY} has no export table")
  endif()
  string(SUBSTRING "${listing}" ${start} -1 listing)
  string(REPLACE ";" "\\;" listing "${listing}")
  string(REPLACE "\n" ";" lines "${listing}")
  set(mangled "")
  foreach(line IN LISTS lines)
    if(line MATCHES "^[ \t]*\\[ *[0-9]+\\] (.+)$")
      string(APPEND mangled "${CMAKE_MATCH_1}\n")
    elseif(NOT mangled STREQUAL "" AND line MATCHES "^[ \t]*$")
      break()
    endif()
  endforeach()
  file(WRITE ${WORK_DIR}/exports.txt "${mangled}")
  execute_process(COMMAND ${CXXFILT} INPUT_FILE ${WORK_DIR}/exports.txt
    OUTPUT_VARIABLE demangled RESULT_VARIABLE rc)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "${CXXFILT} failed")
  endif()
  string(REPLACE ";" "\\;" demangled "${demangled}")
  string(REPLACE "\n" ";" symbols "${demangled}")
  list(FILTER symbols EXCLUDE REGEX "^$")
endif()

list(LENGTH symbols count)
if(count LESS 100)
  message(FATAL_ERROR "only ${count} exported symbols found in ${LIBRARY}: the listing was not understood")
endif()

# The qualified name a demangled symbol is about: template arguments, the return type, the
# parameters and the "vtable for"-style prefixes taken away.
function(qualified_name symbol out)
  set(s "${symbol}")
  # A return type deduced by decltype, as some of the standard library's helpers have.
  string(REGEX REPLACE "^decltype \\(.*\\) ((std|__gnu_cxx)::)" "\\1" s "${s}")
  # Conversion operators name a type after "operator"; the other operators may contain < and >.
  string(REGEX REPLACE "operator [^(]+\\(" "operator(" s "${s}")
  string(REGEX REPLACE "operator(<<=|>>=|<<|>>|<=>|<=|>=|->\\*|->|<|>)" "operator" s "${s}")
  set(previous "")
  while(NOT s STREQUAL previous)
    set(previous "${s}")
    string(REGEX REPLACE "<[^<>]*>" "" s "${s}")
  endwhile()
  string(REGEX REPLACE "\\(.*$" "" s "${s}")
  string(REGEX REPLACE "^.* " "" s "${s}")
  set(${out} "${s}" PARENT_SCOPE)
endfunction()

set(offending "")
foreach(symbol IN LISTS symbols)
  # AddressSanitizer's indicator of an exported variable: judged by the variable's mangled name.
  if(symbol MATCHES "^__odr_asan\\.(.+)$")
    set(variable "${CMAKE_MATCH_1}")
    if(variable MATCHES "^(orv|qor|thr|gui)_" OR
       (variable MATCHES "^_ZN6Orvane4Core" AND NOT variable MATCHES "^_ZN6Orvane4Core(8Internal|8Platform|4CApi)"))
      continue()
    endif()
  endif()
  # mingw exports the type information of every polymorphic template instance derived from an
  # exported class (GC<T> over GCObjectReference), whatever T is, and of the function types that
  # std::function records: data without code, which no caller can link against by accident.
  # The ELF check, which sees no such artefact, keeps judging them.
  if(OBJDUMP AND symbol MATCHES "^typeinfo (name )?for ")
    continue()
  endif()
  # Type information of plain function types, which std::function's target_type() needs for the
  # callbacks of public classes: no name of ours or anyone else's.
  if(symbol MATCHES "^typeinfo (name )?for [a-z_ ]+ \\((\\*\\) ?\\()?[a-z_ *,]*\\)$")
    continue()
  endif()
  qualified_name("${symbol}" name)
  if(name MATCHES "^(orv|qor|thr|gui)_[A-Za-z0-9_]+$")
    continue()
  elseif(name MATCHES "^(std|__gnu_cxx)::")
    continue()
  elseif(name MATCHES "^Orvane::Core::" AND NOT symbol MATCHES "Orvane::Core::(Internal|Platform|CApi)::")
    continue()
  endif()
  list(APPEND offending "${symbol}")
endforeach()

if(offending)
  list(LENGTH offending bad)
  list(JOIN offending "\n  " text)
  message(FATAL_ERROR "${bad} of ${count} exported symbols are not part of the public faces:\n  ${text}")
endif()
message(STATUS "${count} exported symbols, all public")
