# Writes the manual page of the command: PAGE from TEMPLATE, with the help of each command of PROGRAM. When
# that is for another processor, EMULATOR is the command that runs it.
function(text_of_help variable)
  execute_process(COMMAND ${CMAKE_COMMAND} -E env COLUMNS=80 ${EMULATOR} ${PROGRAM} ${ARGN} --help
    OUTPUT_VARIABLE text COMMAND_ERROR_IS_FATAL ANY)
  # Characters that begin a request or an escape, and hyphens that are to stay hyphens when copied.
  string(REPLACE "\\" "\\e" text "${text}")
  string(REPLACE "-" "\\-" text "${text}")
  string(REGEX REPLACE "(^|\n)([.'])" "\\1\\\\&\\2" text "${text}")
  string(STRIP "${text}" text)
  set(${variable} "${text}" PARENT_SCOPE)
endfunction()

text_of_help(help)
string(REGEX REPLACE "^.*\nSubcommands:\n" "" list "${help}")
string(REGEX MATCHALL "(^|\n)  [a-z][^ ]*" names "${list}")
set(commands ".SS uwugit\n.nf\n${help}\n.fi")
foreach(name IN LISTS names)
  string(REGEX REPLACE "[\n ]" "" name "${name}")
  string(REPLACE "\\-" "-" word "${name}")
  text_of_help(help ${word})
  string(APPEND commands "\n.SS uwugit ${name}\n.nf\n${help}\n.fi")
endforeach()
configure_file(${TEMPLATE} ${PAGE} @ONLY)
