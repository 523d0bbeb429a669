# Build step of kestrav_interposer (KestravRooms.cmake), run as cmake -P:
#
#   -DOBJECT=IN -DOUTPUT=OUT -DOPTIONS=FILE -DOBJDUMP=PROGRAM -DOBJCOPY=PROGRAM
#
# The section .interposed of OBJECT holds pairs of addresses: a function, and what replaces it.
# OUTPUT is OBJECT with both renamed as the linker's --wrap expects, so that OBJECT itself calls the
# original functions and everything else calls the replacements. OPTIONS are the linker's options.
execute_process(COMMAND ${OBJDUMP} --reloc --section=.interposed ${OBJECT}
  OUTPUT_VARIABLE relocations COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "R_[A-Z0-9_]+ +[^\n]+" symbols "${relocations}")
list(TRANSFORM symbols REPLACE "^[^ ]+ +" "")
if(NOT symbols)
  message(FATAL_ERROR "${OBJECT} interposes no function: its section .interposed has no addresses")
endif()

execute_process(COMMAND ${OBJDUMP} --syms ${OBJECT}
  OUTPUT_VARIABLE defined COMMAND_ERROR_IS_FATAL ANY)
string(REGEX REPLACE "[^\n]*[*]UND[*][^\n]*" "" defined "${defined}")

set(names)
set(options)
while(symbols)
  list(POP_FRONT symbols function replacement)
  if(function MATCHES "Interposed" OR NOT replacement MATCHES "Interposed")
    message(FATAL_ERROR "${OBJECT}: a virtual function cannot be interposed: ${function}")
  endif()
  if(defined MATCHES " ${function}\n")
    message(FATAL_ERROR "${OBJECT}: an inline function cannot be interposed: ${function}")
  endif()
  string(APPEND names "${function} __real_${function}\n${replacement} __wrap_${function}\n")
  string(APPEND options "-Wl,--wrap=${function}\n")
endwhile()
file(WRITE ${OPTIONS}.names "${names}")
file(WRITE ${OPTIONS} "${options}")
execute_process(COMMAND ${OBJCOPY} --redefine-syms=${OPTIONS}.names ${OBJECT} ${OUTPUT}
  COMMAND_ERROR_IS_FATAL ANY)
