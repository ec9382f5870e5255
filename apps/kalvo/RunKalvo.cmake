# Runs the kalvo command with ARGS (a ;-list) and checks its exit status against EXIT and
# its output (standard output and error together) against every regular expression in
# EXPECT (a ;-list). With ALONE set, it runs from that folder, with nothing beside it.
if(ALONE)
  file(REMOVE_RECURSE ${ALONE})
  file(MAKE_DIRECTORY ${ALONE})
  file(COPY ${KALVO} DESTINATION ${ALONE})
  get_filename_component(name ${KALVO} NAME)
  set(KALVO ${ALONE}/${name})
endif()
execute_process(COMMAND ${KALVO} ${ARGS} RESULT_VARIABLE status OUTPUT_VARIABLE out
                ERROR_VARIABLE err)
set(all "${out}${err}")
if(NOT status EQUAL EXIT)
  message(FATAL_ERROR "kalvo ${ARGS} exited with ${status}, not ${EXIT}:\n${all}")
endif()
foreach(pattern IN LISTS EXPECT)
  if(NOT all MATCHES "${pattern}")
    message(FATAL_ERROR "kalvo ${ARGS}: no match for '${pattern}' in\n${all}")
  endif()
endforeach()
