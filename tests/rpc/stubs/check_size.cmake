# Prints what the catalogue with all its stubs adds to a stripped library, and fails above the limit.
file(SIZE ${WITH} with)
file(SIZE ${WITHOUT} without)
math(EXPR share "${with} - ${without}")
message("the catalogue's share of the stripped library: ${share} bytes, limit ${LIMIT}")
if(share GREATER LIMIT)
  message(FATAL_ERROR "the catalogue has grown too large")
endif()
