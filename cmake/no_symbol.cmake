# cmake -DNM=... -DFILE=... -DSYMBOL=... -P no_symbol.cmake: fails when the library has a function of
# that name, which means that some place calls it.
execute_process(COMMAND ${NM} ${FILE} OUTPUT_VARIABLE symbols RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "${NM} can't read ${FILE}")
endif()
if(NOT symbols MATCHES "GetNodeAttribute")
  message(FATAL_ERROR "${FILE} is not the library that it should be")
endif()
if(symbols MATCHES "${SYMBOL}")
  message(FATAL_ERROR "${SYMBOL} is called where it should be inlined: ${FILE}")
endif()
