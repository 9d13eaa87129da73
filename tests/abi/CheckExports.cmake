# Checks the dynamic symbol table of the built library: the tolerance and identity
# globals must be exported (the identity globals under plain, unmangled names) and
# nothing from an internal (anonymous-namespace) helper may leak.
cmake_minimum_required(VERSION 3.25)

execute_process(COMMAND ${NM} -D --defined-only ${LIBRARY}
  OUTPUT_VARIABLE raw RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "nm failed on ${LIBRARY}")
endif()
execute_process(COMMAND ${NM} -D --defined-only -C ${LIBRARY}
  OUTPUT_VARIABLE demangled RESULT_VARIABLE rc)

foreach(symbol PlenarVersionString PlenarVersionNumber)
  if(NOT raw MATCHES "[ \t]R ${symbol}\n")
    message(FATAL_ERROR "${symbol} is not exported as a plain read-only symbol")
  endif()
endforeach()
foreach(symbol EqualTol EqualTolF EqualTolLatLong EqualTolSq EqualTolSqF DivideByZeroTol DivideByZeroTolSq)
  if(NOT demangled MATCHES " velmor::geometry::${symbol}\n")
    message(FATAL_ERROR "velmor::geometry::${symbol} is not exported")
  endif()
endforeach()
if(demangled MATCHES "anonymous namespace")
  string(REGEX MATCHALL "[^\n]*anonymous namespace[^\n]*" leaks "${demangled}")
  message(FATAL_ERROR "internal helpers are exported:\n${leaks}")
endif()
message(STATUS "exported symbols look right")
