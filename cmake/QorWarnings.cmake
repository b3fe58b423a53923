# One warning set for the library, the tests and the examples.
function(qor_set_warnings target)
  target_compile_options(${target} PRIVATE
    $<$<COMPILE_LANGUAGE:CXX>:-Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Wno-unused-parameter>
    $<$<COMPILE_LANGUAGE:C>:-Wall -Wextra -Wpedantic -Wno-unused-parameter>)
  if(QOR_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()
