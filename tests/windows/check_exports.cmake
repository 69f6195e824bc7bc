# Holds the export table of DLL against the names in LIST, a version script.
execute_process(COMMAND ${OBJDUMP} -p ${DLL} OUTPUT_VARIABLE text COMMAND_ERROR_IS_FATAL ANY)
# Before it stand the addresses.
string(REGEX REPLACE ".*Name Pointer\\] Table" "" text "${text}")
string(REGEX MATCHALL "\n\t\\[ *[0-9]+\\] (\\+base\\[ *[0-9]+\\] +[0-9a-f]+ )?[A-Za-z_][A-Za-z0-9_]*" lines "${text}")
list(TRANSFORM lines REPLACE ".* " "" OUTPUT_VARIABLE exported)
file(STRINGS ${LIST} listed REGEX "^    [A-Za-z_0-9]+;$")
list(TRANSFORM listed REPLACE "[ ;]" "")
list(SORT exported)
list(SORT listed)
if(NOT exported STREQUAL listed OR listed STREQUAL "")
  message(FATAL_ERROR "${DLL} exports: ${exported}\n${LIST} says: ${listed}")
endif()
