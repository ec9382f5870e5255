# Runs the sample generator into OUT and checks that every file matches the checked-in one.
file(REMOVE_RECURSE ${OUT})
file(MAKE_DIRECTORY ${OUT})
execute_process(COMMAND ${GENERATOR} ${OUT} RESULT_VARIABLE result OUTPUT_QUIET)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "the sample generator failed: ${result}")
endif()
set(names slg-fault-1999-binary.cfg slg-fault-1999-binary.dat
          slg-fault-2013-ascii.cfg slg-fault-2013-ascii.dat)
foreach(fault AG-60 BG-60 CG-60 AB-60 BC-60 CA-60 AG-reverse)
  list(APPEND names line-faults/${fault}.cfg line-faults/${fault}.dat line-faults/${fault}.hdr)
endforeach()
foreach(name IN LISTS names)
  execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files ${OUT}/${name} ${SAMPLES}/${name}
                  RESULT_VARIABLE differ)
  if(differ)
    message(FATAL_ERROR "${name} differs from what the generator writes now")
  endif()
endforeach()
